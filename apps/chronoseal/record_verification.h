// `verify` of an evidence record: with the file that it is of, and with the files of a list.
#pragma once

#include <mutex>
#include <optional>
#include <stop_token>
#include <string>

#include <nlohmann/json.hpp>

#include <chronoseal/evidence.hpp>

#include "verify_command.h"

namespace cli {

struct RecordOutcome {
    ExitStatus status = ExitStatus::good;
    std::string text;
    std::optional<chronoseal::Error> error;
    nlohmann::ordered_json json;
};

// Any number of threads. What it is given has to outlive it.
class RecordVerification {
public:
    RecordVerification(const VerifyOptions& options, const Output& output);

    // Throws Error where nothing could be judged.
    RecordOutcome judge(const std::string& file, chronoseal::ByteView bytes,
                        const std::stop_token& stop) const;

private:
    std::string subject_of(const std::string& file) const;
    void compare_files(const std::string& list, RecordOutcome& outcome,
                       const std::stop_token& stop) const;

    // Made with the first record: most verifications are of stamps alone.
    const chronoseal::EvidenceVerifier& verifier() const;

    const VerifyOptions& options_;
    const Output& output_;
    mutable std::mutex making_;
    mutable std::optional<chronoseal::EvidenceVerifier> verifier_;
};

// "case.sha256" for "case.sha256.ers", if it is there; else nothing.
std::string file_beside_record(const std::string& record);

} // namespace cli
