// Signatures that stamps are attached to.
#include <basalt/error_codes.h>
#include <basalt/last_error.h>
#include <chronoseal/atl/cert_context.h>
#include <chronoseal/atl/platform_answer.h>
#include <chronoseal/seal/byte_kind.h>
#include <chronoseal/seal/cms_content.h>
#include <chronoseal/seal/definite_form.h>
#include <chronoseal/seal/failure.h>
#include <chronoseal/seal/platform_text.h>
#include <chronoseal/seal/signed_bytes.h>
#include <chronoseal/seal/signed_data_parts.h>
#include <chronoseal/seal/trust_store.h>

namespace chronoseal {

namespace {

constexpr char kAdvice[] = "don't stamp it: have it signed again";

Error not_a_signature(ByteView bytes) {
    return Error(Category::refused, "not_a_signature", CRYPT_E_INVALID_MSG_TYPE,
                 "the bytes are not a CMS signature but " + describe_bytes(bytes),
                 "give a signed message: .p7s, .p7m, or S/MIME");
}

ATL2::CCryptMsg open_with_content(ByteView der, const std::optional<ByteView>& content) {
    constexpr std::size_t kMost = 0x7FFFFFFF;
    const DWORD flags = content ? CMSG_DETACHED_FLAG : 0;
    ATL2::CCryptMsg message(
        CryptMsgOpenToDecode(ATL2::kAnyEncoding, flags, 0, 0, nullptr, nullptr));
    const auto update = [&](ByteView bytes) {
        return bytes.size() <= kMost && CryptMsgUpdate(message.get(), octets(bytes),
                                                       static_cast<DWORD>(bytes.size()), TRUE) != 0;
    };
    if (!message || !update(der) || (content && !update(*content))) {
        throw error_of_last("read the signature");
    }
    return message;
}

Error signature_error(DWORD code) {
    if (code == CRYPT_E_HASH_VALUE) {
        return Error(Category::refused, "content_differs", code,
                     "the content isn't the one that was signed", "give the file that was signed");
    }
    if (code == NTE_BAD_SIGNATURE) {
        return Error(Category::refused, "signature_bad", code,
                     "the signature isn't that of the certificate's key", kAdvice);
    }
    const Error told = error_of_code(code == 0 ? NTE_BAD_SIGNATURE : code);
    return Error(Category::refused, told.word(), told.code(), told.text(), kAdvice);
}

// Checks with each certificate that the signer names; CRYPT_E_SIGNER_NOT_FOUND if there is none.
DWORD check_signer(const ATL2::CCryptMsg& message, DWORD signer, bool whole,
                   const ATL2::CCertStore& given) {
    ATL2::CCertStore own;
    own.Open(CERT_STORE_PROV_MSG, ATL2::kAnyEncoding, 0, 0, message.get());
    const ATL2::CCertStore all = collection_of({&own, &given});
    const DWORD control = whole ? CMSG_CTRL_VERIFY_SIGNATURE_EX : BASALT_CTRL_VERIFY_ATTRIBUTES;
    return check_signature(message, signer, control, all).code;
}

} // namespace

CmsSignature CmsSignature::read(ByteView bytes) {
    return guarded("read the signature", [&] {
        auto content = std::make_shared<Content>();
        content->envelope = Envelope::open(bytes);
        const Kind kind = kind_of(content->envelope.der);
        if (kind == Kind::token || kind == Kind::response) {
            throw Error(Category::refused, "is_a_stamp", CRYPT_E_INVALID_MSG_TYPE,
                        "the bytes are a time-stamp themselves",
                        "stamps are extended, or renewed in an evidence record");
        }
        if (kind != Kind::signed_message && kind != Kind::authenticode_signature) {
            throw not_a_signature(bytes);
        }
        const SignedDataParts parts(content->envelope.der);
        content->signers = parts.signers();
        content->detached = !parts.has_content();
        content->der = parts.encode();
        if (content->signers == 0) {
            throw Error(Category::refused, "no_signers", CRYPT_E_NO_SIGNER,
                        "the message has no signers: it only carries certificates",
                        "give a message that was signed");
        }
        return CmsSignature(std::move(content));
    });
}

std::size_t CmsSignature::signers() const noexcept {
    return content_->signers;
}

bool CmsSignature::detached() const noexcept {
    return content_->detached && content_->envelope.contents.empty();
}

Bytes CmsSignature::encoded() const {
    return guarded("write the signature", [&] { return content_->envelope.close(content_->der); });
}

namespace {

void require_signer(std::size_t signer, std::size_t signers) {
    if (signer >= signers) {
        throw Error(Category::misuse, "no_signer", CRYPT_E_INVALID_INDEX,
                    "there is no signer " + std::to_string(signer + 1) + ", the message has " +
                        std::to_string(signers),
                    "signers are counted from 1, in the order of the message");
    }
}

} // namespace

Bytes CmsSignature::value(std::size_t signer) const {
    return guarded("read the signature", [&] {
        require_signer(signer, signers());
        auto info = signature_info(open_message(content_->der), static_cast<DWORD>(signer));
        if (!info) {
            throw error_of_last("read the signature");
        }
        return std::move(info->value);
    });
}

bool CmsSignature::check(std::size_t signer, std::span<const Source> certificates,
                         std::optional<ByteView> content) const {
    return guarded("check the signature", [&] {
        require_signer(signer, signers());
        if (content && !content_->detached) {
            throw Error(Category::misuse, "content_twice", 0,
                        "the signature holds its content itself", "don't give it besides");
        }
        const auto given = memory_store();
        add_sources(certificates, given);
        std::vector<std::optional<ByteView>> contents{content};
        if (!content && content_->detached && !content_->envelope.contents.empty()) {
            contents.assign(content_->envelope.contents.begin(), content_->envelope.contents.end());
        }
        const bool whole = !content_->detached || contents.front();
        DWORD code = 0;
        for (const auto& one : contents) {
            const DWORD result = check_signer(open_with_content(content_->der, one),
                                              static_cast<DWORD>(signer), whole, given);
            if (&one == &contents.front() || result == 0) {
                code = result;
            }
            if (result == 0) {
                break;
            }
        }
        if (code == CRYPT_E_SIGNER_NOT_FOUND) {
            throw Error(Category::refused, "signer_not_found", code,
                        "the certificate of signer " + std::to_string(signer + 1) +
                            " is not in the message, nor among those given",
                        "give it");
        }
        if (!whole && code == CRYPT_E_AUTH_ATTR_MISSING) {
            throw Error(Category::misuse, "content_missing", code,
                        "the signature is over the content itself, which isn't there",
                        "give the file that was signed");
        }
        if (code != 0) {
            throw signature_error(code);
        }
        return whole;
    });
}

void CmsSignature::check_place(std::size_t signer, std::string_view attribute) const {
    guarded("attach a time-stamp", [&] {
        require_signer(signer, signers());
        SignedDataParts parts(content_->der);
        parts.add_unsigned_attribute(signer, attribute, {});
        content_->envelope.close(parts.encode());
    });
}

CmsSignature CmsSignature::with_stamp(std::size_t signer, const Stamp& stamp,
                                      std::string_view attribute) const {
    return guarded("attach the time-stamp", [&] {
        require_signer(signer, signers());
        if (!stamp.has_token()) {
            throw Error(Category::refused, "no_token", 0, "there is no stamp to attach",
                        "ask for one");
        }
        const TokenInfo& token = *stamp.info().token;
        const auto algorithm = HashAlgorithm::by_name(token.imprint_algorithm.oid);
        if (Digest::of(value(signer), algorithm).value() != token.imprint) {
            throw Error(Category::refused, "imprint_differs", CRYPT_E_HASH_VALUE,
                        "the stamp isn't over this signature", "stamp the signature's value");
        }
        const auto definite = with_definite_lengths(stamp.token());
        SignedDataParts parts(content_->der);
        parts.add_unsigned_attribute(signer, attribute, definite ? *definite : stamp.token());
        auto changed = std::make_shared<Content>(*content_);
        changed->der = parts.encode();
        return CmsSignature(std::move(changed));
    });
}

} // namespace chronoseal
