// CMS signatures as handles.
#include <chronoseal/c_interface/call.h>
#include <chronoseal/c_interface/options.h>
#include <chronoseal/c_interface/view.h>

using namespace chronoseal;
using namespace chronoseal::c_interface;

struct chronoseal_cms_signature {
    const CmsSignature signature;
};

chronoseal_status chronoseal_cms_signature_read(const void* data, size_t size,
                                                chronoseal_cms_signature** signature,
                                                chronoseal_error** error) {
    return give_new(signature, "signature", error,
                    [&] { return CmsSignature::read(needed_bytes(data, size, "data")); });
}

chronoseal_status chronoseal_cms_signature_signers(const chronoseal_cms_signature* signature,
                                                   size_t* count, int* detached,
                                                   chronoseal_error** error) {
    return call(error, [&] {
        if (detached != nullptr) {
            *detached = 0;
        }
        auto& place = emptied(count, "count");
        const CmsSignature& own = needed(signature, "signature").signature;
        place = own.signers();
        if (detached != nullptr) {
            *detached = own.detached() ? 1 : 0;
        }
        return CHRONOSEAL_OK;
    });
}

chronoseal_status chronoseal_cms_signature_value(const chronoseal_cms_signature* signature,
                                                 size_t signer, unsigned char** value, size_t* size,
                                                 chronoseal_error** error) {
    return call(error, [&] {
        auto& place = emptied(value, "value");
        auto& place_size = emptied(size, "size");
        hand_over(needed(signature, "signature").signature.value(signer), &place, &place_size);
        return CHRONOSEAL_OK;
    });
}

chronoseal_status chronoseal_cms_signature_check(const chronoseal_cms_signature* signature,
                                                 size_t signer,
                                                 const chronoseal_source* certificates,
                                                 size_t certificate_count,
                                                 const chronoseal_bytes* content, int* compared,
                                                 chronoseal_error** error) {
    return call(error, [&] {
        if (compared != nullptr) {
            *compared = 0;
        }
        const CmsSignature& own = needed(signature, "signature").signature;
        const auto sources = sources_of(certificates, certificate_count, "certificates");
        std::optional<ByteView> signed_content;
        if (content != nullptr) {
            signed_content = needed_bytes(content->data, content->size, "content");
        }
        const bool whole = own.check(signer, sources, signed_content);
        if (compared != nullptr) {
            *compared = whole ? 1 : 0;
        }
        return CHRONOSEAL_OK;
    });
}

chronoseal_status chronoseal_cms_signature_with_stamp(const chronoseal_cms_signature* signature,
                                                      size_t signer, const chronoseal_stamp* stamp,
                                                      const char* attribute,
                                                      chronoseal_cms_signature** stamped,
                                                      chronoseal_error** error) {
    return give_new(stamped, "stamped", error, [&] {
        const CmsSignature& own = needed(signature, "signature").signature;
        return own.with_stamp(signer, needed(stamp, "stamp").stamp,
                              attribute != nullptr ? attribute : kSignatureTimeStamp);
    });
}

chronoseal_status chronoseal_cms_signature_extend(const chronoseal_cms_signature* signature,
                                                  const chronoseal_trust* trust,
                                                  chronoseal_cms_signature** extended, int* changed,
                                                  chronoseal_error** error) {
    return call(error, [&] {
        if (changed != nullptr) {
            *changed = 0;
        }
        auto*& place = emptied(extended, "extended");
        const CmsSignature& own = needed(signature, "signature").signature;
        const SignatureExtension made = own.extended(trust_of(trust));
        place = new chronoseal_cms_signature{made.signature};
        if (changed != nullptr) {
            *changed = made.changed() ? 1 : 0;
        }
        return CHRONOSEAL_OK;
    });
}

chronoseal_status chronoseal_cms_signature_encoded(const chronoseal_cms_signature* signature,
                                                   unsigned char** data, size_t* size,
                                                   chronoseal_error** error) {
    return call(error, [&] {
        auto& place = emptied(data, "data");
        auto& place_size = emptied(size, "size");
        hand_over(needed(signature, "signature").signature.encoded(), &place, &place_size);
        return CHRONOSEAL_OK;
    });
}

void chronoseal_cms_signature_free(chronoseal_cms_signature** signature) {
    release(signature);
}
