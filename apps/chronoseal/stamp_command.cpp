// Stamping: everything that can be checked without an authority is checked first, then the files
// are hashed and sent over several connections, and each stamp is written as it comes.
#include "stamp_command.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>

#include <fmt/format.h>

#include "input_file.h"
#include "interruption.h"
#include "many_files.h"
#include "named_failure.h"
#include "output_file.h"
#include "place_set.h"
#include "progress.h"
#include "stamp_json.h"
#include "stamp_text.h"
#include "together_command.h"
#include "trust_command.h"

namespace cli {

namespace {

using chronoseal::Bytes;
using chronoseal::Error;
using chronoseal::quote_foreign;
using chronoseal::Sealer;
using chronoseal::Stamp;
using Json = nlohmann::ordered_json;

constexpr std::string_view kStampSuffix = ".tsr";

bool is_stamp_name(const std::string& file) {
    return file.size() > kStampSuffix.size() && file.ends_with(kStampSuffix);
}

// The place of the n-th stamp of a quorum: "a.tsr", "a.2.tsr".
std::string numbered(const std::string& path, std::size_t index) {
    if (index == 0 || path == "-") {
        return path;
    }
    const std::string stem = is_stamp_name(path) ? path.substr(0, path.size() - 4) : path;
    return fmt::format("{}.{}{}", stem, index + 1, is_stamp_name(path) ? kStampSuffix : "");
}

std::string output_path(const StampOptions& options, const std::string& file) {
    if (!options.out.empty()) {
        return options.out;
    }
    return file == "-" ? "-" : file + std::string(kStampSuffix);
}

void check_usage(const StampOptions& options, const Output& output) {
    if (options.files.empty() == options.digest.empty()) {
        throw usage_error("stamp wants files, or --digest",
                          "chronoseal stamp report.pdf, or --digest HEX --hash NAME --out F");
    }
    const bool one_place = !options.out.empty() || !options.token_out.empty() ||
                           !options.certs_out.empty() || !options.crls_out.empty();
    if (options.files.size() > 1 && one_place) {
        throw usage_error("--out, --token-out, --certs-out and --crls-out go with one file only",
                          "leave them out: each stamp is then written to FILE.tsr");
    }
    if (std::count(options.files.begin(), options.files.end(), "-") > 1 ||
        (options.files.size() > 1 &&
         std::count(options.files.begin(), options.files.end(), "-") != 0)) {
        throw usage_error("standard input goes alone", "stamp - by a call of its own");
    }
    const std::string stamp_place =
        output_path(options, options.files.empty() ? "-" : options.files.front());
    PlaceSet places;
    if (stamp_place != "-") {
        places.add(stamp_place);
    }
    for (const std::string* place : {&options.token_out, &options.certs_out, &options.crls_out}) {
        if (*place == "-") {
            throw usage_error("--token-out, --certs-out and --crls-out want files",
                              "name one; the stamp itself may go to standard output");
        }
        if (!place->empty()) {
            places.add_or_refuse(*place, "results", "name another");
        }
    }
    if (!options.digest.empty() && options.out.empty()) {
        throw usage_error("--digest needs --out", "name where the stamp is to be written");
    }
    refuse_json_beside({stamp_place, Existing::replace}, output, "the stamp");
    if (options.authority.quorum > 1 && (stamp_place == "-" || !options.token_out.empty() ||
                                         !options.certs_out.empty() || !options.crls_out.empty())) {
        throw usage_error("the stamps of a quorum go to files of their own",
                          "leave out --token-out, --certs-out and --crls-out, and name --out");
    }
}

chronoseal::SealerOptions sealer_options(const AuthorityOptions& authority,
                                         const TrustOptions& trust, bool no_verify) {
    chronoseal::SealerOptions options;
    apply(authority, options);
    options.trust = trust_of(trust);
    options.verify = !no_verify;
    return options;
}

// As PEM: each in the place of an empty SEQUENCE in a block of that label.
Bytes pem_of(const std::vector<Bytes>& pieces, std::string_view label) {
    const std::string block = fmt::format("-----BEGIN {0}-----\nMAA=\n-----END {0}-----\n", label);
    Bytes text;
    for (const Bytes& piece : pieces) {
        const Bytes one = chronoseal::rewrap(chronoseal::bytes_of(block), piece);
        text.insert(text.end(), one.begin(), one.end());
    }
    return text;
}

// What else of a stamp is to be kept in files of its own.
class SideFiles {
public:
    explicit SideFiles(const StampOptions& options)
        : token_(options.token_out, existing_of(options.force), "--token-out"),
          certificates_(options.certs_out, existing_of(options.force), "--certs-out"),
          lists_(options.crls_out, existing_of(options.force), "--crls-out"), options_(options) {}

    void check(const std::vector<std::string>& inputs) const {
        for (const OutputFile* file : {&token_, &certificates_, &lists_}) {
            if (!file->path().empty()) {
                file->check(inputs);
            }
        }
    }

    void write(const Stamp& stamp, const Output& output) const {
        if (!token_.path().empty()) {
            token_.write(stamp.token());
        }
        if (certificates_.path().empty() && lists_.path().empty()) {
            return;
        }
        // Of a stamp that wasn't to be verified the chain is looked for all the same.
        const chronoseal::Verdict verdict =
            options_.no_verify ? chronoseal::Verifier(trust_of(options_.trust)).verify_token(stamp)
                               : *stamp.verdict();
        std::vector<Bytes> certificates, lists;
        for (const chronoseal::ChainLink& link : verdict.chain) {
            certificates.push_back(link.certificate.der);
            for (const chronoseal::Evidence& evidence : link.evidence) {
                if (evidence.kind == chronoseal::EvidenceKind::revocation_list) {
                    lists.push_back(evidence.der);
                }
            }
        }
        if (!certificates_.path().empty()) {
            certificates_.write(pem_of(certificates, "CERTIFICATE"));
            if (certificates.empty()) {
                output.note("no chain of certificates was found: " +
                            quote_foreign(certificates_.path()) + " is empty");
            }
        }
        if (!lists_.path().empty()) {
            lists_.write(pem_of(lists, "X509 CRL"));
            if (lists.empty()) {
                output.note("no revocation list was used: " + quote_foreign(lists_.path()) +
                            " is empty");
            }
        }
    }

private:
    OutputFile token_, certificates_, lists_;
    const StampOptions& options_;
};

struct Counts {
    std::uint64_t stamped = 0, skipped = 0, failed = 0;
};

// One run of `stamp`: gives the sealer one file after the other, and takes the stamps as they come.
class StampRun {
public:
    StampRun(const StampOptions& options, const Output& output)
        : options_(options), output_(output), sealer_(make_sealer(options, output)), side_(options),
          inputs_(inputs_of(options)),
          progress_(options.files.size(), !output.quiet() && options.files.size() > 1),
          results_(output) {
        side_.check(inputs_);
        refuse_shared_outputs();
    }

    ExitStatus run() {
        const Interruption interruption;
        if (options_.files.size() <= 1) {
            one(interruption.token());
        } else {
            many(interruption.token());
        }
        return finish(interruption.happened());
    }

private:
    // Everything that is read: no result is written over any of it.
    static std::vector<std::string> inputs_of(const StampOptions& options) {
        std::vector<std::string> inputs = files_of(options.trust, files_of(options.authority));
        // Of many files only those named like results can be hit by one, and they are left out
        // unless they are forced.
        for (const std::string& file : options.files) {
            if (options.files.size() == 1 || (is_stamp_name(file) && options.force)) {
                inputs.push_back(file);
            }
        }
        return inputs;
    }

    static chronoseal::SealerOptions make_sealer(const StampOptions& options,
                                                 const Output& output) {
        chronoseal::SealerOptions result =
            sealer_options(options.authority, options.trust, options.no_verify);
        apply(options.request, result);
        result.keep_verdict =
            output.verbose() || !options.certs_out.empty() || !options.crls_out.empty();
        return result;
    }

    void one(const std::stop_token& stop) {
        const std::string file = options_.files.empty() ? "" : options_.files.front();
        const std::string shown = file.empty() ? options_.digest : file;
        try {
            refuse_folder(file);
            if (leave_out(file)) {
                return;
            }
            const chronoseal::Digest digest =
                file.empty() ? chronoseal::Digest::from_hex(sealer_.hash(), options_.digest)
                             : digest_of(file, sealer_.hash(), !output_.quiet(), stop);
            take(shown, file,
                 options_.authority.quorum > 1 ? sealer_.seal_quorum(digest, stop)
                                               : std::vector{sealer_.seal_digest(digest, stop)});
        } catch (const Error& error) {
            fail(shown, error);
        }
    }

    void many(const std::stop_token& stop) {
        std::size_t next = 0;
        const auto give = [&]() -> std::optional<chronoseal::Item> {
            while (next < options_.files.size()) {
                const std::string& file = options_.files[next++];
                try {
                    refuse_pipe(file);
                    refuse_folder(file);
                    if (!leave_out(file)) {
                        return std::filesystem::path(file);
                    }
                } catch (const Error& error) {
                    fail(file, error);
                }
                progress_.advance();
            }
            return std::nullopt;
        };
        const auto done = [&](const chronoseal::BatchResult& result) {
            const std::string& file = std::get<std::filesystem::path>(result.item).native();
            try {
                if (result.error) {
                    throw Error(*result.error);
                }
                take(file, file, result.stamps);
            } catch (const Error& error) {
                fail(file, error);
            }
            progress_.advance();
        };
        sealer_.seal_all(give, done, options_.jobs, stop);
    }

    std::vector<std::string> inputs_of(const std::string& file) const {
        std::vector<std::string> inputs = inputs_;
        inputs.push_back(file.empty() ? "-" : file);
        return inputs;
    }

    // Two stamps for one place are two that are asked for and one that is kept.
    void refuse_shared_outputs() const {
        if (options_.files.size() < 2) {
            return;
        }
        PlaceSet places;
        for (const std::string& file : options_.files) {
            for (std::size_t i = 0; i < options_.authority.quorum && !is_left_out(file); ++i) {
                places.add_or_refuse(numbered(output_path(options_, file), i), "stamps",
                                     "name each file once");
            }
        }
    }

    bool is_left_out(const std::string& file) const {
        return options_.files.size() > 1 && is_stamp_name(file) && !options_.force;
    }

    static void refuse_folder(const std::string& file) {
        std::error_code problem;
        if (std::filesystem::is_directory(file, problem)) {
            throw Error(chronoseal::Category::unreachable, "not_a_file", 0,
                        fmt::format("can't stamp {}: it is a folder", quote_foreign(file)),
                        "name the files in it, or stamp it as a whole by --together");
        }
    }

    // Whether there is nothing to be done for this file; throws if its stamp can't be written.
    bool leave_out(const std::string& file) {
        if (is_left_out(file)) {
            skip(file, "it is a stamp itself", "stamp_file");
            return true;
        }
        std::vector<OutputFile> there;
        for (std::size_t i = 0; i < options_.authority.quorum; ++i) {
            const OutputFile out(numbered(output_path(options_, file), i),
                                 existing_of(options_.force),
                                 options_.files.size() > 1 ? nullptr : "--out");
            if (options_.skip_existing && out.exists()) {
                there.push_back(out);
            } else {
                out.check(out.exists() ? inputs_of(file) : std::vector<std::string>());
            }
        }
        if (!there.empty() && there.size() < options_.authority.quorum) {
            throw Error(chronoseal::Category::unreachable, "quorum_incomplete", 0,
                        fmt::format("can't stamp {}: {} is there already, and others of its quorum "
                                    "are not",
                                    quote_foreign(file), quote_foreign(there.front().path())),
                        "move it away, and all are asked for anew");
        }
        if (!there.empty()) {
            skip(file, quote_foreign(there.front().path()) + " is there already", "output_exists");
        }
        return !there.empty();
    }

    void take(const std::string& shown, const std::string& file, const std::vector<Stamp>& stamps) {
        for (std::size_t i = 0; i < stamps.size(); ++i) {
            const OutputFile out(numbered(output_path(options_, file), i),
                                 existing_of(options_.force));
            out.write(stamps[i].response().empty() ? stamps[i].as_response()
                                                   : stamps[i].response());
            side_.write(stamps[i], output_);
            tell(shown, out, stamps[i]);
        }
        ++counts_.stamped;
    }

    void tell(const std::string& shown, const OutputFile& out, const Stamp& stamp) {
        progress_.wipe();
        if (!out.is_standard_output()) {
            output_.text(
                stamped_text(quote_foreign(shown) + ":", stamp, !options_.no_verify, out.path()));
            if (output_.verbose() && !options_.no_verify) {
                output_.text(verdict_text(*stamp.verdict(), output_));
            }
        }
        if (output_.json()) {
            Json json = {
                {"file", shown}, {"ok", true}, {"out", out.path()}, {"attempts", stamp.attempts()}};
            json.update(to_json(stamp, !options_.no_verify));
            results_.add(std::move(json));
        }
    }

    void skip(const std::string& file, const std::string& reason, const char* word) {
        progress_.wipe();
        ++counts_.skipped;
        if (!options_.skip_existing || options_.files.size() == 1) {
            output_.note(quote_foreign(file) + " is left out: " + reason);
        }
        results_.add({{"file", file}, {"ok", true}, {"skipped", word}});
    }

    void fail(const std::string& file, const Error& failure) {
        const Error error = with_trust_call(failure, "ROOT.pem");
        progress_.wipe();
        ++counts_.failed;
        status_ = worse(status_, status_of(error.category()));
        output_.failure(options_.files.size() > 1 ? about_file(file, "stamp", error) : error);
        results_.add({{"file", file}, {"ok", false}, {"error", error_json(error)}});
    }

    ExitStatus finish(bool interrupted) {
        progress_.wipe();
        if (interrupted) {
            status_ = worse(status_, ExitStatus::unreachable);
        }
        const std::uint64_t left =
            options_.files.size() <= 1
                ? 0
                : options_.files.size() - counts_.stamped - counts_.skipped - counts_.failed;
        if (options_.files.size() > 1) {
            output_.text(fmt::format("{} stamped, {} left out, {} failed{}\n", counts_.stamped,
                                     counts_.skipped, counts_.failed,
                                     interrupted ? fmt::format(", {} not begun: interrupted", left)
                                                 : std::string()));
        }
        Json members;
        if (output_.format() == Format::json) {
            members["files"] = results_.take();
        }
        members["summary"] = {{"stamped", counts_.stamped},
                              {"skipped", counts_.skipped},
                              {"failed", counts_.failed},
                              {"left", left},
                              {"interrupted", interrupted}};
        output_.object(status_ == ExitStatus::good, members);
        return status_;
    }

    const StampOptions& options_;
    const Output& output_;
    Sealer sealer_;
    SideFiles side_;
    std::vector<std::string> inputs_;
    CountProgress progress_;
    Counts counts_;
    ExitStatus status_ = ExitStatus::good;
    ResultList results_;
};

} // namespace

ExitStatus run_stamp(const StampOptions& options, const Output& output) {
    if (options.together || options.manifest) {
        return run_stamp_together(options, output);
    }
    check_usage(options, output);
    return StampRun(options, output).run();
}

namespace {

Stamp sent(const Sealer& sealer, const Bytes& request, const SendOptions& options,
           const std::stop_token& stop) {
    try {
        return sealer.send(request, stop);
    } catch (const Error& error) {
        throw about_file(options.request, "send", with_trust_call(error, "ROOT.pem"));
    }
}

} // namespace

ExitStatus run_send(const SendOptions& options, const Output& output) {
    const OutputFile out(options.out, existing_of(options.force));
    refuse_json_beside(out, output, "the stamp");
    out.check(files_of(options.trust, files_of(options.authority, {options.request})));
    const Bytes request = read_file(options.request);
    chronoseal::SealerOptions wanted =
        sealer_options(options.authority, options.trust, options.no_verify);
    wanted.keep_verdict = output.verbose();
    const Sealer sealer(wanted);
    const Interruption interruption;
    const Stamp stamp = sent(sealer, request, options, interruption.token());
    out.write(stamp.response().empty() ? stamp.as_response() : stamp.response());
    if (!out.is_standard_output()) {
        output.text(stamped_text(quote_foreign(options.request) + ":", stamp, !options.no_verify,
                                 out.path()));
        if (output.verbose() && !options.no_verify) {
            output.text(verdict_text(*stamp.verdict(), output));
        }
    }
    Json json = {{"file", options.request}, {"out", out.path()}};
    json.update(to_json(stamp, !options.no_verify));
    output.object(true, json);
    return ExitStatus::good;
}

} // namespace cli
