// Stamps that are extended, and stamps that are put on signatures.
#include <numeric>

#include <chronoseal/c_interface/call.h>
#include <chronoseal/c_interface/evidence_record.h>
#include <chronoseal/c_interface/options.h>
#include <chronoseal/c_interface/sealer.h>
#include <chronoseal/c_interface/verdict.h>
#include <chronoseal/c_interface/watch.h>

using namespace chronoseal;
using namespace chronoseal::c_interface;

struct chronoseal_extension {
    explicit chronoseal_extension(const Extension& made)
        : stamp(made.stamp), verdict(made.verdict), remarks(made.remarks) {
        chronoseal_extension_info view{};
        view.changed = made.changed() ? 1 : 0;
        view.stamp = &stamp;
        view.verdict = &verdict;
        view.certificates = made.certificates;
        view.revocation_lists = made.revocation_lists;
        view.ocsp_answers = made.ocsp_answers;
        view.remarks = view_of(kept, remarks);
        view.remark_count = remarks.size();
        info = kept.value(view);
    }

    const chronoseal_stamp stamp;
    const chronoseal_verdict verdict;
    const std::vector<Remark> remarks;
    Kept kept;
    const chronoseal_extension_info* info = nullptr;
};

namespace {

// Each signer is a request to the authority, and how many there are says whoever made the message.
constexpr std::size_t kMostSigners = 64;

chronoseal_attach_options known_options(const chronoseal_attach_options* options) {
    return options != nullptr ? sized(options, "options") : chronoseal_attach_options{};
}

// Numbered from 0.
std::vector<std::size_t> signers_of(const CmsSignature& signature, std::size_t chosen) {
    if (chosen != 0) {
        return {chosen - 1};
    }
    if (signature.signers() > kMostSigners) {
        throw Error(Category::misuse, "signers_too_many", 0,
                    "the message has " + std::to_string(signature.signers()) + " signers",
                    "stamp them one by one, each by its number");
    }
    std::vector<std::size_t> all(signature.signers());
    std::iota(all.begin(), all.end(), std::size_t{0});
    return all;
}

// Whether the content was compared.
bool check(const CmsSignature& signature, const std::vector<std::size_t>& signers,
           const chronoseal_attach_options& options) {
    const auto certificates =
        sources_of(options.certificates, options.certificate_count, "certificates");
    std::optional<ByteView> content;
    if (options.content != nullptr) {
        content.emplace(static_cast<const std::byte*>(options.content), options.content_size);
    } else if (options.content_size != 0) {
        refuse_missing("content");
    }
    bool compared = true;
    for (const std::size_t signer : signers) {
        compared &= signature.check(signer, certificates, content);
    }
    return compared;
}

} // namespace

chronoseal_status chronoseal_extend(const chronoseal_stamp* stamp, const chronoseal_trust* trust,
                                    chronoseal_extension** extension, chronoseal_error** error) {
    return give_new(extension, "extension", error,
                    [&] { return extend(needed(stamp, "stamp").stamp, trust_of(trust)); });
}

chronoseal_status chronoseal_extend_record(const chronoseal_evidence_record* record,
                                           const chronoseal_trust* trust, const size_t* stamp,
                                           chronoseal_evidence_record** extended,
                                           chronoseal_extension** extension,
                                           chronoseal_error** error) {
    return call(error, [&] {
        auto*& place = emptied(extended, "extended");
        auto*& extension_place = emptied(extension, "extension");
        const RecordExtension made =
            extend(needed(record, "record").record, trust_of(trust),
                   stamp != nullptr ? std::optional<std::size_t>(*stamp) : std::nullopt);
        auto whole = std::make_unique<chronoseal_evidence_record>(made.record);
        extension_place = new chronoseal_extension(made.extension);
        place = whole.release();
        return CHRONOSEAL_OK;
    });
}

chronoseal_status chronoseal_extension_get_info(const chronoseal_extension* extension,
                                                const chronoseal_extension_info** info,
                                                chronoseal_error** error) {
    return give_info(extension, "extension", info, error);
}

void chronoseal_extension_free(chronoseal_extension** extension) {
    release(extension);
}

chronoseal_status chronoseal_attach(const chronoseal_sealer* sealer, const void* signature,
                                    size_t size, const chronoseal_attach_options* options,
                                    const chronoseal_control* control, int* compared,
                                    unsigned char** stamped, size_t* stamped_size,
                                    chronoseal_error** error) {
    return call(error, [&] {
        if (compared != nullptr) {
            *compared = 0;
        }
        auto& place = emptied(stamped, "stamped");
        auto& place_size = emptied(stamped_size, "stamped_size");
        const Sealer& by = needed(sealer, "sealer").sealer;
        const auto known = known_options(options);
        const std::string attribute =
            known.attribute != nullptr ? known.attribute : std::string(kSignatureTimeStamp);
        CmsSignature message = CmsSignature::read(needed_bytes(signature, size, "signature"));
        const auto signers = signers_of(message, known.signer);
        const bool whole = check(message, signers, known);
        for (const std::size_t signer : signers) {
            message.check_place(signer, attribute);
        }
        Watch watch(control);
        for (const std::size_t signer : signers) {
            const Digest digest = Digest::of(message.value(signer), by.hash());
            message = message.with_stamp(signer, by.seal_digest(digest, watch.stop()), attribute);
        }
        hand_over(message.encoded(), &place, &place_size);
        if (compared != nullptr) {
            *compared = whole ? 1 : 0;
        }
        return CHRONOSEAL_OK;
    });
}
