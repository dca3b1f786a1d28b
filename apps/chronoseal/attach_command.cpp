// Attaching: everything that can be wrong with the signature is looked at before the authority is
// asked, since a stamp on a signature that doesn't fit helps nobody.
#include "attach_command.h"

#include <optional>

#include <fmt/format.h>

#include "input_file.h"
#include "interruption.h"
#include "named_failure.h"
#include "output_file.h"
#include "stamp_json.h"
#include "stamp_text.h"
#include "trust_command.h"

namespace cli {

namespace {

using chronoseal::Bytes;
using chronoseal::CmsSignature;
using chronoseal::Error;
using chronoseal::quote_foreign;
using Json = nlohmann::ordered_json;

// Content is held in memory to be hashed.
constexpr std::size_t kLargestContent = std::size_t{1} << 30;
// Each signer is a request to the authority.
constexpr std::size_t kMostSigners = 64;

std::vector<std::size_t> signers_wanted(const AttachOptions& options,
                                        const CmsSignature& signature) {
    if (options.signer != 0) {
        return {options.signer - 1};
    }
    const std::size_t count = signature.signers();
    if (count > 1 && !options.all) {
        throw usage_error(fmt::format("{} has {} signers", quote_foreign(options.file), count),
                          "name one by --signer N, or stamp each by --all");
    }
    if (count > kMostSigners) {
        throw usage_error(fmt::format("{} has {} signers, and --all takes {} at most",
                                      quote_foreign(options.file), count, kMostSigners),
                          "name them one by one by --signer N");
    }
    std::vector<std::size_t> signers(count);
    for (std::size_t i = 0; i < count; ++i) {
        signers[i] = i;
    }
    return signers;
}

// Whether the content was compared.
bool check(const AttachOptions& options, const CmsSignature& signature,
           const std::vector<std::size_t>& signers, const std::string& attribute,
           const chronoseal::Trust& trust) {
    std::optional<Bytes> content;
    if (!options.data.empty()) {
        content = read_file(options.data, kLargestContent);
    }
    bool whole = true;
    for (const std::size_t signer : signers) {
        signature.check_place(signer, attribute);
        whole &=
            signature.check(signer, trust.certificates,
                            content ? std::optional<chronoseal::ByteView>(*content) : std::nullopt);
    }
    return whole;
}

chronoseal::SealerOptions sealer_options(const AttachOptions& options,
                                         const chronoseal::Trust& trust) {
    chronoseal::SealerOptions sealer;
    apply(options.request, sealer);
    apply(options.authority, sealer);
    sealer.certificates = true; // whoever reads the signature later has nothing but itself
    sealer.trust = trust;
    return sealer;
}

void check_usage(const AttachOptions& options, const Output& output) {
    if (options.signer != 0 && options.all) {
        throw usage_error("--signer and --all exclude each other", "leave one out");
    }
    if (options.file == "-" && (options.out.empty() || options.data == "-")) {
        throw usage_error("standard input can be read once only, and not written to",
                          "name --out, and give the data as a file");
    }
    refuse_json_beside({options.out, Existing::replace}, output, "the signature");
}

OutputFile output_of(const AttachOptions& options) {
    OutputFile out(options.out.empty() ? in_place(options.file) : options.out,
                   existing_of(options.force));
    std::vector<std::string> inputs = files_of(options.trust, files_of(options.authority));
    inputs.push_back(options.data);
    if (!options.out.empty()) {
        inputs.push_back(options.file);
    }
    out.check(inputs);
    return out;
}

CmsSignature read_signature(const AttachOptions& options) {
    try {
        return CmsSignature::read(read_file(options.file));
    } catch (const chronoseal::Error& error) {
        throw about_file(options.file, "attach a stamp to", error);
    }
}

// Stamps one signer after the other. What an authority has given is paid for: when a later request
// fails, or is interrupted, the stamps had until then are kept.
class AttachRun {
public:
    AttachRun(const AttachOptions& options, const Output& output, CmsSignature signature,
              std::vector<std::size_t> signers)
        : options_(options), output_(output), signature_(std::move(signature)),
          signers_(std::move(signers)) {
        attribute_ = options.attribute.empty() ? std::string(chronoseal::kSignatureTimeStamp)
                                               : options.attribute;
    }

    ExitStatus run(const OutputFile& out, const chronoseal::Trust& trust) {
        const bool whole = check(options_, signature_, signers_, attribute_, trust);
        const chronoseal::Sealer sealer(sealer_options(options_, trust));
        const std::optional<Error> failure = stamp_all(sealer, out);
        const Bytes encoded = signature_.encoded();
        out.write(encoded);
        if (!out.is_standard_output()) {
            output_.text(text_ + fmt::format("{}-> {}\n",
                                             whole ? ""
                                                   : "the content isn't there: the signature over "
                                                     "the signed attributes alone was checked\n",
                                             quote_foreign(out.path())));
        }
        Json members = {{"file", options_.file},   {"out", out.path()},
                        {"bytes", encoded.size()}, {"attribute", attribute_},
                        {"contentChecked", whole}, {"stamps", stamps_}};
        if (failure) {
            output_.failure(*failure);
            members["error"] = error_json(*failure);
        }
        output_.object(!failure, members);
        return failure ? status_of(failure->category()) : ExitStatus::good;
    }

private:
    // Throws the first signer's failure; gives a later one's.
    std::optional<Error> stamp_all(const chronoseal::Sealer& sealer, const OutputFile& out) {
        const Interruption interruption;
        for (std::size_t i = 0; i < signers_.size(); ++i) {
            try {
                stamp_one(signers_[i], sealer, interruption.token());
            } catch (const Error& error) {
                const Error told = about_file(options_.file, "attach a stamp to",
                                              with_trust_call(error, "ROOT.pem"));
                if (i == 0) {
                    throw Error(told);
                }
                return with_what_is_left(told, signers_[i], out);
            }
        }
        return std::nullopt;
    }

    void stamp_one(std::size_t signer, const chronoseal::Sealer& sealer,
                   const std::stop_token& stop) {
        const auto digest = chronoseal::Digest::of(signature_.value(signer), sealer.hash());
        const chronoseal::Stamp stamp = sealer.seal_digest(digest, stop);
        signature_ = signature_.with_stamp(signer, stamp, attribute_);
        stamps_.push_back({{"signer", signer + 1},
                           {"time", chronoseal::utc_text(stamp.time())},
                           {"authority", stamp.authority()},
                           {"remarks", to_json(stamp.remarks())}});
        text_ += fmt::format("{}: signer {} stamped {} by {}\n{}", quote_foreign(options_.file),
                             signer + 1, chronoseal::utc_text(stamp.time()),
                             authority_text(stamp.info()), remarks_text(stamp.remarks()));
    }

    // Once more with --all would ask for the first ones' stamps again.
    Error with_what_is_left(const Error& error, std::size_t signer, const OutputFile& out) const {
        const std::string others = signer == signers_.back()
                                       ? std::string()
                                       : fmt::format(" and so on to {}", signers_.back() + 1);
        return {error.category(), error.word(), error.code(),
                fmt::format("{} (at signer {} of {})", error.text(), signer + 1, signers_.size()),
                fmt::format("{}; {} holds the stamps had until then: go on there by --signer {}{}",
                            error.advice(), quote_foreign(out.path()), signer + 1, others)};
    }

    const AttachOptions& options_;
    const Output& output_;
    CmsSignature signature_;
    std::vector<std::size_t> signers_;
    std::string attribute_;
    Json stamps_ = Json::array();
    std::string text_;
};

} // namespace

ExitStatus run_attach(const AttachOptions& options, const Output& output) {
    check_usage(options, output);
    const OutputFile out = output_of(options);
    const chronoseal::Trust trust = trust_of(options.trust);
    CmsSignature signature = read_signature(options);
    std::vector<std::size_t> signers = signers_wanted(options, signature);
    return AttachRun(options, output, std::move(signature), std::move(signers)).run(out, trust);
}

} // namespace cli
