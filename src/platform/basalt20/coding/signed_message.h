// A CMS message (RFC 5652) cut into views of its bytes; nothing is copied but strings that came in
// pieces. Older PKCS #7 content that is no OCTET STRING is taken too. The bytes must outlive the
// object. Faults: those of the reader, and CRYPT_E_INVALID_MSG_TYPE for a content type other than
// data and signed data.
#pragma once

#include <basalt/coding/der_reader.h>

#include <optional>
#include <string>
#include <vector>

namespace basalt {

inline constexpr char kDataOid[] = "1.2.840.113549.1.7.1";
inline constexpr char kSignedDataOid[] = "1.2.840.113549.1.7.2";

/// One attribute; each value is an encoded element.
struct Attribute {
    Bytes oid;
    std::vector<Bytes> values;
};

/// Attributes of a SET OF Attribute's contents, in the order in which they stand.
std::vector<Attribute> read_attributes(Bytes contents);

/// An AlgorithmIdentifier: OID contents, and the encoded parameters, empty when absent. An OID that
/// ends within an arc, or whose arcs begin with superfluous zeros, is none (X.690 8.19):
/// CRYPT_E_ASN1_CORRUPT.
struct Algorithm {
    Bytes oid;
    Bytes parameters;
};
Algorithm read_algorithm(Bytes sequence);

/// A SignerInfo (RFC 5652 5.3) taken apart.
class SignerInfo {
public:
    explicit SignerInfo(Bytes encoded);
    SignerInfo(const SignerInfo&) = delete;
    SignerInfo& operator=(const SignerInfo&) = delete;

    DWORD version = 0;
    bool by_key_identifier = false;
    Bytes issuer;         // the encoded name
    Bytes serial_number;  // big-endian, without superfluous sign bytes
    Bytes key_identifier; //
    Algorithm digest_algorithm;
    Algorithm signature_algorithm;
    Element signed_attributes;   // tag 0 when there are none
    Element unsigned_attributes; //
    Bytes signature;

private:
    void read_identifier(DerReader& fields);

    std::string key_identifier_storage_;
    std::string signature_storage_;
};

class SignedMessage {
public:
    /// `bare` allows a SignedData without its ContentInfo.
    SignedMessage(Bytes encoded, bool bare);

    bool is_signed() const { return signed_; }
    DWORD version() const { return version_; }

    /// The SignedData or OCTET STRING inside the ContentInfo.
    Bytes bare_content() const { return bare_content_; }

    /// Contents of the content type's OID; for a message of plain data that of data.
    Bytes content_type() const { return content_type_; }

    bool has_content() const { return content_.tag != 0; }

    /// What is hashed: the contents' octets, without tag and length.
    Bytes content() const;

    /// What is given to the user: as `content()`, but a content that is no OCTET STRING with tag
    /// and length.
    Bytes content_parameter() const;

    const std::vector<Bytes>& signers() const { return signers_; }

    /// X.509 certificates and CRLs alone: attribute certificates and the like are left out.
    const std::vector<Bytes>& certificates() const { return certificates_; }
    const std::vector<Bytes>& crls() const { return crls_; }

    /// OCSPResponses among the CRLs, as other revocation information (RFC 5940 2.1).
    const std::vector<Bytes>& ocsp_responses() const { return ocsp_responses_; }

private:
    void read_content_info(DerReader& fields);
    void read_signed_data(const Element& data);
    void read_content(const Element& outer);
    void read_revocation_choices(Bytes set);

    bool signed_ = false;
    DWORD version_ = 0;
    Bytes bare_content_;
    Bytes content_type_;
    Element content_;
    std::string content_storage_;
    Bytes content_octets_;
    std::vector<Bytes> signers_;
    std::vector<Bytes> certificates_;
    std::vector<Bytes> crls_;
    std::vector<Bytes> ocsp_responses_;
};

} // namespace basalt
