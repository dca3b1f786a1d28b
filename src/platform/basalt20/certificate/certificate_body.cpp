// Certificates taken apart.
#include <basalt/certificate/certificate_body.h>

#include <basalt/certificate/x509_cache.h>
#include <basalt/coding/der_writer.h>

#include <string_view>
#include <tuple>

namespace basalt {
namespace {

CRYPT_BIT_BLOB bit_blob(Bytes contents) {
    const Bits bits = bits_of(contents);
    return {static_cast<DWORD>(bits.bytes.size()), const_cast<BYTE*>(bits.bytes.data()),
            bits.unused};
}

DWORD read_version(DerReader& tbs) {
    const Element outer = tbs.take_if(tag::context_constructed(0));
    if (outer.tag == 0) {
        return CERT_V1;
    }
    return small_integer(sole_element(outer.contents, tag::kInteger).contents);
}

// A FILETIME begins in 1601: what is before is that beginning, which is as good as any for
// "always".
FILETIME validity_time(const Element& element) {
    const std::string_view text = text_of(element.contents);
    const bool has_year = element.tag == tag::kGeneralizedTime && text.size() > 4 &&
                          text.find_first_not_of("0123456789") >= 4;
    return has_year && text.substr(0, 4) < "1601" ? FILETIME{} : time_of(element);
}

} // namespace

// Certificate (RFC 5280 4.1).
CertificateBody::CertificateBody(Bytes encoded) : storage_(encoded) {
    DerReader certificate(sole_element(storage_.encoded(), tag::kSequence).contents);
    const Bytes tbs = certificate.take(tag::kSequence).contents;
    certificate.take(tag::kSequence);
    bits_of(certificate.take(tag::kBitString).contents);
    certificate.expect_end();
    read_tbs(tbs);
}

// TBSCertificate. Superfluous sign bytes of the serial number, which some authorities wrote, don't
// count.
void CertificateBody::read_tbs(Bytes bytes) {
    DerReader tbs(bytes);
    info_.dwVersion = read_version(tbs);
    info_.SerialNumber = storage_.reversed(minimal_integer(tbs.take(tag::kInteger).contents));
    info_.SignatureAlgorithm = storage_.algorithm(tbs.take(tag::kSequence).contents);
    info_.Issuer = FieldStorage::view(tbs.take(tag::kSequence).whole);
    DerReader validity(tbs.take(tag::kSequence).contents);
    info_.NotBefore = validity_time(validity.take());
    info_.NotAfter = validity_time(validity.take());
    validity.expect_end();
    info_.Subject = FieldStorage::view(tbs.take(tag::kSequence).whole);
    DerReader key(tbs.take(tag::kSequence).contents);
    info_.SubjectPublicKeyInfo.Algorithm = storage_.algorithm(key.take(tag::kSequence).contents);
    info_.SubjectPublicKeyInfo.PublicKey = bit_blob(key.take(tag::kBitString).contents);
    key.expect_end();
    read_optional_fields(tbs);
}

void CertificateBody::read_optional_fields(DerReader& tbs) {
    if (const Element id = tbs.take_if(tag::context(1)); id.tag != 0) {
        info_.IssuerUniqueId = bit_blob(id.contents);
    }
    if (const Element id = tbs.take_if(tag::context(2)); id.tag != 0) {
        info_.SubjectUniqueId = bit_blob(id.contents);
    }
    if (const Element outer = tbs.take_if(tag::context_constructed(3)); outer.tag != 0) {
        const Element list = sole_element(outer.contents, tag::kSequence);
        std::tie(info_.rgExtension, info_.cExtension) = storage_.extensions(list.contents);
    }
    tbs.expect_end();
}

const Sha256& CertificateBody::digest() const {
    const std::lock_guard lock(mutex_);
    if (!has_digest_) {
        digest_ = sha256(encoded());
        has_digest_ = true;
    }
    return digest_;
}

std::shared_ptr<const X509Entry> CertificateBody::x509() const {
    const Sha256& key = digest();
    const std::lock_guard lock(mutex_);
    if (!x509_) {
        x509_ = x509_by_digest(key, encoded());
    }
    return x509_;
}

} // namespace basalt
