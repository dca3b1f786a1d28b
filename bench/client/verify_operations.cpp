// Verification of a stamp and of its chain of three, on a fresh object, import included: cold, with
// an authority and a signer that were never seen (the root was), and warm.
#include <openssl/err.h>
#include <openssl/pkcs7.h>
#include <openssl/rsa.h>

#include "authority.h"
#include "operation.h"
#include <chronoseal/client/stamp.h>

namespace bench {

namespace {

using Halcyon::PKI::TSP::Client::CStamp;
using Kind = Authority::Kind;

void verify(const Issued& issued) {
    CStamp stamp;
    stamp.Import(bytes(issued.response), issued.response.size(), nullptr);
    require(stamp.Verify(nullptr, nullptr) == 0, "stamp");
    require(stamp.VerifyCertificate(nullptr, nullptr, 0) == 0, "chain");
}

template <Kind kind>
void cold() {
    verify(authority(kind).next());
}

template <Kind kind>
void warm() {
    verify(authority(kind).first());
}

// The store with the root is kept, as our trust anchors are. Nothing else is, so that cold and warm
// are one but for what the processor has in its caches.
template <Kind kind>
void verify_with_openssl(const std::string& der) {
    static X509_STORE* const store = [] {
        X509_STORE* const made = X509_STORE_new();
        X509_STORE_add_cert(made, authority(kind).root());
        return made;
    }();
    const auto* place = bytes(der);
    const Response response(d2i_TS_RESP(nullptr, &place, static_cast<long>(der.size())));
    const Owner<TS_VERIFY_CTX, TS_VERIFY_CTX_free> context(TS_VERIFY_CTX_new());
    X509_STORE_up_ref(store);
    TS_VERIFY_CTX_set_store(context.get(), store);
    TS_VERIFY_CTX_set_flags(context.get(), TS_VFY_SIGNATURE | TS_VFY_VERSION);
    require(TS_RESP_verify_response(context.get(), response.get()) == 1, "openssl's verdict");
    ERR_clear_error();
}

template <Kind kind>
void cold_with_openssl() {
    verify_with_openssl<kind>(authority(kind).next().response);
}

template <Kind kind>
void warm_with_openssl() {
    verify_with_openssl<kind>(authority(kind).first().response);
}

// A signature by a prepared key, and what it is over.
struct Signed {
    Owner<EVP_PKEY_CTX, EVP_PKEY_CTX_free> key;
    std::string signature;
    std::string message;
};

Signed prepare(EVP_PKEY* key, const ASN1_STRING* signature, std::string message) {
    Signed made{Owner<EVP_PKEY_CTX, EVP_PKEY_CTX_free>(EVP_PKEY_CTX_new(key, nullptr)),
                {reinterpret_cast<const char*>(ASN1_STRING_get0_data(signature)),
                 static_cast<std::size_t>(ASN1_STRING_length(signature))},
                std::move(message)};
    require(EVP_PKEY_verify_init(made.key.get()) == 1 &&
                EVP_PKEY_CTX_set_signature_md(made.key.get(), EVP_sha256()) == 1,
            "prepared key");
    return made;
}

std::string taken(unsigned char* data, int size) {
    std::string result(reinterpret_cast<char*>(data), static_cast<std::size_t>(size));
    OPENSSL_free(data);
    return result;
}

Signed prepare_certificate(EVP_PKEY* issuer_key, X509* certificate) {
    const ASN1_BIT_STRING* signature = nullptr;
    X509_get0_signature(&signature, nullptr, certificate);
    unsigned char* data = nullptr;
    const int size = i2d_re_X509_tbs(certificate, &data);
    return prepare(issuer_key, signature, taken(data, size));
}

Signed prepare_token(EVP_PKEY* signer_key, const std::string& der) {
    const auto* place = bytes(der);
    const Response response(d2i_TS_RESP(nullptr, &place, static_cast<long>(der.size())));
    auto* const token = TS_RESP_get_token(response.get());
    const auto* signer = sk_PKCS7_SIGNER_INFO_value(PKCS7_get_signer_info(token), 0);
    unsigned char* data = nullptr;
    const int size = ASN1_item_i2d(reinterpret_cast<ASN1_VALUE*>(signer->auth_attr), &data,
                                   ASN1_ITEM_rptr(PKCS7_ATTR_VERIFY));
    return prepare(signer_key, signer->enc_digest, taken(data, size));
}

struct Bare {
    explicit Bare(const Authority& from) {
        const auto& issued = from.first();
        parts[0] = prepare_token(from.signer_key(), issued.response);
        parts[1] = prepare_certificate(from.authority_key(), issued.signer.get());
        parts[2] = prepare_certificate(from.root_key(), issued.authority.get());
    }

    Signed parts[3];
    Owner<EVP_MD_CTX, EVP_MD_CTX_free> hash{EVP_MD_CTX_new()};
    Owner<EVP_MD, EVP_MD_free> algorithm{EVP_MD_fetch(nullptr, "SHA256", nullptr)};
};

void hashed(const Bare& bare, const std::string& message, unsigned char* out) {
    EVP_DigestInit_ex2(bare.hash.get(), bare.algorithm.get(), nullptr);
    EVP_DigestUpdate(bare.hash.get(), message.data(), message.size());
    EVP_DigestFinal_ex(bare.hash.get(), out, nullptr);
}

// The three key operations and five hashes that can't be left out: the content's and the signer's
// certificate's are the ones beside the three that are signed.
template <Kind kind>
void bare_keys() {
    static const Bare bare(authority(kind));
    unsigned char out[32];
    for (const auto& part : bare.parts) {
        hashed(bare, part.message, out);
        require(EVP_PKEY_verify(part.key.get(), bytes(part.signature), part.signature.size(), out,
                                sizeof(out)) == 1,
                "signature");
    }
    hashed(bare, bare.parts[0].message, out);
    hashed(bare, bare.parts[1].message, out);
}

} // namespace

void add_verify_operations(Operations& operations) {
    operations.push_back({"verify_rsa_cold", "chronoseal", &cold<Kind::rsa>});
    operations.push_back({"verify_rsa_cold", "openssl", &cold_with_openssl<Kind::rsa>});
    operations.push_back({"verify_rsa_warm", "chronoseal", &warm<Kind::rsa>});
    operations.push_back({"verify_rsa_warm", "openssl", &warm_with_openssl<Kind::rsa>});
    operations.push_back({"verify_rsa_warm", "bare_keys", &bare_keys<Kind::rsa>});
    operations.push_back({"verify_ec_cold", "chronoseal", &cold<Kind::ec>});
    operations.push_back({"verify_ec_cold", "openssl", &cold_with_openssl<Kind::ec>});
    operations.push_back({"verify_ec_warm", "chronoseal", &warm<Kind::ec>});
    operations.push_back({"verify_ec_warm", "openssl", &warm_with_openssl<Kind::ec>});
    operations.push_back({"verify_ec_warm", "bare_keys", &bare_keys<Kind::ec>});
}

} // namespace bench
