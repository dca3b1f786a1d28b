// Signatures checked by a prepared key.
#include <basalt/coding/public_key.h>

#include <basalt/coding/der_writer.h>
#include <basalt/coding/key_soundness.h>

#include <openssl/ecdsa.h>
#include <openssl/err.h>
#include <openssl/rsa.h>

namespace basalt {
namespace {

constexpr std::size_t kMaxPrepared = 8;

bool goes_with(int key_type, const SignatureScheme& scheme) {
    switch (scheme.padding) {
    case SignatureScheme::Padding::kPkcs1:
        return key_type == EVP_PKEY_RSA;
    case SignatureScheme::Padding::kPss:
        return key_type == EVP_PKEY_RSA || key_type == EVP_PKEY_RSA_PSS;
    case SignatureScheme::Padding::kNone:
        break;
    }
    return key_type != EVP_PKEY_RSA && key_type != EVP_PKEY_RSA_PSS;
}

bool set_padding(EVP_PKEY_CTX* context, const SignatureScheme& scheme) {
    if (scheme.padding == SignatureScheme::Padding::kPkcs1) {
        return EVP_PKEY_CTX_set_rsa_padding(context, RSA_PKCS1_PADDING) > 0;
    }
    if (scheme.padding == SignatureScheme::Padding::kPss) {
        return EVP_PKEY_CTX_set_rsa_padding(context, RSA_PKCS1_PSS_PADDING) > 0 &&
               EVP_PKEY_CTX_set_rsa_mgf1_md(context, scheme.mgf1_digest) > 0 &&
               EVP_PKEY_CTX_set_rsa_pss_saltlen(context, scheme.salt_length) > 0;
    }
    return true;
}

EvpKeyContext prepare(EVP_PKEY* key, const SignatureScheme& scheme) {
    EvpKeyContext context(EVP_PKEY_CTX_new(key, nullptr));
    const bool good = context && EVP_PKEY_verify_init(context.get()) > 0 &&
                      EVP_PKEY_CTX_set_signature_md(context.get(), scheme.digest) > 0 &&
                      set_padding(context.get(), scheme);
    if (!good) {
        context.reset();
    }
    return context;
}

// The SEQUENCE of r and s from the two halves of a plain pair; empty when it can't be one.
std::string sequence_of_pair(Bytes pair) {
    if (pair.empty() || pair.size() % 2 != 0) {
        return {};
    }
    std::string fields;
    for (Bytes half : {pair.first(pair.size() / 2), pair.subspan(pair.size() / 2)}) {
        std::string integer(1, '\0');
        integer.append(text_of(half));
        append_element(fields, tag::kInteger, minimal_integer(bytes_of(integer)));
    }
    return element(tag::kSequence, fields);
}

} // namespace

bool PublicKey::is_sound() const {
    int sound = sound_;
    if (sound < 0) {
        sound = basalt::is_sound(key_.get()) ? 1 : 0;
        sound_ = sound;
    }
    return sound == 1;
}

EvpKeyContext PublicKey::borrow(const SignatureScheme& scheme) const {
    {
        const std::lock_guard lock(mutex_);
        for (auto prepared = prepared_.begin(); prepared != prepared_.end(); ++prepared) {
            if (prepared->scheme == scheme) {
                EvpKeyContext context = std::move(prepared->context);
                prepared_.erase(prepared);
                return context;
            }
        }
    }
    return prepare(key_.get(), scheme);
}

void PublicKey::give_back(const SignatureScheme& scheme, EvpKeyContext context) const {
    const std::lock_guard lock(mutex_);
    if (prepared_.size() < kMaxPrepared) {
        prepared_.push_back({scheme, std::move(context)});
    }
}

bool PublicKey::verify_digest(const SignatureScheme& scheme, Bytes digest, Bytes signature) const {
    if (scheme.digest == nullptr || !goes_with(type(), scheme)) {
        return false;
    }
    std::string pair;
    if (scheme.plain_pair) {
        pair = sequence_of_pair(signature);
        signature = bytes_of(pair);
    }
    EvpKeyContext context = borrow(scheme);
    bool good = false;
    if (context) {
        good = EVP_PKEY_verify(context.get(), signature.data(), signature.size(), digest.data(),
                               digest.size()) == 1;
        give_back(scheme, std::move(context));
    }
    ERR_clear_error();
    return good;
}

bool PublicKey::verify_message(Bytes message, Bytes signature) const {
    if (type() != EVP_PKEY_ED25519 && type() != EVP_PKEY_ED448) {
        return false;
    }
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(),
                                                                          EVP_MD_CTX_free);
    const bool good =
        context && EVP_DigestVerifyInit(context.get(), nullptr, nullptr, nullptr, key_.get()) > 0 &&
        EVP_DigestVerify(context.get(), signature.data(), signature.size(), message.data(),
                         message.size()) == 1;
    ERR_clear_error();
    return good;
}

} // namespace basalt
