// The bounds of each message, along its production.
#include <chronoseal/core/message_bounds.h>

#include <algorithm>
#include <string_view>

#include <chronoseal/asn1/failure.h>
#include <chronoseal/core/limits.h>
#include <chronoseal/core/unsigned_fault.h>

namespace Halcyon::PKI::TSP {

namespace {

using namespace std::string_view_literals;

// id-contentType, id-aa-signingCertificate, id-aa-ets-otherSigCert and id-aa-signingCertificateV2.
constexpr auto kContentType = "\x2A\x86\x48\x86\xF7\x0D\x01\x09\x03"sv;
constexpr auto kSigningCertificate = "\x2A\x86\x48\x86\xF7\x0D\x01\x09\x10\x02\x0C"sv;
constexpr auto kOtherSigningCertificate = "\x2A\x86\x48\x86\xF7\x0D\x01\x09\x10\x02\x13"sv;
constexpr auto kSigningCertificateV2 = "\x2A\x86\x48\x86\xF7\x0D\x01\x09\x10\x02\x2F"sv;

std::string_view text_of(Element contents) {
    return {reinterpret_cast<const char*>(contents.data()), contents.size()};
}

// Reads one element after the other, each by `read`, until the contents end; `refuse` throws for
// more than the bound.
template <class Read>
void read_each(
    ElementReader& reader, std::uint32_t tag, std::size_t bound, Read read,
    void (*refuse)() = [] { ASN1::fail_codec(); }) {
    const auto list = reader.enter(tag);
    for (std::size_t count = 0; !reader.ended(list); ++count) {
        if (count == bound) {
            refuse();
        }
        read();
    }
    reader.leave(list);
}

// Counts the elements at any depth. What can't be read ends the count: the decoder will refuse it.
class ElementCount {
public:
    explicit ElementCount(Element bytes) : rest_(bytes) {
        while (!rest_.empty() && pass_one()) {
            ++count_;
        }
    }
    std::size_t get() const { return count_; }

private:
    // Over a primitive element, or into a constructed one.
    bool pass_one() {
        const bool constructed = (rest_[0] & 0x20u) != 0;
        std::size_t header = 1;
        if ((rest_[0] & 0x1Fu) == 0x1F) {
            while (header < rest_.size() && (rest_[header++] & 0x80u) != 0) {
            }
        }
        if (header >= rest_.size()) {
            return false;
        }
        const unsigned first = rest_[header++];
        std::size_t length = first;
        if (first >= 0x80) {
            const std::size_t bytes = first & 0x7Fu;
            if (bytes > 4 || bytes > rest_.size() - header) {
                return false;
            }
            length = 0;
            for (std::size_t i = 0; i < bytes; ++i) {
                length = length << 8 | rest_[header++];
            }
        }
        rest_ = rest_.subspan(header);
        if (constructed) {
            return true;
        }
        if (length > rest_.size()) {
            return false;
        }
        rest_ = rest_.subspan(length);
        return true;
    }

    Element rest_;
    std::size_t count_ = 0;
};

void bound_elements(Element bytes) {
    if (ElementCount(bytes).get() > kMaxNestedElements) {
        ASN1::fail_codec();
    }
}

// AlgorithmIdentifier ::= SEQUENCE { algorithm OBJECT IDENTIFIER, parameters ANY OPTIONAL }
void check_algorithm(ElementReader& reader) {
    const auto fields = reader.enter(kSequenceTag);
    reader.identifier();
    if (!reader.ended(fields)) {
        reader.skip();
    }
    reader.leave(fields);
}

// MessageImprint ::= SEQUENCE { hashAlgorithm AlgorithmIdentifier, hashedMessage OCTET STRING }
void check_imprint(ElementReader& reader) {
    const auto fields = reader.enter(kSequenceTag);
    check_algorithm(reader);
    reader.skip();
    reader.leave(fields);
}

// Extension ::= SEQUENCE { extnID OBJECT IDENTIFIER, critical BOOLEAN DEFAULT FALSE, extnValue
// OCTET STRING }
void check_extensions(ElementReader& reader, std::uint32_t tag) {
    read_each(reader, tag, kMaxExtensions, [&] {
        const auto fields = reader.enter(kSequenceTag);
        reader.identifier();
        reader.skip_if(kBooleanByte);
        reader.skip();
        reader.leave(fields);
    });
}

// Name ::= SEQUENCE OF SET OF SEQUENCE { type OBJECT IDENTIFIER, value ANY }
void check_name(ElementReader& reader) {
    std::size_t parts = 0;
    read_each(reader, kSequenceTag, kMaxNameParts, [&] {
        read_each(reader, kSetTag, kMaxNameParts, [&] {
            if (++parts > kMaxNameParts) {
                ASN1::fail_codec();
            }
            const auto fields = reader.enter(kSequenceTag);
            reader.identifier();
            reader.skip();
            reader.leave(fields);
        });
    });
}

void check_general_name(ElementReader& reader) {
    if (reader.at(kContextByte0 + 4)) {
        const auto explicit_tag = reader.enter(kContextTag0 + 4);
        check_name(reader);
        reader.leave(explicit_tag);
    } else if (reader.at(0x88)) {
        reader.identifier(0x88);
    } else {
        bound_elements(reader.element());
    }
}

// Of the primitive form alone: a TSTInfo is DER.
bool is_utc_time(Element element) {
    const auto contents = contents_of(element, kGeneralizedTimeByte);
    if (!contents) {
        return false;
    }
    const auto text = text_of(*contents);
    constexpr std::size_t kDigits = 14;
    const auto are_digits = [](std::string_view part) {
        return std::all_of(part.begin(), part.end(), [](char c) { return c >= '0' && c <= '9'; });
    };
    if (text.size() <= kDigits || text.back() != 'Z' || !are_digits(text.substr(0, kDigits))) {
        return false;
    }
    const auto fraction = text.substr(kDigits, text.size() - kDigits - 1);
    return fraction.empty() ||
           (fraction.size() > 1 && fraction[0] == '.' && are_digits(fraction.substr(1)));
}

// The hash algorithm that the first certificate of a signing-certificate attribute is named by, as
// an element; empty where there is none, or nothing that can be read.
Element first_hash_algorithm(std::string_view type, Element value) {
    try {
        ElementReader reader(value);
        reader.enter(kSequenceTag);
        reader.enter(kSequenceTag);
        reader.enter(kSequenceTag);
        if (type == kOtherSigningCertificate) {
            reader.enter(kSequenceTag); // OtherHashAlgAndValue
        }
        return reader.at(kSequenceByte) ? reader.element() : Element();
    } catch (const ATL::CAtlException& failure) {
        if (failure.m_hr == hr(CRYPT_E_ASN1_MEMORY)) {
            throw;
        }
        return {};
    }
}

// The identifiers that verification goes by: the content type, and the algorithm of the hash that
// names the signer's certificate. Values that can't be read are left to it.
void check_known_value(std::string_view type, Element value) {
    if (type == kContentType) {
        const auto arcs = contents_of(value, kIdentifierByte);
        if (arcs && !has_whole_arcs(*arcs)) {
            ASN1::fail_codec();
        }
    } else if (type == kSigningCertificate || type == kOtherSigningCertificate ||
               type == kSigningCertificateV2) {
        bound_elements(value);
        const auto algorithm = first_hash_algorithm(type, value);
        if (!algorithm.empty()) {
            ElementReader reader(algorithm);
            check_algorithm(reader);
        }
    }
}

// Attribute ::= SEQUENCE { attrType OBJECT IDENTIFIER, attrValues SET OF ANY }
void check_signed_attributes(ElementReader& reader) {
    read_each(reader, kContextTag0, kMaxAttributes, [&] {
        const auto fields = reader.enter(kSequenceTag);
        const auto type = text_of(reader.identifier());
        read_each(reader, kSetTag, kMaxAttributeValues,
                  [&] { check_known_value(type, reader.element()); });
        reader.leave(fields);
    });
}

// An identifier that others can read: it has arcs, and none begins with superfluous zeros.
bool is_plain_identifier(Element arcs) {
    bool begins = true;
    for (const unsigned char byte : arcs) {
        if (begins && byte == 0x80) {
            return false;
        }
        begins = (byte & 0x80u) == 0;
    }
    return !arcs.empty();
}

// What verification goes by isn't looked for among them.
void read_unsigned_attribute(ElementReader& reader) {
    const auto fields = reader.enter(kSequenceTag);
    if (!is_plain_identifier(reader.identifier())) {
        ASN1::fail_codec();
    }
    read_each(
        reader, kSetTag, kMaxAttributeValues, [&] { reader.element(); },
        [] {
            throw UnsignedFault(UnsignedFault::Kind::too_many, "values of an unsigned attribute");
        });
    reader.leave(fields);
}

void check_unsigned_attributes(ElementReader& reader) {
    static constexpr char kPart[] = "unsigned attributes";
    try {
        read_each(
            reader, kContextTag0 + 1, kMaxAttributes, [&] { read_unsigned_attribute(reader); },
            [] { throw UnsignedFault(UnsignedFault::Kind::too_many, kPart); });
    } catch (const UnsignedFault&) {
        throw;
    } catch (const ATL::CAtlException& failure) {
        if (failure.m_hr != hr(CRYPT_E_ASN1_INTERNAL)) {
            throw;
        }
        throw UnsignedFault(UnsignedFault::Kind::damaged, kPart);
    }
}

} // namespace

// TimeStampResp ::= SEQUENCE { status PKIStatusInfo, timeStampToken TimeStampToken OPTIONAL }
// PKIStatusInfo ::= SEQUENCE { status INTEGER, statusString SEQUENCE OF UTF8String OPTIONAL,
// failInfo BIT STRING OPTIONAL }
void check_answer(Element answer) {
    ElementReader reader(answer);
    reader.enter(kSequenceTag);
    reader.enter(kSequenceTag);
    reader.skip();
    if (reader.at(kSequenceByte)) {
        read_each(reader, kSequenceTag, kMaxStatusTexts, [&] { reader.skip(); });
    }
}

void check_request(Element request) {
    ElementReader reader(request);
    reader.enter(kSequenceTag);
    reader.skip();
    check_imprint(reader);
    if (reader.at(kIdentifierByte)) {
        reader.identifier();
    }
    reader.skip_if(kIntegerByte);
    reader.skip_if(kBooleanByte);
    if (reader.at(kContextByte0)) {
        check_extensions(reader, kContextTag0);
    }
}

bool check_info(Element info) {
    ElementReader reader(info);
    reader.enter(kSequenceTag);
    reader.skip();
    reader.identifier();
    check_imprint(reader);
    reader.skip();
    const bool is_allowed_time = is_utc_time(reader.element());
    reader.skip_if(kSequenceByte);
    reader.skip_if(kBooleanByte);
    reader.skip_if(kIntegerByte);
    if (reader.at(kContextByte0)) {
        const auto explicit_tag = reader.enter(kContextTag0);
        check_general_name(reader);
        reader.leave(explicit_tag);
    }
    if (reader.at(kContextByte0 + 1)) {
        check_extensions(reader, kContextTag0 + 1);
    }
    return is_allowed_time;
}

void check_signer(Element signer) {
    ElementReader reader(signer);
    reader.enter(kSequenceTag);
    reader.skip();
    reader.skip();
    check_algorithm(reader);
    if (reader.at(kContextByte0)) {
        check_signed_attributes(reader);
    }
    check_algorithm(reader);
    reader.skip();
    if (reader.at(kContextByte0 + 1)) {
        check_unsigned_attributes(reader);
    }
}

std::size_t count_certificate_values(Element values) {
    ElementReader reader(values);
    std::size_t count = 0;
    read_each(reader, kSequenceTag, kMaxCertificates, [&] {
        reader.skip();
        ++count;
    });
    return count;
}

} // namespace Halcyon::PKI::TSP
