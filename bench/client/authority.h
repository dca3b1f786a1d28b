// A time-stamp authority in the benchmark's own process: a root, an authority under it, and signers
// under that; answers are made by OpenSSL's time-stamp functions.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <openssl/evp.h>
#include <openssl/ts.h>
#include <openssl/x509.h>

#include <basalt/store.h>

namespace bench {

template <class T, void (*release)(T*)>
struct Release {
    void operator()(T* object) const { release(object); }
};
template <class T, void (*release)(T*)>
using Owner = std::unique_ptr<T, Release<T, release>>;

using Certificate = Owner<X509, X509_free>;
using Key = Owner<EVP_PKEY, EVP_PKEY_free>;
using Response = Owner<TS_RESP, TS_RESP_free>;

// An authority of its own and a signer under it, with an answer to `request()`.
struct Issued {
    Certificate authority;
    Certificate signer;
    std::string response; // DER; the token holds both certificates
};

class Authority {
public:
    enum class Kind { rsa, ec };

    explicit Authority(Kind kind);

    // The first of them, which all operations but the cold ones use.
    const Issued& first() const { return pool_.front(); }
    // Another one each time, until all were given and it begins again. There are as many as it
    // takes for none to be in a cache any more when its turn comes.
    const Issued& next() const;
    // An answer without certificates to a request that doesn't ask for any.
    std::string bare_response() const;

    X509* root() const { return root_.get(); }
    EVP_PKEY* root_key() const { return root_key_.get(); }
    EVP_PKEY* authority_key() const { return authority_key_.get(); }
    EVP_PKEY* signer_key() const { return signer_key_.get(); }

    // Fewer of the ones that `next` gives: counts of instructions need but a handful.
    static void set_pool_size(std::size_t size);
    // Private keys are read from this PEM file if it is there, and else written to it: their making
    // takes minutes under an instruction counter.
    static void keep_keys(const char* path);

private:
    Issued issue(long serial) const;
    std::string answer(const Issued& issued, bool with_certificates) const;

    Key root_key_;
    Key authority_key_;
    Key signer_key_;
    Certificate root_;
    std::vector<Issued> pool_;
};

// Made once each. Their roots are the only ones that are trusted from the first call on.
const Authority& authority(Authority::Kind kind);

// SHA-256 of the data that is stamped, and the nonce of the request.
const std::string& digest();
constexpr unsigned char nonce[] = {0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x12};
// The DER of the TimeStampReq that the answers are for.
std::string request(bool certReq);

inline const unsigned char* bytes(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

} // namespace bench
