#include <basalt/certificate/reasonable_certificate.h>

#include <basalt/coding/der_reader.h>
#include <basalt/coding/fault.h>

#include <algorithm>
#include <string_view>

namespace basalt {

namespace {

constexpr std::size_t kMaxCertificateBytes = std::size_t{64} << 10;
constexpr std::size_t kMaxNameBytes = std::size_t{4} << 10;
constexpr std::size_t kMaxModulusBytes = kMaxKeyBits / 8;
constexpr std::size_t kMaxExponentBytes = 8;
constexpr std::size_t kMaxKeyBytes = std::size_t{8} << 10; // of any kind, as it is encoded

constexpr std::string_view kRsaKeys[] = {"1.2.840.113549.1.1.1", "1.2.840.113549.1.1.10",
                                         "1.2.840.113549.1.1.7", "2.5.8.1.1"};
constexpr std::string_view kCurveKey = "1.2.840.10045.2.1";

bool is_rsa(std::string_view oid) {
    return std::find(std::begin(kRsaKeys), std::end(kRsaKeys), oid) != std::end(kRsaKeys);
}

// RSAPublicKey (RFC 8017, A.1.1).
bool is_reasonable_rsa(const CERT_PUBLIC_KEY_INFO& key) {
    try {
        const Bytes bits(key.PublicKey.pbData, key.PublicKey.cbData);
        DerReader numbers(sole_element(bits, tag::kSequence).contents);
        const Bytes modulus = minimal_integer(numbers.take(tag::kInteger).contents);
        const Bytes exponent = minimal_integer(numbers.take(tag::kInteger).contents);
        // One more byte each for the sign.
        return modulus.size() <= kMaxModulusBytes + 1 && exponent.size() <= kMaxExponentBytes + 1;
    } catch (const Fault&) {
        return false;
    }
}

bool is_reasonable_key(const CERT_PUBLIC_KEY_INFO& key) {
    const std::string_view oid = key.Algorithm.pszObjId;
    if (key.PublicKey.cbData > kMaxKeyBytes) {
        return false;
    }
    if (oid == kCurveKey) {
        const CRYPT_OBJID_BLOB& curve = key.Algorithm.Parameters;
        return curve.cbData > 0 && curve.pbData[0] == tag::kOid;
    }
    return !is_rsa(oid) || is_reasonable_rsa(key);
}

} // namespace

bool is_reasonable(const CertificateBody& certificate) {
    const CERT_INFO& info = certificate.info();
    return certificate.encoded().size() <= kMaxCertificateBytes &&
           info.Subject.cbData <= kMaxNameBytes && info.Issuer.cbData <= kMaxNameBytes &&
           is_reasonable_key(info.SubjectPublicKeyInfo);
}

} // namespace basalt
