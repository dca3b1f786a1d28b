// CMS messages cut into views.
#include <basalt/coding/signed_message.h>

namespace basalt {
namespace {

constexpr BYTE kDataOidContents[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x07, 0x01};
constexpr BYTE kSignedDataOidContents[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x07, 0x02};
// id-ri-ocsp-response, 1.3.6.1.5.5.7.16.2.
constexpr BYTE kOcspInformation[] = {0x2B, 0x06, 0x01, 0x05, 0x05, 0x07, 0x10, 0x02};
constexpr BYTE kConstructedOctetString = 0x24;

bool is_octet_string(const Element& element) {
    return element.tag == tag::kOctetString || element.tag == kConstructedOctetString;
}

Element take_octet_string(DerReader& reader) {
    return reader.take(reader.peek() == kConstructedOctetString ? kConstructedOctetString
                                                                : tag::kOctetString);
}

std::vector<Bytes> sequences_of(Bytes set) {
    std::vector<Bytes> found;
    DerReader reader(set);
    while (!reader.at_end()) {
        const Element entry = reader.take();
        if (entry.tag == tag::kSequence) {
            found.push_back(entry.whole);
        }
    }
    return found;
}

bool is_oid(Bytes contents) {
    bool begins = true;
    for (const BYTE octet : contents) {
        if (begins && octet == 0x80) {
            return false;
        }
        begins = (octet & 0x80) == 0;
    }
    return begins && !contents.empty();
}

Bytes take_oid(DerReader& fields) {
    const Bytes contents = fields.take(tag::kOid).contents;
    require(is_oid(contents), CRYPT_E_ASN1_CORRUPT);
    return contents;
}

} // namespace

Algorithm read_algorithm(Bytes sequence) {
    DerReader fields(sequence);
    Algorithm algorithm;
    algorithm.oid = take_oid(fields);
    if (!fields.at_end()) {
        algorithm.parameters = fields.take().whole;
    }
    fields.expect_end();
    return algorithm;
}

// Attribute (RFC 5652 5.3).
std::vector<Attribute> read_attributes(Bytes contents) {
    std::vector<Attribute> attributes;
    DerReader list(contents);
    while (!list.at_end()) {
        DerReader fields(list.take(tag::kSequence).contents);
        Attribute attribute;
        attribute.oid = take_oid(fields);
        DerReader values(fields.take(tag::kSet).contents);
        while (!values.at_end()) {
            attribute.values.push_back(values.take().whole);
        }
        fields.expect_end();
        attributes.push_back(std::move(attribute));
    }
    return attributes;
}

SignerInfo::SignerInfo(Bytes encoded) {
    DerReader fields(sole_element(encoded, tag::kSequence).contents);
    version = small_integer(fields.take(tag::kInteger).contents);
    read_identifier(fields);
    digest_algorithm = read_algorithm(fields.take(tag::kSequence).contents);
    signed_attributes = fields.take_if(tag::context_constructed(0));
    signature_algorithm = read_algorithm(fields.take(tag::kSequence).contents);
    signature = octets_of(take_octet_string(fields), signature_storage_);
    unsigned_attributes = fields.take_if(tag::context_constructed(1));
    fields.expect_end();
}

// SignerIdentifier: issuer and serial number, or the key identifier under the tag 0.
void SignerInfo::read_identifier(DerReader& fields) {
    if (fields.peek() == tag::kSequence) {
        DerReader name(fields.take().contents);
        issuer = name.take(tag::kSequence).whole;
        serial_number = minimal_integer(name.take(tag::kInteger).contents);
        name.expect_end();
        return;
    }
    const bool in_pieces = fields.peek() == tag::context_constructed(0);
    const Element identifier =
        fields.take(in_pieces ? tag::context_constructed(0) : tag::context(0));
    key_identifier = octets_of(identifier, key_identifier_storage_);
    by_key_identifier = true;
}

SignedMessage::SignedMessage(Bytes encoded, bool bare) {
    const Element outer = sole_element(encoded, tag::kSequence);
    DerReader fields(outer.contents);
    if (bare && fields.peek() == tag::kInteger) {
        read_signed_data(outer);
        return;
    }
    read_content_info(fields);
    fields.expect_end();
}

// ContentInfo (RFC 5652 3).
void SignedMessage::read_content_info(DerReader& fields) {
    const Bytes type = fields.take(tag::kOid).contents;
    const Element inner = sole_element(fields.take(tag::context_constructed(0)).contents);
    if (same_bytes(type, kSignedDataOidContents)) {
        require(inner.tag == tag::kSequence, CRYPT_E_ASN1_BADTAG);
        read_signed_data(inner);
        return;
    }
    require(same_bytes(type, kDataOidContents), CRYPT_E_INVALID_MSG_TYPE);
    bare_content_ = inner.whole;
    content_type_ = kDataOidContents;
    read_content(inner);
}

// SignedData (RFC 5652 5.1).
void SignedMessage::read_signed_data(const Element& data) {
    signed_ = true;
    bare_content_ = data.whole;
    DerReader fields(data.contents);
    version_ = small_integer(fields.take(tag::kInteger).contents);
    DerReader digests(fields.take(tag::kSet).contents);
    while (!digests.at_end()) {
        read_algorithm(digests.take(tag::kSequence).contents);
    }
    DerReader encapsulated(fields.take(tag::kSequence).contents);
    content_type_ = take_oid(encapsulated);
    if (!encapsulated.at_end()) {
        read_content(sole_element(encapsulated.take(tag::context_constructed(0)).contents));
    }
    encapsulated.expect_end();
    certificates_ = sequences_of(fields.take_if(tag::context_constructed(0)).contents);
    read_revocation_choices(fields.take_if(tag::context_constructed(1)).contents);
    DerReader signers(fields.take(tag::kSet).contents);
    while (!signers.at_end()) {
        signers_.push_back(signers.take(tag::kSequence).whole);
    }
    fields.expect_end();
}

// RevocationInfoChoice (RFC 5652 10.2.1): a CertificateList, or under the tag 1 an OID and what it
// says. What can't be read is left out: it is unsigned, and nothing hangs on it but itself.
void SignedMessage::read_revocation_choices(Bytes set) {
    DerReader reader(set);
    while (!reader.at_end()) {
        const Element entry = reader.take();
        if (entry.tag == tag::kSequence) {
            crls_.push_back(entry.whole);
        } else if (entry.tag == tag::context_constructed(1)) {
            DerReader other(entry.contents);
            const Bytes format = other.take_if(tag::kOid).contents;
            const Element information = other.take_if(tag::kSequence);
            if (same_bytes(format, kOcspInformation) && information.tag != 0 && other.at_end()) {
                ocsp_responses_.push_back(information.whole);
            }
        }
    }
}

// In PKCS #7, whose SignedData has the version 1, content of other types than data stands as it is,
// without an OCTET STRING around it (RFC 5652 5.2.1).
void SignedMessage::read_content(const Element& content) {
    const bool older = version_ == 1 && content.tag == tag::kSequence &&
                       !same_bytes(content_type_, kDataOidContents);
    require(older || is_octet_string(content), CRYPT_E_ASN1_BADTAG);
    content_ = content;
    content_octets_ =
        is_octet_string(content) ? octets_of(content, content_storage_) : content.contents;
}

Bytes SignedMessage::content() const {
    return content_octets_;
}

Bytes SignedMessage::content_parameter() const {
    return is_octet_string(content_) ? content_octets_ : content_.whole;
}

} // namespace basalt
