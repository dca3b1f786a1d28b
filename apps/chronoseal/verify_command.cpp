// Verifying. What a stamp is compared with is settled first: data, digest or request by option, or
// the file beside FILE.tsr. A stamp without any of these is not called good unless that was asked
// for.
#include "verify_command.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <optional>
#include <thread>

#include <fmt/format.h>

#include "input_file.h"
#include "interruption.h"
#include "named_failure.h"
#include "output_file.h"
#include "progress.h"
#include "record_text.h"
#include "record_verification.h"
#include "short_name.h"
#include "stamp_json.h"
#include "stamp_text.h"
#include "trust_command.h"
#include "verdict_page.h"

namespace cli {

namespace {

using chronoseal::Bytes;
using chronoseal::Error;
using chronoseal::Expected;
using chronoseal::quote_foreign;
using chronoseal::Stamp;
using chronoseal::Verdict;
using Json = nlohmann::ordered_json;

constexpr std::string_view kSuffixes[] = {".tsr", ".tst", ".tsa"};

// What "report.pdf.tsr" has before its suffix; nothing of other names.
std::string name_within(const std::string& stamp) {
    for (const std::string_view suffix : kSuffixes) {
        if (stamp.size() > suffix.size() && stamp.ends_with(suffix)) {
            return stamp.substr(0, stamp.size() - suffix.size());
        }
    }
    return "";
}

// "report.pdf" for "report.pdf.tsr" and "report.pdf.2.tsr", if it is there; else nothing.
std::string file_beside(const std::string& stamp) {
    const std::string name = name_within(stamp);
    return name.empty() ? "" : stamped_file(name);
}

// What came of one stamp: a line for people, an object for programs, and how bad it is.
struct Outcome {
    ExitStatus status = ExitStatus::good;
    std::string text;
    std::optional<Error> error;
    Json json;
};

std::string compared_text(const Verdict& verdict, const std::string& subject) {
    return !verdict.compared() ? "compared with nothing: signature and chain only"
           : subject == "-"    ? "standard input"
                               : quote_foreign(subject);
}

// Whoever names what was stamped mostly means the stamp or the record beside it.
Error pointed_beside(const std::string& file, const Error& error) {
    for (const char* suffix : {".tsr", ".ers"}) {
        if (error.word() == "not_a_stamp" && is_file(file + suffix)) {
            return {error.category(), error.word(), error.code(), error.text(),
                    "verify " + quote_foreign(file + suffix)};
        }
    }
    return error;
}

// The hash, the signature or a key is weak, whatever the verdict.
bool is_weak(const Verdict& verdict) {
    for (const chronoseal::Finding& finding : verdict.findings) {
        for (const chronoseal::Remark& remark : finding.remarks) {
            if (remark.word.starts_with("weak")) {
                return true;
            }
        }
    }
    return false;
}

class Verification {
public:
    Verification(const VerifyOptions& options, const Output& output)
        : options_(options), output_(output), verifier_(trust_of(options.trust)),
          records_(options, output) {
        if (!options.request.empty()) {
            try {
                request_ = Expected::of_request(read_file(options.request));
            } catch (const Error& error) {
                throw about_file(options.request, "read", error);
            }
        }
    }

    // Never throws but for want of memory.
    Outcome judge(const std::string& file, const std::stop_token& stop) const {
        Outcome outcome;
        if (output_.json()) {
            outcome.json = {{"file", file}, {"data", nullptr}};
        }
        try {
            const Bytes bytes = read_file(file, kLargestMessage, stop);
            chronoseal::Inspection found = chronoseal::inspect(bytes);
            // A token may carry stamps of its own; what is to be judged then is the token.
            if (found.kind == chronoseal::Kind::evidence_record) {
                take(records_.judge(file, found.der, stop), outcome);
            } else if (found.kind != chronoseal::Kind::token &&
                       !(found.stamps.empty() && found.unread.empty())) {
                judge_embedded(file, found, outcome);
            } else {
                judge_stored(file, bytes,
                             found.stamp ? *std::exchange(found.stamp, std::nullopt)
                                         : Stamp::read(bytes),
                             stop, outcome);
                outcome.text += behind_text(found);
                if (output_.json()) {
                    outcome.json["bytesBehind"] = found.behind;
                }
            }
        } catch (const Error& error) {
            fail(file, error, outcome);
        } catch (const std::exception& exception) { // no memory: this runs in threads, too
            fail(file,
                 {chronoseal::Category::unreachable, "system_failed", 0,
                  quote_foreign(exception.what()), "try again"},
                 outcome);
        }
        if (output_.json()) {
            outcome.json["ok"] = outcome.status == ExitStatus::good;
        }
        return outcome;
    }

private:
    static void take(RecordOutcome record, Outcome& outcome) {
        outcome.status = record.status;
        outcome.text = std::move(record.text);
        outcome.error = std::move(record.error);
        outcome.json.update(record.json);
    }

    struct Subject {
        Expected expected;
        std::string name; // a file, or a digest
        bool unknown_hash = false;
    };

    static std::optional<chronoseal::HashAlgorithm> known_hash(const Stamp& stamp) {
        try {
            return chronoseal::HashAlgorithm::by_name(stamp.info().token->imprint_algorithm.oid);
        } catch (const Error&) {
            return std::nullopt;
        }
    }

    Subject subject_of(const std::string& file, const Stamp& stamp,
                       const std::stop_token& stop) const {
        Subject subject;
        subject.expected.without_data = options_.no_data;
        if (!stamp.has_token()) { // a refusal, which is told whatever there is to compare
            return subject;
        }
        if (request_) {
            subject.expected = *request_;
            subject.name = options_.request;
        }
        std::string data = options_.data;
        if (data.empty() && options_.digest.empty() && !request_ && !options_.no_data) {
            data = file_beside(file);
            if (data.empty()) {
                throw usage_error(
                    fmt::format("can't verify {}: there is nothing to compare it with",
                                quote_foreign(file)),
                    "give --data FILE, --digest HEX or --request F.tsq, or --no-data "
                    "to judge signature and chain alone");
            }
        }
        if (data.empty() && options_.digest.empty()) {
            return subject;
        }
        // With a hash that isn't known here the imprint stays a check that wasn't done, and
        // everything else is judged all the same.
        if (const auto algorithm = known_hash(stamp)) {
            subject.expected.digest = data.empty()
                                          ? digest_given(*algorithm)
                                          : digest_of(data, *algorithm, shows_progress(), stop);
        } else {
            subject.unknown_hash = true;
        }
        subject.name = data.empty() ? options_.digest : data;
        return subject;
    }

    chronoseal::Digest digest_given(const chronoseal::HashAlgorithm& algorithm) const {
        const Bytes value = chronoseal::from_hex(options_.digest);
        if (value.size() != algorithm.size()) {
            throw usage_error(fmt::format("--digest has {}, and the stamp's {} has {}",
                                          counted(value.size(), "byte"), algorithm.name(),
                                          algorithm.size()),
                              "give the digest by the stamp's own hash");
        }
        return {algorithm, value};
    }

    bool shows_progress() const { return !output_.quiet() && options_.stamps.size() == 1; }

    // Files aren't said to be good that nobody has looked at.
    void refuse_list_options(std::string_view kind) const {
        if (options_.files || options_.manifest) {
            throw usage_error(fmt::format("--manifest and --files go with the record of a list, "
                                          "and this is {}",
                                          kind),
                              "leave them out, or name the list's record");
        }
    }

    void judge_stored(const std::string& file, const Bytes& bytes, Stamp stamp,
                      const std::stop_token& stop, Outcome& outcome) const {
        refuse_list_options("a time-stamp");
        const auto& token = stamp.info().token;
        if (output_.json()) {
            outcome.json.update(to_json(stamp.info(), token ? token->signer : std::nullopt));
        }
        const Subject subject = subject_of(file, stamp, stop);
        if (output_.json() && !subject.name.empty()) {
            outcome.json["data"] = subject.name;
        }
        const Verdict verdict = verifier_.verify(std::move(stamp), subject.expected);
        if (subject.unknown_hash && verdict.error().category() == chronoseal::Category::misuse) {
            throw Error(
                chronoseal::Category::unreachable, "hash_unknown", 0,
                "the stamp's hash algorithm isn't known here, so that nothing can be compared",
                "judge it where it is known");
        }
        if (output_.json()) {
            outcome.json.update(to_json(verdict));
            outcome.json["weak"] = is_weak(verdict);
        }
        add_verdict(file, quote_foreign(file), verdict, compared_text(verdict, subject.name),
                    outcome);
        if (!options_.report.empty()) {
            write_page(file, bytes, subject.name, verdict);
        }
    }

    void judge_embedded(const std::string& file, const chronoseal::Inspection& found,
                        Outcome& outcome) const {
        refuse_list_options("a signed message");
        if (!options_.data.empty() || !options_.digest.empty() || request_ ||
            !options_.report.empty()) {
            throw usage_error(
                "it is a signed message: its stamps are compared with the signatures in "
                "it, and with nothing else",
                "leave out --data, --digest, --request and --report");
        }
        // By its name it would be taken for the stamp of that file.
        if (!options_.no_data && !name_within(file).empty()) {
            throw usage_error(
                "it is named like a time-stamp and is a signed message, whose stamps are of the "
                "signatures in it and of no file",
                "give --no-data to have them judged as that");
        }
        outcome.json["kind"] = chronoseal::kind_name(found.kind);
        outcome.json["stamps"] = Json::array();
        const chronoseal::Verifier verifier = verifier_.for_one_file();
        for (const chronoseal::Embedded& one : found.stamps) {
            Expected expected;
            Outcome part;
            part.json = {{"place", one.place}, {"attribute", one.attribute}};
            try {
                if (one.stamp.has_token()) {
                    const auto algorithm = chronoseal::HashAlgorithm::by_name(
                        one.stamp.info().token->imprint_algorithm.oid);
                    expected.digest = chronoseal::Digest::of(one.stamped, algorithm);
                }
                const Verdict verdict = verifier.verify(one.stamp, expected);
                if (output_.json()) {
                    part.json.update(to_json(verdict));
                    part.json["weak"] = is_weak(verdict);
                }
                add_verdict("-",
                            fmt::format("{}, {}", quote_foreign(file), quote_foreign(one.place)),
                            verdict, "the signature that it stamps", part);
            } catch (const Error& error) {
                fail(file, error, part);
            }
            add_part(std::move(part), outcome);
        }
        for (const chronoseal::UnreadStamp& one : found.unread) {
            Outcome part;
            part.json = {{"place", one.place}, {"attribute", attribute_json(one.attribute)}};
            fail(file,
                 {one.reason.category(), one.reason.word(), one.reason.code(),
                  quote_foreign(one.place) + ": " + one.reason.text(), one.reason.advice()},
                 part);
            add_part(std::move(part), outcome);
        }
        outcome.text += behind_text(found);
        outcome.json["bytesBehind"] = found.behind;
        if (outcome.error) {
            outcome.json["error"] = error_json(*outcome.error);
        }
    }

    static void add_part(Outcome part, Outcome& outcome) {
        part.json["ok"] = part.status == ExitStatus::good;
        outcome.text += part.text;
        if (outcome.error && part.error) { // the line of a failure holds one alone
            outcome.text += part.error->text() + "\n";
        }
        outcome.status = worse(outcome.status, part.status);
        outcome.error = outcome.error ? outcome.error : part.error;
        outcome.json["stamps"].push_back(std::move(part.json));
    }

    void add_verdict(const std::string& file, const std::string& label, const Verdict& verdict,
                     const std::string& compared, Outcome& outcome) const {
        if (verdict.good() && options_.strict &&
            verdict.outlook.strength == chronoseal::EvidenceStrength::aged) {
            refuse_aged(label, verdict, outcome);
        } else if (verdict.good()) {
            outcome.text += fmt::format("{}: {}, {} by {}, {}{}\n", label, output_.good("good"),
                                        chronoseal::utc_text(verdict.stamp.token->time),
                                        authority_text(verdict), compared, outlook_text(verdict));
        } else {
            const Error error =
                with_trust_call(of_the_past(verdict.error()), file == "-" ? "ROOT.pem" : file);
            const char* word = verdict.indeterminate() ? "indeterminate" : "not good";
            outcome.status = worse(outcome.status, status_of(error.category()));
            outcome.error =
                Error(error.category(), error.word(), error.code(),
                      fmt::format("{}: {}: {}", label, word, error.text()), error.advice());
            outcome.json["error"] = error_json(*outcome.error);
        }
        if (output_.verbose()) {
            outcome.text += verdict_text(verdict, output_);
        }
        outcome.text += labelled_remarks(label, verdict);
    }

    // What is asked again when a stamp is got has another remedy where one is judged.
    Error of_the_past(const Error& error) const {
        const bool foreign = error.word() == "nonce_differs" && request_;
        const bool early = error.word() == "time_in_future" && !options_.trust.at.empty();
        return {error.category(), error.word(), error.code(), error.text(),
                foreign ? "the stamp is the answer to another request"
                : early ? "name a time by --at that is not before the stamp's"
                        : error.advice()};
    }

    static void refuse_aged(const std::string& label, const Verdict& verdict, Outcome& outcome) {
        outcome.status = worse(outcome.status, ExitStatus::refused);
        outcome.error = Error(chronoseal::Category::refused, "aged", 0,
                              fmt::format("{}: not good under --strict: it rests on a certificate "
                                          "that ended at {}",
                                          label, chronoseal::utc_text(*verdict.outlook.aged_since)),
                              "renew stamps before their authority's certificate ends");
        outcome.json["error"] = error_json(*outcome.error);
    }

    void fail(const std::string& file, const Error& error, Outcome& outcome) const {
        const Error told = pointed_beside(file, about_file(file, "verify", error));
        outcome.status = worse(outcome.status, status_of(told.category()));
        outcome.error = told;
        outcome.json["error"] = error_json(told);
    }

    void write_page(const std::string& file, const Bytes& bytes, const std::string& subject,
                    const Verdict& verdict) const {
        const auto sha256 = chronoseal::HashAlgorithm::by_name("sha256");
        const Bytes own_hash = chronoseal::Digest::of(bytes, sha256).value();
        OutputFile(options_.report, existing_of(options_.force))
            .write(chronoseal::bytes_of(verdict_page(file, own_hash, subject, verdict)));
    }

    const VerifyOptions& options_;
    const Output& output_;
    chronoseal::Verifier verifier_;
    RecordVerification records_;
    std::optional<Expected> request_;
};

// Judges the stamps in several threads and tells of each as soon as it is judged.
class VerifyRun {
public:
    VerifyRun(const VerifyOptions& options, const Output& output)
        : options_(options), output_(output), verification_(options, output),
          progress_(options.stamps.size(), !output.quiet() && options.stamps.size() > 1),
          results_(output) {}

    ExitStatus run() {
        const Interruption interruption;
        const std::size_t wanted =
            options_.jobs == 0 ? std::max(1U, std::thread::hardware_concurrency()) : options_.jobs;
        std::vector<std::jthread> workers;
        for (std::size_t i = 1; i < std::min(wanted, options_.stamps.size()); ++i) {
            workers.emplace_back([this, stop = interruption.token()] { work(stop); });
        }
        work(interruption.token());
        workers.clear();
        return finish(interruption.happened());
    }

private:
    void work(const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            const std::size_t index = next_.fetch_add(1);
            if (index >= options_.stamps.size()) {
                return;
            }
            take(verification_.judge(options_.stamps[index], stop));
        }
    }

    void take(Outcome outcome) {
        const std::scoped_lock lock(mutex_);
        progress_.wipe();
        ++judged_;
        status_ = worse(status_, outcome.status);
        good_ += outcome.status == ExitStatus::good ? 1 : 0;
        output_.text(outcome.text);
        if (outcome.error) {
            output_.failure(*outcome.error);
        }
        results_.add(std::move(outcome.json));
        progress_.advance();
    }

    ExitStatus finish(bool interrupted) {
        progress_.wipe();
        if (interrupted) {
            status_ = worse(status_, ExitStatus::unreachable);
        }
        const bool many = options_.stamps.size() > 1;
        if (many) {
            output_.text(fmt::format("{} good, {} not{}\n", good_, judged_ - good_,
                                     interrupted ? fmt::format(", {} not begun: interrupted",
                                                               options_.stamps.size() - judged_)
                                                 : std::string()));
        }
        Json members;
        Json results = results_.take();
        if (!many && results.size() == 1) {
            members = std::move(results.front());
            members.erase("ok");
        } else {
            if (output_.format() == Format::json) {
                members["files"] = std::move(results);
            }
            members["summary"] = {{"good", good_},
                                  {"notGood", judged_ - good_},
                                  {"left", options_.stamps.size() - judged_},
                                  {"interrupted", interrupted}};
        }
        output_.object(status_ == ExitStatus::good, members);
        return status_;
    }

    const VerifyOptions& options_;
    const Output& output_;
    Verification verification_;
    std::atomic<std::size_t> next_{0};
    std::mutex mutex_;
    CountProgress progress_;
    std::size_t judged_ = 0, good_ = 0;
    ExitStatus status_ = ExitStatus::good;
    ResultList results_;
};

void check_report(const VerifyOptions& options) {
    if (options.report == "-") {
        throw usage_error("--report needs a file", "name one");
    }
    std::vector<std::string> inputs = options.stamps;
    inputs.insert(inputs.end(),
                  {file_beside(options.stamps.front()), options.data, options.request});
    OutputFile(options.report, existing_of(options.force), "--report")
        .check(files_of(options.trust, inputs));
}

void check_usage(const VerifyOptions& options) {
    const bool one_subject =
        !options.data.empty() || !options.digest.empty() || !options.request.empty();
    if (options.stamps.size() > 1 && (one_subject || !options.report.empty())) {
        throw usage_error("--data, --digest, --request and --report go with one stamp only",
                          "leave them out: each FILE.tsr is compared with the FILE beside it");
    }
    if (std::count(options.stamps.begin(), options.stamps.end(), "-") + (options.data == "-") +
            (options.request == "-") >
        1) {
        throw usage_error("standard input can be read once only", "give the others as files");
    }
    if (!options.digest.empty()) {
        chronoseal::from_hex(options.digest);
    }
    if (!options.report.empty()) {
        check_report(options);
    }
}

} // namespace

ExitStatus run_verify(const VerifyOptions& options, const Output& output) {
    check_usage(options);
    return VerifyRun(options, output).run();
}

} // namespace cli
