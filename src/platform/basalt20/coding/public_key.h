// A public key made ready for verifying: OpenSSL's key, and the verification contexts already
// initialised for a digest and padding, which are lent out and taken back, since setting one up
// costs as much as an RSA operation.
#pragma once

#include <basalt/coding/der_reader.h>

#include <openssl/evp.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

namespace basalt {

struct KeyDeleter {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};
struct KeyContextDeleter {
    void operator()(EVP_PKEY_CTX* context) const { EVP_PKEY_CTX_free(context); }
};
using EvpKey = std::unique_ptr<EVP_PKEY, KeyDeleter>;
using EvpKeyContext = std::unique_ptr<EVP_PKEY_CTX, KeyContextDeleter>;

/// How a signature was made: the digest (null for EdDSA, which hashes by itself) and RSA's padding.
struct SignatureScheme {
    enum class Padding { kNone, kPkcs1, kPss };

    const EVP_MD* digest = nullptr;
    Padding padding = Padding::kNone;
    const EVP_MD* mgf1_digest = nullptr; // PSS
    int salt_length = 0;                 // PSS
    bool plain_pair = false;             // ECDSA as r and s side by side and not as a SEQUENCE

    bool operator==(const SignatureScheme&) const = default;
};

class PublicKey {
public:
    explicit PublicKey(EvpKey key) : key_(std::move(key)) {}

    EVP_PKEY* get() const { return key_.get(); }

    /// False for one with which anybody can sign, see key_soundness.h. It is looked into once.
    bool is_sound() const;

    /// EVP_PKEY_base_id: EVP_PKEY_RSA, EVP_PKEY_EC, NID_id_GostR3410_2001 ...
    int type() const { return EVP_PKEY_get_base_id(key_.get()); }

    /// True when `signature` is this key's over a message with that digest. A scheme that doesn't
    /// go with the key gives false.
    bool verify_digest(const SignatureScheme& scheme, Bytes digest, Bytes signature) const;

    /// The same for schemes that take the whole message (EdDSA).
    bool verify_message(Bytes message, Bytes signature) const;

private:
    struct Prepared {
        SignatureScheme scheme;
        EvpKeyContext context;
    };

    EvpKeyContext borrow(const SignatureScheme& scheme) const;
    void give_back(const SignatureScheme& scheme, EvpKeyContext context) const;

    EvpKey key_;
    mutable std::atomic<int> sound_ = -1; // unknown
    mutable std::mutex mutex_;
    mutable std::vector<Prepared> prepared_;
};

} // namespace basalt
