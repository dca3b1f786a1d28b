// Signature algorithms by OID.
#include <basalt/coding/signature_algorithm.h>

#include <basalt/basalt10/digest.h>

#include <openssl/objects.h>

#include <algorithm>
#include <string_view>

namespace basalt {
namespace {

enum class Family { kRsa, kPss, kPlain, kEcdsaPair, kEdwards };

struct SignatureOid {
    std::string_view oid;
    Family family;
    std::string_view digest_oid; // empty: the OID is the key's and names no digest
};

constexpr std::string_view kMd5 = "1.2.840.113549.2.5";
constexpr std::string_view kSha1 = "1.3.14.3.2.26";
constexpr std::string_view kSha224 = "2.16.840.1.101.3.4.2.4";
constexpr std::string_view kSha256 = "2.16.840.1.101.3.4.2.1";
constexpr std::string_view kSha384 = "2.16.840.1.101.3.4.2.2";
constexpr std::string_view kSha512 = "2.16.840.1.101.3.4.2.3";
constexpr std::string_view kShake256 = "2.16.840.1.101.3.4.2.12";
constexpr std::string_view kShake256WithLength = "2.16.840.1.101.3.4.2.18";
constexpr std::string_view kEd448 = "1.3.101.113";
constexpr std::string_view kRipemd160 = "1.3.36.3.2.1";
constexpr std::string_view kGost94 = "1.2.643.2.2.9";
constexpr std::string_view kGost256 = "1.2.643.7.1.1.2.2";
constexpr std::string_view kGost512 = "1.2.643.7.1.1.2.3";

constexpr unsigned kShake128Octets = 32;
constexpr unsigned kShake256Octets = 64;

constexpr SignatureOid kSignatures[] = {
    {"1.2.840.113549.1.1.1", Family::kRsa, ""},
    {"2.5.8.1.1", Family::kRsa, ""}, // the X.500 one, which some authorities still write
    {"1.2.840.113549.1.1.4", Family::kRsa, kMd5},
    {"1.2.840.113549.1.1.5", Family::kRsa, kSha1},
    {"1.3.14.3.2.29", Family::kRsa, kSha1},
    {"1.2.840.113549.1.1.14", Family::kRsa, kSha224},
    {"1.2.840.113549.1.1.11", Family::kRsa, kSha256},
    {"1.2.840.113549.1.1.12", Family::kRsa, kSha384},
    {"1.2.840.113549.1.1.13", Family::kRsa, kSha512},
    {"1.2.840.113549.1.1.15", Family::kRsa, "2.16.840.1.101.3.4.2.5"},
    {"1.2.840.113549.1.1.16", Family::kRsa, "2.16.840.1.101.3.4.2.6"},
    {"1.3.36.3.3.1.2", Family::kRsa, kRipemd160},
    {"2.16.840.1.101.3.4.3.13", Family::kRsa, "2.16.840.1.101.3.4.2.7"},
    {"2.16.840.1.101.3.4.3.14", Family::kRsa, "2.16.840.1.101.3.4.2.8"},
    {"2.16.840.1.101.3.4.3.15", Family::kRsa, "2.16.840.1.101.3.4.2.9"},
    {"2.16.840.1.101.3.4.3.16", Family::kRsa, "2.16.840.1.101.3.4.2.10"},
    {"1.2.840.113549.1.1.10", Family::kPss, ""},
    {"1.2.840.10045.2.1", Family::kPlain, ""},
    {"1.2.840.10045.4.1", Family::kPlain, kSha1},
    {"1.2.840.10045.4.3.1", Family::kPlain, kSha224},
    {"1.2.840.10045.4.3.2", Family::kPlain, kSha256},
    {"1.2.840.10045.4.3.3", Family::kPlain, kSha384},
    {"1.2.840.10045.4.3.4", Family::kPlain, kSha512},
    {"2.16.840.1.101.3.4.3.9", Family::kPlain, "2.16.840.1.101.3.4.2.7"},
    {"2.16.840.1.101.3.4.3.10", Family::kPlain, "2.16.840.1.101.3.4.2.8"},
    {"2.16.840.1.101.3.4.3.11", Family::kPlain, "2.16.840.1.101.3.4.2.9"},
    {"2.16.840.1.101.3.4.3.12", Family::kPlain, "2.16.840.1.101.3.4.2.10"},
    {"0.4.0.127.0.7.1.1.4.1.1", Family::kEcdsaPair, kSha1},
    {"0.4.0.127.0.7.1.1.4.1.2", Family::kEcdsaPair, kSha224},
    {"0.4.0.127.0.7.1.1.4.1.3", Family::kEcdsaPair, kSha256},
    {"0.4.0.127.0.7.1.1.4.1.4", Family::kEcdsaPair, kSha384},
    {"0.4.0.127.0.7.1.1.4.1.5", Family::kEcdsaPair, kSha512},
    {"0.4.0.127.0.7.1.1.4.1.6", Family::kEcdsaPair, kRipemd160},
    {"1.2.840.10040.4.1", Family::kPlain, ""},
    {"1.2.840.10040.4.3", Family::kPlain, kSha1},
    {"2.16.840.1.101.3.4.3.1", Family::kPlain, kSha224},
    {"2.16.840.1.101.3.4.3.2", Family::kPlain, kSha256},
    {"1.3.101.112", Family::kEdwards, ""},
    {kEd448, Family::kEdwards, ""},
    {"1.2.643.2.2.19", Family::kPlain, ""},
    {"1.2.643.2.2.3", Family::kPlain, kGost94},
    {"1.2.643.7.1.1.1.1", Family::kPlain, ""},
    {"1.2.643.7.1.1.1.2", Family::kPlain, ""},
    {"1.2.643.7.1.1.3.2", Family::kPlain, kGost256},
    {"1.2.643.7.1.1.3.3", Family::kPlain, kGost512},
};

const EVP_MD* digest_of_text(std::string_view oid) {
    if (const EVP_MD* known = digest_by_oid(oid)) {
        return known;
    }
    const EVP_MD* other = EVP_get_digestbynid(OBJ_txt2nid(std::string(oid).c_str()));
    require(other != nullptr, CRYPT_E_UNKNOWN_ALGO);
    return other;
}

const EVP_MD* digest_of_algorithm(Bytes sequence) {
    return digest_of(read_algorithm(sequence));
}

// The length of a digest that has any; 0 for all others.
unsigned extendable_size(const EVP_MD* algorithm) {
    if ((EVP_MD_get_flags(algorithm) & EVP_MD_FLAG_XOF) == 0) {
        return 0;
    }
    return EVP_MD_is_a(algorithm, "SHAKE256") == 1 ? kShake256Octets : kShake128Octets;
}

// RSASSA-PSS-params (RFC 4055 3.1). Only MGF1 and the trailer 1 exist.
SignatureScheme pss_scheme(Bytes parameters) {
    SignatureScheme scheme{digest_of_text(kSha1), SignatureScheme::Padding::kPss, nullptr, 20,
                           false};
    scheme.mgf1_digest = scheme.digest;
    if (parameters.empty()) {
        return scheme;
    }
    DerReader fields(sole_element(parameters, tag::kSequence).contents);
    if (const Element hash = fields.take_if(tag::context_constructed(0)); hash.tag != 0) {
        scheme.digest = digest_of_algorithm(sole_element(hash.contents, tag::kSequence).contents);
    }
    if (const Element mask = fields.take_if(tag::context_constructed(1)); mask.tag != 0) {
        const Algorithm mgf = read_algorithm(sole_element(mask.contents, tag::kSequence).contents);
        require(oid_text(mgf.oid) == "1.2.840.113549.1.1.8", CRYPT_E_UNKNOWN_ALGO);
        scheme.mgf1_digest =
            digest_of_algorithm(sole_element(mgf.parameters, tag::kSequence).contents);
    }
    if (const Element salt = fields.take_if(tag::context_constructed(2)); salt.tag != 0) {
        scheme.salt_length =
            static_cast<int>(small_integer(sole_element(salt.contents, tag::kInteger).contents));
    }
    if (const Element trailer = fields.take_if(tag::context_constructed(3)); trailer.tag != 0) {
        require(small_integer(sole_element(trailer.contents, tag::kInteger).contents) == 1,
                CRYPT_E_UNKNOWN_ALGO);
    }
    fields.expect_end();
    return scheme;
}

} // namespace

const EVP_MD* digest_of(const Algorithm& algorithm) {
    const std::string oid = oid_text(algorithm.oid);
    if (oid != kShake256WithLength) {
        return digest_of_text(oid);
    }
    const Element length = sole_element(algorithm.parameters, tag::kInteger);
    require(small_integer(length.contents) == kShake256Octets * 8, CRYPT_E_UNKNOWN_ALGO);
    return digest_of_text(kShake256);
}

std::string digest(const EVP_MD* algorithm, Bytes bytes) {
    struct Deleter {
        void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
    };
    // Kept, because setting one up costs more than hashing a signer's attributes.
    thread_local const std::unique_ptr<EVP_MD_CTX, Deleter> context(EVP_MD_CTX_new());
    std::string out(EVP_MAX_MD_SIZE, '\0');
    auto* const place = reinterpret_cast<BYTE*>(out.data());
    unsigned size = extendable_size(algorithm);
    const bool good = context && EVP_DigestInit_ex(context.get(), algorithm, nullptr) == 1 &&
                      EVP_DigestUpdate(context.get(), bytes.data(), bytes.size()) == 1 &&
                      (size != 0 ? EVP_DigestFinalXOF(context.get(), place, size)
                                 : EVP_DigestFinal_ex(context.get(), place, &size)) == 1;
    require(good, CRYPT_E_UNKNOWN_ALGO);
    out.resize(size);
    return out;
}

SignatureScheme scheme_of(const Algorithm& signature, const Algorithm& digest_algorithm) {
    const std::string oid = oid_text(signature.oid);
    const auto* known = std::find_if(std::begin(kSignatures), std::end(kSignatures),
                                     [&](const SignatureOid& entry) { return entry.oid == oid; });
    require(known != std::end(kSignatures), CRYPT_E_UNKNOWN_ALGO);
    if (known->family == Family::kEdwards) {
        return SignatureScheme{};
    }
    if (known->family == Family::kPss) {
        return pss_scheme(signature.parameters);
    }
    SignatureScheme scheme;
    scheme.padding = known->family == Family::kRsa ? SignatureScheme::Padding::kPkcs1
                                                   : SignatureScheme::Padding::kNone;
    scheme.plain_pair = known->family == Family::kEcdsaPair;
    scheme.digest =
        known->digest_oid.empty() ? digest_of(digest_algorithm) : digest_of_text(known->digest_oid);
    return scheme;
}

bool goes_with_content_digest(const Algorithm& signature, const EVP_MD* digest) {
    return oid_text(signature.oid) != kEd448 || EVP_MD_is_a(digest, "SHAKE256") == 1;
}

} // namespace basalt
