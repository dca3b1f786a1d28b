// Records with what they are of.
#include "record_verification.h"

#include <algorithm>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>

#include <fmt/format.h>

#include "input_file.h"
#include "many_files.h"
#include "output_file.h"
#include "record_text.h"
#include "stamp_json.h"

namespace cli {

namespace {

using chronoseal::DataDigests;
using chronoseal::Error;
using chronoseal::EvidenceRecord;
using chronoseal::EvidenceVerdict;
using chronoseal::quote_foreign;
using Json = nlohmann::ordered_json;

constexpr std::string_view kRecordSuffix = ".ers";
// Names that are told one by one; more are counted.
constexpr std::size_t kMostNames = 1000;
// Lines whose files are hashed at a time, so that memory doesn't grow with the list.
constexpr std::size_t kLinesAtATime = 10'000;
constexpr std::size_t kNameBytesAtATime = std::size_t{16} << 20;

// What the kernel tells of itself looks like files. Some of it ends nowhere
// (/proc/self/pagemap), or waits until there is more (/proc/kmsg).
bool is_kernel_text(const std::string& path) {
    struct statfs system {};
    if (::statfs(path.c_str(), &system) != 0) {
        return false;
    }
    switch (system.f_type) {
    case PROC_SUPER_MAGIC:
    case SYSFS_MAGIC:
    case DEBUGFS_MAGIC:
    case TRACEFS_MAGIC:
    case SECURITYFS_MAGIC:
        return true;
    default:
        return false;
    }
}

// Whoever made a list chose the names: to open a pipe or a terminal waits for somebody, and reading
// /dev/zero never ends.
bool ends_by_itself(const std::string& path) {
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0) {
        return false;
    }
    return S_ISBLK(info.st_mode) || (S_ISREG(info.st_mode) && !is_kernel_text(path));
}

// The files of a list, compared some at a time.
class FileComparison {
public:
    FileComparison(bool show_progress, const std::stop_token& stop)
        : show_progress_(show_progress), stop_(stop) {}

    void add(const chronoseal::ManifestLine& line) {
        if (!algorithm_) {
            algorithm_ = line.algorithm;
        }
        const std::string name(line.name);
        if (!ends_by_itself(name)) {
            tell(missing, missing_names, name);
            return;
        }
        name_bytes_ += name.size();
        names_.push_back(name);
        digests_.emplace_back(line.digest.begin(), line.digest.end());
        if (names_.size() == kLinesAtATime || name_bytes_ >= kNameBytesAtATime) {
            compare();
        }
    }

    void compare() {
        if (names_.empty()) {
            return;
        }
        const auto hashed = hash_files(names_, *algorithm_, show_progress_, stop_);
        for (std::size_t i = 0; i < names_.size(); ++i) {
            if (hashed[i].error) {
                if (hashed[i].error->word() == "cancelled") {
                    throw Error(*hashed[i].error);
                }
                tell(missing, missing_names, names_[i]);
            } else if (hashed[i].digest != digests_[i]) {
                tell(changed, changed_names, names_[i]);
            } else {
                ++matched;
            }
        }
        names_.clear();
        digests_.clear();
        name_bytes_ = 0;
    }

    std::string text() const {
        return fmt::format("  files: {} matched{}{}\n", counted(matched, "file"),
                           part(changed, changed_names, "changed"),
                           part(missing, missing_names, "missing or unreadable"));
    }

    Json json() const {
        return {{"matched", matched},
                {"changed", changed},
                {"missing", missing},
                {"changedNames", changed_names},
                {"missingNames", missing_names}};
    }

    std::uint64_t matched = 0, changed = 0, missing = 0;
    std::vector<std::string> changed_names, missing_names;

private:
    static void tell(std::uint64_t& count, std::vector<std::string>& names, std::string name) {
        ++count;
        if (names.size() < kMostNames) {
            names.push_back(std::move(name));
        }
    }

    static std::string part(std::uint64_t count, const std::vector<std::string>& names,
                            const char* what) {
        if (count == 0) {
            return "";
        }
        std::string shown;
        for (const std::string& name : names) {
            shown += (shown.empty() ? "" : ", ") + quote_foreign(name);
        }
        return fmt::format(", {} {} ({}{})", count, what, shown,
                           count > names.size() ? ", ..." : "");
    }

    bool show_progress_;
    const std::stop_token& stop_;
    std::optional<chronoseal::HashAlgorithm> algorithm_;
    std::vector<std::string> names_;
    std::size_t name_bytes_ = 0;
    std::vector<chronoseal::Bytes> digests_;
};

// How many lines the data has, if it is a list; for the case that it isn't what was stamped.
std::string line_count_of(const std::string& path) {
    try {
        return fmt::format(" ({} now)", counted(chronoseal::read_manifest(path).lines, "line"));
    } catch (const Error&) {
        return "";
    }
}

} // namespace

std::string file_beside_record(const std::string& record) {
    if (record.size() <= kRecordSuffix.size() || !record.ends_with(kRecordSuffix)) {
        return "";
    }
    return stamped_file(record.substr(0, record.size() - kRecordSuffix.size()));
}

RecordVerification::RecordVerification(const VerifyOptions& options, const Output& output)
    : options_(options), output_(output) {}

const chronoseal::EvidenceVerifier& RecordVerification::verifier() const {
    const std::scoped_lock lock(making_);
    if (!verifier_) {
        verifier_.emplace(trust_of(options_.trust));
    }
    return *verifier_;
}

std::string RecordVerification::subject_of(const std::string& file) const {
    if (!options_.request.empty() || !options_.report.empty()) {
        throw usage_error("it is an evidence record, for which --request and --report aren't made",
                          "leave them out");
    }
    if (!options_.data.empty() || !options_.digest.empty() || options_.no_data) {
        return options_.data;
    }
    std::string data = file_beside_record(file);
    if (data.empty()) {
        throw usage_error(fmt::format("can't verify {}: there is nothing to compare it with",
                                      quote_foreign(file)),
                          "give --data FILE or --digest HEX, or --no-data to judge the record "
                          "alone");
    }
    return data;
}

RecordOutcome RecordVerification::judge(const std::string& file, chronoseal::ByteView bytes,
                                        const std::stop_token& stop) const {
    RecordOutcome outcome;
    const EvidenceRecord record = EvidenceRecord::read(bytes);
    const std::string data = subject_of(file);
    const bool is_list = options_.manifest || options_.files;
    if (is_list && (data.empty() || data == "-")) {
        throw usage_error("--manifest and --files need the list itself, as a file",
                          "give it by --data FILE");
    }
    std::vector<DataDigests> objects;
    if (data == "-") {
        objects.push_back(digests_of_input(record.data_algorithms(), !output_.quiet(), stop));
    } else if (!data.empty()) {
        objects.push_back(chronoseal::digests_of_file(record, data, {}, stop));
    } else if (!options_.digest.empty()) {
        const auto algorithms = record.data_algorithms();
        if (algorithms.size() > 1) {
            throw usage_error("the record needs the data's hash by several algorithms",
                              "give the data by --data");
        }
        objects.push_back({chronoseal::Digest::from_hex(algorithms.front(), options_.digest)});
    }
    const EvidenceVerdict verdict = verifier().verify(record, objects);
    outcome.json["type"] = "evidenceRecord";
    outcome.json["data"] = !data.empty()              ? Json(data)
                           : !options_.digest.empty() ? Json(options_.digest)
                                                      : Json(nullptr);
    outcome.json.update(to_json(verdict));
    const bool refused_as_aged =
        options_.strict && verdict.good() && verdict.strength == chronoseal::EvidenceStrength::aged;
    const std::string subject = data == "-"     ? "standard input"
                                : !data.empty() ? quote_foreign(data)
                                : !options_.digest.empty()
                                    ? quote_foreign(options_.digest)
                                    : "what it is of, compared with nothing,";
    if (refused_as_aged) {
        outcome.status = ExitStatus::refused;
        outcome.error = Error(chronoseal::Category::refused, "aged", 0,
                              fmt::format("{}: not good under --strict: a certificate under it had "
                                          "ended before it was renewed or judged",
                                          quote_foreign(file)),
                              "renew records before their authority's certificate ends");
        outcome.json["error"] = error_json(*outcome.error);
    } else if (verdict.good()) {
        std::string lines;
        if (is_list) {
            const std::uint64_t count = chronoseal::read_manifest(data, {}, {}, stop).lines;
            lines = fmt::format(" ({})", counted(count, "line"));
            outcome.json["lines"] = count;
        }
        outcome.text =
            fmt::format("{}: {}. {}{} existed by {}{}\n", quote_foreign(file), output_.good("good"),
                        subject, lines, chronoseal::utc_text(*verdict.existed_by),
                        verdict.strength == chronoseal::EvidenceStrength::aged
                            ? "; the record has aged: renew it"
                            : "");
    } else {
        const Error& error = *verdict.failure;
        const std::string now =
            error.word() == "not_in_tree" && is_file(data) ? line_count_of(data) : "";
        outcome.status = status_of(error.category());
        outcome.error = Error(error.category(), error.word(), error.code(),
                              fmt::format("{}: {}: {}{}", quote_foreign(file),
                                          verdict.indeterminate() ? "indeterminate" : "not good",
                                          error.text(), now),
                              error.advice());
        outcome.json["error"] = error_json(*outcome.error);
    }
    outcome.text += stamps_text(verdict, output_);
    if (options_.files && verdict.good() && !refused_as_aged) {
        compare_files(data, outcome, stop);
    }
    return outcome;
}

void RecordVerification::compare_files(const std::string& list, RecordOutcome& outcome,
                                       const std::stop_token& stop) const {
    FileComparison comparison(!output_.quiet(), stop);
    chronoseal::read_manifest(
        list, [&](const chronoseal::ManifestLine& line) { comparison.add(line); }, {}, stop);
    comparison.compare();
    outcome.text += comparison.text();
    outcome.json["files"] = comparison.json();
    if (comparison.changed + comparison.missing != 0) {
        outcome.status = worse(outcome.status, ExitStatus::refused);
        outcome.error = Error(
            chronoseal::Category::refused, "files_differ", 0,
            fmt::format("{}: {} changed, {} missing or unreadable", quote_foreign(list),
                        counted(comparison.changed, "file"), counted(comparison.missing, "file")),
            "get the files as they were; names are looked for from the current folder");
        outcome.json["error"] = error_json(*outcome.error);
    }
}

} // namespace cli
