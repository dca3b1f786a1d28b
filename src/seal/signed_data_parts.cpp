// SignedData cut into views, and put together again.
#include <chronoseal/seal/signed_data_parts.h>

#include <algorithm>

#include <basalt/error_codes.h>
#include <chronoseal/seal/definite_form.h>
#include <chronoseal/seal/der_element.h>
#include <chronoseal/seal/der_writer.h>

namespace chronoseal {

namespace {

constexpr std::string_view kSignedData = "1.2.840.113549.1.7.2";
constexpr unsigned kContext1 = der_tag::kContext0 + 1;

[[noreturn]] void malformed(const char* what) {
    throw Error(Category::refused, "malformed", CRYPT_E_ASN1_INTERNAL,
                std::string("the signed message is malformed: ") + what,
                "get it again from where it came");
}

DerElement take(DerReader& reader, unsigned tag, const char* what) {
    const auto element = reader.next(tag);
    if (!element) {
        malformed(what);
    }
    return *element;
}

std::vector<ByteView> entries_of(ByteView set, const char* what) {
    std::vector<ByteView> entries;
    DerReader reader(set);
    while (!reader.done()) {
        const auto entry = reader.next();
        if (!entry) {
            malformed(what);
        }
        entries.push_back(entry->whole);
    }
    return entries;
}

bool is_before(ByteView a, ByteView b) {
    return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end());
}

void put_in(std::vector<ByteView>& set, ByteView entry) {
    const bool sorted = std::is_sorted(set.begin(), set.end(), is_before);
    set.insert(sorted ? std::upper_bound(set.begin(), set.end(), entry, is_before) : set.end(),
               entry);
}

Bytes joined(const std::vector<ByteView>& parts) {
    Bytes whole;
    for (const ByteView part : parts) {
        append(whole, part);
    }
    return whole;
}

// Attribute ::= SEQUENCE { attrType OBJECT IDENTIFIER, attrValues SET OF AttributeValue }
SignedDataParts::Attribute attribute_of(ByteView whole) {
    DerReader outer(whole);
    DerReader fields(take(outer, der_tag::kSequence, "an attribute is none").content);
    const DerElement oid = take(fields, der_tag::kObjectIdentifier, "an attribute has no type");
    return {dotted_oid(oid.content),
            take(fields, der_tag::kSet, "an attribute has no values").content};
}

Bytes encoded_attribute(std::string_view oid, ByteView value) {
    Bytes content = der_oid(oid);
    if (content.empty()) {
        throw Error(Category::misuse, "oid_malformed", CRYPT_E_OID_FORMAT,
                    quote_foreign(oid, 80) + " is no object identifier",
                    "write it with numbers and dots");
    }
    append(content, der_element(der_tag::kSet, value));
    return der_element(der_tag::kSequence, content);
}

} // namespace

SignedDataParts::SignedDataParts(ByteView message) {
    auto definite = with_definite_lengths(message);
    if (!definite) {
        malformed("its lengths are wrong");
    }
    DerReader whole(keep(*std::move(definite)));
    DerReader info(take(whole, der_tag::kSequence, "it isn't a sequence").content);
    const DerElement type = take(info, der_tag::kObjectIdentifier, "it has no type");
    if (dotted_oid(type.content) != kSignedData) {
        malformed("it isn't signed");
    }
    type_ = type.whole;
    DerReader inner(take(info, der_tag::kContext0, "it has no content").content);
    const DerElement data = take(inner, der_tag::kSequence, "its content isn't a sequence");
    DerReader fields(data.content);
    take(fields, der_tag::kInteger, "it has no version");
    take(fields, der_tag::kSet, "it has no digest algorithms");
    const DerElement content = take(fields, der_tag::kSequence, "it has no content");
    head_ = data.content.first(static_cast<std::size_t>(
        content.whole.data() + content.whole.size() - data.content.data()));
    DerReader encapsulated(content.content);
    take(encapsulated, der_tag::kObjectIdentifier, "its content has no type");
    has_content_ = !encapsulated.done();
    if (const auto set = fields.next(der_tag::kContext0)) {
        has_certificates_ = true;
        certificates_ = entries_of(set->content, "a certificate in it has a wrong length");
    }
    if (const auto set = fields.next(kContext1)) {
        has_revocations_ = true;
        revocations_ = entries_of(set->content, "a revocation list in it has a wrong length");
    }
    signers_ = entries_of(take(fields, der_tag::kSet, "it has no signers").content,
                          "a signer in it has a wrong length");
    if (!fields.done() || !inner.done() || !info.done()) {
        malformed("something stands behind its end");
    }
}

// SignerInfo ::= SEQUENCE { version, sid, digestAlgorithm, signedAttrs [0] OPTIONAL,
//     signatureAlgorithm, signature, unsignedAttrs [1] OPTIONAL }
SignedDataParts::Signer SignedDataParts::read_signer(ByteView whole) {
    DerReader outer(whole);
    const DerElement sequence = take(outer, der_tag::kSequence, "a signer isn't a sequence");
    DerReader fields(sequence.content);
    take(fields, der_tag::kInteger, "a signer has no version");
    if (!fields.next()) {
        malformed("a signer isn't named");
    }
    take(fields, der_tag::kSequence, "a signer has no digest algorithm");
    fields.next(der_tag::kContext0);
    take(fields, der_tag::kSequence, "a signer has no signature algorithm");
    const auto signature = fields.next();
    if (!signature || (signature->tag & ~0x20U) != der_tag::kOctetString) {
        malformed("a signer has no signature");
    }
    const auto size = static_cast<std::size_t>(signature->whole.data() + signature->whole.size() -
                                               sequence.content.data());
    Signer signer{whole, sequence.content.first(size), {}};
    if (const auto set = fields.next(kContext1)) {
        signer.attributes = entries_of(set->content, "an attribute has a wrong length");
    }
    if (!fields.done()) {
        malformed("something stands behind a signer's end");
    }
    return signer;
}

std::vector<SignedDataParts::Attribute>
SignedDataParts::unsigned_attributes(std::size_t signer) const {
    std::vector<Attribute> attributes;
    for (const ByteView whole : read_signer(signers_.at(signer)).attributes) {
        attributes.push_back(attribute_of(whole));
    }
    return attributes;
}

void SignedDataParts::add_certificate(ByteView der) {
    has_certificates_ = true;
    put_in(certificates_, keep(Bytes(der.begin(), der.end())));
}

void SignedDataParts::add_revocation_list(ByteView der) {
    has_revocations_ = true;
    put_in(revocations_, keep(Bytes(der.begin(), der.end())));
}

void SignedDataParts::write(Signer& signer, std::vector<ByteView> attributes) {
    Bytes content(signer.signed_.begin(), signer.signed_.end());
    append(content, der_element(kContext1, joined(attributes)));
    signer.whole = keep(der_element(der_tag::kSequence, content));
}

void SignedDataParts::add_unsigned_attribute(std::size_t index, std::string_view oid,
                                             ByteView value) {
    Signer signer = read_signer(signers_.at(index));
    put_in(signer.attributes, keep(encoded_attribute(oid, value)));
    write(signer, signer.attributes);
    signers_[index] = signer.whole;
}

void SignedDataParts::replace_unsigned_attribute(std::size_t index, std::string_view oid,
                                                 ByteView value) {
    Signer signer = read_signer(signers_.at(index));
    const auto old = std::ranges::find_if(
        signer.attributes, [&](ByteView whole) { return attribute_of(whole).oid == oid; });
    if (old == signer.attributes.end()) {
        return add_unsigned_attribute(index, oid, value);
    }
    const bool sorted =
        std::is_sorted(signer.attributes.begin(), signer.attributes.end(), is_before);
    *old = keep(encoded_attribute(oid, value));
    if (sorted) {
        std::sort(signer.attributes.begin(), signer.attributes.end(), is_before);
    }
    write(signer, signer.attributes);
    signers_[index] = signer.whole;
}

void SignedDataParts::replace_unsigned_values(std::size_t index,
                                              const std::map<std::size_t, Bytes>& values) {
    Signer signer = read_signer(signers_.at(index));
    const bool sorted =
        std::is_sorted(signer.attributes.begin(), signer.attributes.end(), is_before);
    for (const auto& [place, content] : values) {
        ByteView& whole = signer.attributes.at(place);
        whole = keep(encoded_attribute(attribute_of(whole).oid, content));
    }
    if (sorted) {
        std::sort(signer.attributes.begin(), signer.attributes.end(), is_before);
    }
    write(signer, signer.attributes);
    signers_[index] = signer.whole;
}

Bytes SignedDataParts::encode() const {
    Bytes data(head_.begin(), head_.end());
    if (has_certificates_) {
        append(data, der_element(der_tag::kContext0, joined(certificates_)));
    }
    if (has_revocations_) {
        append(data, der_element(kContext1, joined(revocations_)));
    }
    append(data, der_element(der_tag::kSet, joined(signers_)));
    Bytes info(type_.begin(), type_.end());
    append(info, der_element(der_tag::kContext0, der_element(der_tag::kSequence, data)));
    return der_element(der_tag::kSequence, info);
}

} // namespace chronoseal
