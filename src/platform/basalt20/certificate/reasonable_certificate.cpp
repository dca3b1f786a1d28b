#include <basalt/certificate/reasonable_certificate.h>

#include <basalt/certificate/element_count.h>
#include <basalt/certificate/policy_counts.h>
#include <basalt/coding/der_reader.h>
#include <basalt/coding/fault.h>

#include <algorithm>
#include <optional>
#include <string_view>

namespace basalt {

namespace {

constexpr std::size_t kMaxCertificateBytes = std::size_t{64} << 10;
constexpr std::size_t kMaxNameBytes = std::size_t{4} << 10;
constexpr std::size_t kMaxModulusBytes = kMaxKeyBits / 8;
constexpr std::size_t kMaxExponentBytes = 8;
constexpr std::size_t kMaxKeyBytes = std::size_t{8} << 10; // of any kind, as it is encoded

constexpr std::size_t kMaxExpandedBytes = std::size_t{16} << 10;
constexpr std::string_view kDistributionPoints = "2.5.29.31";

constexpr std::string_view kRsaKeys[] = {"1.2.840.113549.1.1.1", "1.2.840.113549.1.1.10",
                                         "1.2.840.113549.1.1.7", "2.5.8.1.1"};
constexpr std::string_view kCurveKey = "1.2.840.10045.2.1";
constexpr std::string_view kDsaKey = "1.2.840.10040.4.1";

bool is_rsa(std::string_view oid) {
    return std::find(std::begin(kRsaKeys), std::end(kRsaKeys), oid) != std::end(kRsaKeys);
}

std::size_t size_in_der(std::size_t content) {
    return content + (content < 0x80 ? 2 : content < 0x100 ? 3 : 4);
}

Bytes bits_of(const CERT_PUBLIC_KEY_INFO& key) {
    return {key.PublicKey.pbData, key.PublicKey.cbData};
}

struct RsaKey {
    std::size_t modulus_bytes = 0;
    std::size_t exponent_bytes = 0;
    bool is_canonical = false;
};

// In its shortest form. OpenSSL takes negative ones as if they weren't.
std::size_t size_of_positive(const Element& number) {
    const Bytes shortest = minimal_integer(number.contents);
    require((shortest[0] & 0x80) == 0, CRYPT_E_ASN1_CORRUPT);
    return shortest.size();
}

// RSAPublicKey (RFC 8017, A.1.1).
std::optional<RsaKey> rsa_key(const CERT_PUBLIC_KEY_INFO& key) {
    try {
        const Bytes bits = bits_of(key);
        DerReader numbers(sole_element(bits, tag::kSequence).contents);
        const std::size_t modulus = size_of_positive(numbers.take(tag::kInteger));
        const std::size_t exponent = size_of_positive(numbers.take(tag::kInteger));
        return RsaKey{modulus, exponent,
                      bits.size() == size_in_der(size_in_der(modulus) + size_in_der(exponent))};
    } catch (const Fault&) {
        return std::nullopt;
    }
}

bool is_reasonable_rsa(const CERT_PUBLIC_KEY_INFO& info) {
    const std::optional<RsaKey> key = rsa_key(info);
    // One more byte each for the sign.
    return key && key->modulus_bytes <= kMaxModulusBytes + 1 &&
           key->exponent_bytes <= kMaxExponentBytes + 1;
}

// DSAPublicKey (RFC 3279, 2.3.2).
bool is_canonical_dsa(const CERT_PUBLIC_KEY_INFO& key) {
    try {
        const Bytes bits = bits_of(key);
        return bits.size() == size_in_der(size_of_positive(sole_element(bits, tag::kInteger)));
    } catch (const Fault&) {
        return false;
    }
}

// In the only form in which it may be written, but for points, which have several: else two
// certificates of a key couldn't be told to be that.
bool is_canonical(const CERT_PUBLIC_KEY_INFO& key) {
    if (key.PublicKey.cUnusedBits != 0) {
        return false;
    }
    const std::string_view oid = key.Algorithm.pszObjId;
    if (oid == kDsaKey) {
        return is_canonical_dsa(key);
    }
    if (!is_rsa(oid)) {
        return true;
    }
    const std::optional<RsaKey> numbers = rsa_key(key);
    return numbers && numbers->is_canonical;
}

bool is_reasonable_key(const CERT_PUBLIC_KEY_INFO& key) {
    const std::string_view oid = key.Algorithm.pszObjId;
    if (key.PublicKey.cbData > kMaxKeyBytes || !is_canonical(key)) {
        return false;
    }
    if (oid == kCurveKey) {
        const CRYPT_OBJID_BLOB& curve = key.Algorithm.Parameters;
        return curve.cbData > 0 && curve.pbData[0] == tag::kOid;
    }
    return !is_rsa(oid) || is_reasonable_rsa(key);
}

// A point that is relative to a name, in full; at most. Others take nothing.
std::size_t expanded_bytes(Bytes point, std::size_t issuer_bytes) {
    DerReader fields(point);
    const Element named = fields.take_if(tag::context_constructed(0));
    const bool is_relative =
        named.tag != 0 && DerReader(named.contents).peek() == tag::context_constructed(1);
    return is_relative ? named.contents.size() + issuer_bytes + fields.rest().size() : 0;
}

std::size_t expanded_bytes_of_points(Bytes points, std::size_t issuer_bytes) {
    std::size_t bytes = 0;
    try {
        // OpenSSL passes over what stands behind the sequence.
        DerReader whole(points);
        for (DerReader reader(whole.take(tag::kSequence).contents); !reader.at_end();) {
            bytes += expanded_bytes(reader.take(tag::kSequence).contents, issuer_bytes);
        }
    } catch (const Fault&) {
        return kMaxExpandedBytes + 1; // OpenSSL may read them all the same
    }
    return bytes;
}

} // namespace

bool is_affordable(const CertificateBody& certificate) {
    const CERT_INFO& info = certificate.info();
    std::size_t bytes = 0;
    for (DWORD i = 0; i < info.cExtension; ++i) {
        const CERT_EXTENSION& extension = info.rgExtension[i];
        if (kDistributionPoints == extension.pszObjId) {
            bytes += expanded_bytes_of_points({extension.Value.pbData, extension.Value.cbData},
                                              info.Issuer.cbData);
        }
    }
    return bytes <= kMaxExpandedBytes && element_count(info) <= kMostElements &&
           policy_counts(info).are_affordable();
}

bool has_canonical_key(const CertificateBody& certificate) {
    return is_canonical(certificate.info().SubjectPublicKeyInfo);
}

bool is_reasonable(const CertificateBody& certificate) {
    const CERT_INFO& info = certificate.info();
    return certificate.encoded().size() <= kMaxCertificateBytes &&
           info.Subject.cbData <= kMaxNameBytes && info.Issuer.cbData <= kMaxNameBytes &&
           is_reasonable_key(info.SubjectPublicKeyInfo) && is_affordable(certificate);
}

} // namespace basalt
