// Extending, one stamp after the other: fetched, judged by itself, and only then written.
#include "extend_command.h"

#include <fmt/format.h>

#include "input_file.h"
#include "named_failure.h"
#include "output_file.h"
#include "record_text.h"
#include "record_verification.h"
#include "stamp_json.h"
#include "stamp_text.h"
#include "trust_command.h"

namespace cli {

namespace {

using chronoseal::Bytes;
using chronoseal::Error;
using chronoseal::quote_foreign;
using Json = nlohmann::ordered_json;

class ExtendRun {
public:
    ExtendRun(const ExtendOptions& options, const Output& output)
        : options_(options), output_(output), trust_(trust_of(options.trust)), results_(output) {}

    ExitStatus run() {
        for (const std::string& file : options_.stamps) {
            Json item = {{"file", file}};
            try {
                extend(file, item);
                item["ok"] = true;
                ++(item["changed"] ? extended_ : unchanged_);
            } catch (const Error& error) {
                tell(file, error, item);
            }
            results_.add(std::move(item));
        }
        finish();
        return status_;
    }

private:
    void extend(const std::string& file, Json& item) const {
        const OutputFile out(options_.out.empty() ? in_place(file) : options_.out,
                             existing_of(options_.out.empty() || options_.force));
        out.check(files_of(options_.trust,
                           options_.out.empty() ? std::vector<std::string>() : std::vector{file}));
        const Bytes bytes = read_file(file);
        const chronoseal::Inspection found = chronoseal::inspect(bytes);
        refuse_more_behind(found);
        if (is_signature(found)) {
            extend_signature(file, out, bytes, item);
            return;
        }
        Bytes der;
        const chronoseal::Extension extension = found.kind == chronoseal::Kind::evidence_record
                                                    ? extend_record(file, bytes, der)
                                                    : extend_stamp(bytes, der);
        if (extension.changed()) {
            out.write(chronoseal::rewrap(bytes, der));
        } else if (!options_.out.empty()) {
            out.write(bytes);
        }
        if (!out.is_standard_output()) {
            output_.text(fmt::format("{}: {}\n{}", quote_foreign(file), text_of(extension),
                                     remarks_text(extension.remarks)));
        }
        fill(extension, item);
        item["out"] = out.path();
        item["remarks"] = to_json(extension.remarks);
    }

    // A stamp after the other, in the place where the signature holds it.
    void extend_signature(const std::string& file, const OutputFile& out, const Bytes& bytes,
                          Json& item) const {
        const chronoseal::SignatureExtension extension =
            chronoseal::CmsSignature::read(bytes).extended(trust_);
        if (extension.changed()) {
            out.write(extension.signature.encoded());
        } else if (!options_.out.empty()) {
            out.write(bytes);
        }
        std::string text = remarks_text(extension.remarks);
        item["out"] = out.path();
        item["changed"] = extension.changed();
        item["stamps"] = Json::array();
        item["remarks"] = to_json(extension.remarks);
        for (std::size_t i = 0; i < extension.stamps.size(); ++i) {
            const chronoseal::Extension& one = extension.stamps[i];
            text += fmt::format("{}: stamp {}: {}\n{}", quote_foreign(file), i + 1, text_of(one),
                                remarks_text(one.remarks));
            Json json;
            fill(one, json);
            json["remarks"] = to_json(one.remarks);
            item["stamps"].push_back(std::move(json));
        }
        if (!out.is_standard_output()) {
            output_.text(text);
        }
    }

    chronoseal::Extension extend_stamp(const Bytes& bytes, Bytes& der) const {
        chronoseal::Extension extension =
            chronoseal::extend(chronoseal::Stamp::read(bytes), trust_);
        const Bytes& response = extension.stamp.response();
        der = response.empty() ? extension.stamp.token() : response;
        return extension;
    }

    // The last stamp of a record, which goes on proving what it did. Data that isn't there isn't
    // missed: no hash of it changes.
    chronoseal::Extension extend_record(const std::string& file, const Bytes& bytes,
                                        Bytes& der) const {
        const chronoseal::RecordExtension extended =
            chronoseal::extend(chronoseal::EvidenceRecord::read(bytes), trust_);
        const chronoseal::EvidenceVerifier verifier(trust_);
        const std::string data = file_beside_record(file);
        const chronoseal::EvidenceVerdict verdict =
            data.empty() ? verifier.verify_record(extended.record)
                         : verifier.verify_file(extended.record, data);
        if (!verdict.good() && verdict.failure->word() != "data_needed") {
            throw Error(*verdict.failure);
        }
        der = extended.record.der();
        return extended.extension;
    }

    static std::string text_of(const chronoseal::Extension& extension) {
        const chronoseal::Outlook& outlook = extension.verdict.outlook;
        const std::string what =
            extension.changed()
                ? fmt::format("extended by {}, {}, {}",
                              counted(extension.certificates, "certificate"),
                              counted(extension.revocation_lists, "revocation list"),
                              counted(extension.ocsp_answers, "OCSP answer"))
                : "holds all of it already";
        return what + term_text(outlook);
    }

    static void fill(const chronoseal::Extension& extension, Json& item) {
        item["changed"] = extension.changed();
        item["certificates"] = extension.certificates;
        item["revocationLists"] = extension.revocation_lists;
        item["ocspAnswers"] = extension.ocsp_answers;
        item["evidenceUntil"] = time_or_null(extension.verdict.outlook.evidence_until);
        item["evidenceAgain"] = time_or_null(extension.verdict.outlook.evidence_again);
    }

    void tell(const std::string& file, const Error& error, Json& item) {
        const Error told =
            with_trust_call(about_file(file, "extend", error), file == "-" ? "ROOT.pem" : file);
        ++failed_;
        status_ = worse(status_, status_of(told.category()));
        output_.failure(told);
        item["ok"] = false;
        item["error"] = error_json(told);
    }

    void finish() {
        if (options_.stamps.size() > 1) {
            output_.text(fmt::format("{} extended, {} held all already, {} failed\n", extended_,
                                     unchanged_, failed_));
        }
        Json members;
        Json results = results_.take();
        if (results.size() == 1 && options_.stamps.size() == 1) {
            members = std::move(results.front());
            members.erase("ok");
        } else {
            if (output_.format() == Format::json) {
                members["files"] = std::move(results);
            }
            members["summary"] = {
                {"extended", extended_}, {"unchanged", unchanged_}, {"failed", failed_}};
        }
        output_.object(status_ == ExitStatus::good, members);
    }

    const ExtendOptions& options_;
    const Output& output_;
    chronoseal::Trust trust_;
    ExitStatus status_ = ExitStatus::good;
    ResultList results_;
    std::uint64_t extended_ = 0, unchanged_ = 0, failed_ = 0;
};

void check_usage(const ExtendOptions& options, const Output& output) {
    if (options.stamps.size() > 1 && !options.out.empty()) {
        throw usage_error("--out goes with one stamp only",
                          "leave it out: each stamp is then extended in place");
    }
    for (const std::string& file : options.stamps) {
        if (file == "-" && options.out.empty()) {
            throw usage_error("standard input can't be extended in place", "name --out");
        }
    }
    refuse_json_beside({options.out, Existing::replace}, output, "the stamp");
    if (options.trust.revocation == "off") {
        throw usage_error("there is no evidence to put into a stamp with --revocation off",
                          "use require or available");
    }
}

} // namespace

ExitStatus run_extend(const ExtendOptions& options, const Output& output) {
    check_usage(options, output);
    return ExtendRun(options, output).run();
}

} // namespace cli
