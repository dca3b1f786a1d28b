#include "verify_command.h"

#include <algorithm>
#include <cctype>

#include <fmt/format.h>

#include "byte_files.h"
#include "hash_names.h"
#include "request_options.h"
#include "stamp_report.h"
#include "stamp_verification.h"

namespace cli {

namespace {

using Halcyon::PKI::TSP::Client::CRequest;
using Halcyon::PKI::TSP::Client::CStamp;

std::string hash_of_file(const std::string& path, const std::string& oid) {
    CRequest request;
    request.put_DataHashAlg(oid.c_str());
    add_file(path, request);
    unsigned long size = 0;
    request.get_DataHash(nullptr, &size);
    Bytes digest(size);
    request.get_DataHash(digest.data(), &size);
    return to_hex(digest.data(), digest.size());
}

std::string lower_hex(const std::string& text) {
    std::string digits;
    for (const char c : text) {
        if (std::isxdigit(static_cast<unsigned char>(c)) == 0) {
            throw Failure(ExitStatus::usage, fmt::format("\"{}\" is no hexadecimal digest", text),
                          "give digits 0-9 and a-f only");
        }
        digits += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return digits;
}

void compare_digest(const VerifyOptions& options, const TokenReport& token) {
    if (options.data.empty() && options.digest.empty()) {
        return;
    }
    const std::string wanted = options.data.empty() ? lower_hex(options.digest)
                                                    : hash_of_file(options.data, token.hash_oid);
    if (wanted != token.digest) {
        const std::string name = options.data.empty() ? "the given digest" : options.data;
        throw Failure(ExitStatus::refused,
                      fmt::format("can't verify {}: its {} hash {} is not that of {}, {}",
                                  options.stamp, hash_name(token.hash_oid), token.digest, name,
                                  wanted),
                      "the stamp belongs to other data", 0x80091007);
    }
}

nlohmann::ordered_json subject_json(const VerifyOptions& options) {
    if (!options.data.empty()) {
        return options.data;
    }
    return options.digest.empty() ? nlohmann::ordered_json(nullptr)
                                  : nlohmann::ordered_json(options.digest);
}

} // namespace

ExitStatus run_verify(const VerifyOptions& options, const Output& output) {
    const std::string doing = "verify " + options.stamp;
    nlohmann::ordered_json json = {{"file", options.stamp}, {"data", subject_json(options)}};
    try {
        const Bytes bytes = read_file(options.stamp);
        Trust trust(options.trust);
        CStamp stamp;
        stamp.Import(bytes.data(), bytes.size(), nullptr);
        require_granted(doing, stamp);
        const StampReport report = read_report(stamp, trust.stores(), trust.store_count());
        json.update(to_json(report));
        compare_digest(options, *report.token);
        verify_stamp(doing, stamp, trust);

        const bool compared = !options.data.empty() || !options.digest.empty();
        output.text(fmt::format(
            "{}: good, {}{}\n", options.stamp, report.token->time,
            compared ? ""
                     : " (signature and chain only: give --data or --digest to compare the hash)"));
        output.object(true, json);
        return ExitStatus::good;
    } catch (...) {
        const Failure failure = failure_in_flight(doing);
        output.line(failure);
        json["error"] = error_json(failure);
        output.object(false, json);
        return failure.status();
    }
}

} // namespace cli
