// Verifying one signer.
#include <basalt/message/signer_verification.h>

#include <basalt/certificate/strength.h>
#include <basalt/coding/der_writer.h>
#include <basalt/coding/flat_block.h>
#include <basalt/coding/signature_algorithm.h>

#include <openssl/err.h>
#include <openssl/x509.h>

#include <string_view>

namespace basalt {
namespace {

constexpr BYTE kContentType[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x09, 0x03};
constexpr BYTE kMessageDigest[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x09, 0x04};
constexpr char kSubjectKeyIdentifier[] = "2.5.29.14";

// The only value of the only attribute of that type (RFC 5652 11.1, 11.2).
Element sole_value(const std::vector<Attribute>& attributes, Bytes oid) {
    const Attribute* found = nullptr;
    for (const Attribute& attribute : attributes) {
        if (same_bytes(attribute.oid, oid)) {
            require(found == nullptr, CRYPT_E_AUTH_ATTR_MISSING);
            found = &attribute;
        }
    }
    require(found != nullptr && found->values.size() == 1, CRYPT_E_AUTH_ATTR_MISSING);
    return sole_element(found->values.front());
}

void verify_message_digest(const std::vector<Attribute>& attributes, const SignerInfo& signer,
                           Bytes content) {
    const Element value = sole_value(attributes, kMessageDigest);
    require((value.tag & ~0x20) == tag::kOctetString, CRYPT_E_AUTH_ATTR_MISSING);
    std::string storage;
    const Bytes expected = octets_of(value, storage);
    const EVP_MD* algorithm = digest_of(signer.digest_algorithm);
    require(goes_with_content_digest(signer.signature_algorithm, algorithm), CRYPT_E_UNKNOWN_ALGO);
    const std::string actual = digest(algorithm, content);
    require(same_bytes(expected, bytes_of(actual)), CRYPT_E_HASH_VALUE);
}

void verify_content_type(const std::vector<Attribute>& attributes, Bytes content_type) {
    const Element value = sole_value(attributes, kContentType);
    require(value.tag == tag::kOid, CRYPT_E_AUTH_ATTR_MISSING);
    require(same_bytes(value.contents, content_type), CRYPT_E_UNEXPECTED_MSG_TYPE);
}

bool signature_fits(Bytes message, const SignerInfo& signer, const PublicKey& key,
                    const SignatureScheme& scheme) {
    return takes_message(scheme)
               ? key.verify_message(message, signer.signature)
               : key.verify_digest(scheme, bytes_of(digest(scheme.digest, message)),
                                   signer.signature);
}

// The signature is over the DER of the attributes as a SET OF. Signers whose attributes aren't in
// DER's order have signed them as they stand, or in order: both are taken. Attributes in BER were
// signed in DER.
bool attributes_signature_fits(const SignerInfo& signer, const PublicKey& key,
                               const SignatureScheme& scheme) {
    std::string as_given(text_of(signer.signed_attributes.whole));
    as_given[0] = static_cast<char>(tag::kSet);
    if (signature_fits(bytes_of(as_given), signer, key, scheme)) {
        return true;
    }
    Element set = sole_element(bytes_of(as_given));
    const std::string canonical = canonical_der(set);
    return canonical != as_given && signature_fits(bytes_of(canonical), signer, key, scheme);
}

// What the message itself is signed with must be as strong as what its certificates are signed
// with: the key, the digest of the signature and that of the content.
void require_strength(const SignerInfo& signer, const SignatureScheme& scheme,
                      const PublicKey& key) {
    Strength strength = strength_of(key);
    if (!takes_message(scheme)) {
        strength = weaker(strength, strength_of(scheme.digest));
    }
    if (signer.signed_attributes.tag != 0) {
        strength = weaker(strength, strength_of(digest_of(signer.digest_algorithm)));
    }
    require(passes(strength, configured_strength()), NTE_BAD_ALGID);
}

struct NameDeleter {
    void operator()(X509_NAME* name) const { X509_NAME_free(name); }
};

bool same_name(Bytes first, Bytes second) {
    if (same_bytes(first, second)) {
        return true;
    }
    const auto parse = [](Bytes name) {
        const unsigned char* at = name.data();
        return std::unique_ptr<X509_NAME, NameDeleter>(
            d2i_X509_NAME(nullptr, &at, static_cast<long>(name.size())));
    };
    const auto a = parse(first);
    const auto b = parse(second);
    const bool same = a && b && X509_NAME_cmp(a.get(), b.get()) == 0;
    ERR_clear_error();
    return same;
}

bool same_serial(Bytes big_endian, const CRYPT_INTEGER_BLOB& little_endian) {
    const Bytes other = bytes_of(little_endian);
    return big_endian.size() == other.size() &&
           std::equal(big_endian.begin(), big_endian.end(), other.rbegin());
}

} // namespace

void verify_content_digest(const SignerInfo& signer, Bytes content) {
    require(signer.signed_attributes.tag != 0, CRYPT_E_AUTH_ATTR_MISSING);
    verify_message_digest(read_attributes(signer.signed_attributes.contents), signer, content);
}

void verify_signer(const SignerInfo& signer, Bytes content_type, Bytes content,
                   const PublicKey& key) {
    const SignatureScheme scheme = scheme_of(signer.signature_algorithm, signer.digest_algorithm);
    if (signer.signed_attributes.tag == 0) {
        require(signature_fits(content, signer, key, scheme), NTE_BAD_SIGNATURE);
        return require_strength(signer, scheme, key);
    }
    const std::vector<Attribute> attributes = read_attributes(signer.signed_attributes.contents);
    verify_content_type(attributes, content_type);
    verify_message_digest(attributes, signer, content);
    require(attributes_signature_fits(signer, key, scheme), NTE_BAD_SIGNATURE);
    require_strength(signer, scheme, key);
}

void verify_attributes(const SignerInfo& signer, const PublicKey& key) {
    require(signer.signed_attributes.tag != 0, CRYPT_E_AUTH_ATTR_MISSING);
    const SignatureScheme scheme = scheme_of(signer.signature_algorithm, signer.digest_algorithm);
    require(attributes_signature_fits(signer, key, scheme), NTE_BAD_SIGNATURE);
    require_strength(signer, scheme, key);
}

bool names_certificate(const SignerInfo& signer, const CERT_INFO& info) {
    if (!signer.by_key_identifier) {
        return same_serial(signer.serial_number, info.SerialNumber) &&
               same_name(signer.issuer, bytes_of(info.Issuer));
    }
    const CERT_EXTENSION* extension =
        CertFindExtension(kSubjectKeyIdentifier, info.cExtension, info.rgExtension);
    if (extension == nullptr) {
        return false;
    }
    const Bytes value = bytes_of(extension->Value);
    return same_bytes(sole_element(value, tag::kOctetString).contents, signer.key_identifier);
}

} // namespace basalt
