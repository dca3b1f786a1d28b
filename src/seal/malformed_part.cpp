// A walk over the outer elements of TimeStampResp, SignedData, SignerInfo and TSTInfo that stops at
// the first that isn't what belongs there. It judges nothing: the decoders have refused already.
#include <chronoseal/seal/malformed_part.h>

#include <chronoseal/seal/der_element.h>

namespace chronoseal {

namespace {

using namespace der_tag;

constexpr std::string_view kSignedData = "1.2.840.113549.1.7.2";
constexpr std::string_view kTstInfo = "1.2.840.113549.1.9.16.1.4";
constexpr unsigned kBoolean = 0x01;
constexpr unsigned kContext1 = 0xA1;
constexpr unsigned kDirectoryName = 0xA4;

// Name ::= SEQUENCE OF SET OF SEQUENCE { OBJECT IDENTIFIER, ANY }
bool is_name(ByteView der) {
    const auto outer = DerReader(der).next(kSequence);
    DerReader names(outer ? outer->content : ByteView{});
    while (outer && !names.done()) {
        const auto set = names.next(kSet);
        DerReader parts(set ? set->content : ByteView{});
        if (!set || parts.done()) {
            return false;
        }
        while (!parts.done()) {
            const auto part = parts.next(kSequence);
            DerReader pair(part ? part->content : ByteView{});
            if (!part || !pair.next(kObjectIdentifier) || !pair.next() || !pair.done()) {
                return false;
            }
        }
    }
    return outer.has_value();
}

// Attribute ::= SEQUENCE { OBJECT IDENTIFIER, SET OF ANY }
bool are_attributes(ByteView content) {
    DerReader attributes(content);
    while (!attributes.done()) {
        const auto attribute = attributes.next(kSequence);
        DerReader fields(attribute ? attribute->content : ByteView{});
        const bool named = attribute && fields.next(kObjectIdentifier);
        const auto values = named ? fields.next(kSet) : std::nullopt;
        if (!values || values->content.empty() || !fields.done()) {
            return false;
        }
        DerReader each(values->content);
        while (!each.done()) {
            if (!each.next()) {
                return false;
            }
        }
    }
    return true;
}

bool is_general_name(ByteView der) {
    const auto name = DerReader(der).next();
    return name && name->whole.size() == der.size() && (name->tag & 0xC0) == 0x80 &&
           (name->tag != kDirectoryName || is_name(name->content));
}

std::string part_of_tst_info(ByteView der) {
    const auto outer = DerReader(der).next(kSequence);
    DerReader fields(outer ? outer->content : ByteView{});
    if (!outer || !fields.next(kInteger)) {
        return "the TSTInfo";
    }
    if (!fields.next(kObjectIdentifier)) {
        return "the policy in the TSTInfo";
    }
    const auto imprint = fields.next(kSequence);
    DerReader pair(imprint ? imprint->content : ByteView{});
    if (!imprint || !pair.next(kSequence) || !pair.next(kOctetString)) {
        return "the imprint in the TSTInfo";
    }
    if (!fields.next(kInteger)) {
        return "the serial number in the TSTInfo";
    }
    if (!fields.next(kGeneralizedTime)) {
        return "the time in the TSTInfo";
    }
    for (const unsigned tag : {kSequence, kBoolean, kInteger}) {
        fields.next(tag);
    }
    if (fields.peek() == kContext0) {
        const auto name = fields.next();
        if (!name || !is_general_name(name->content)) {
            return "the tsa name in the TSTInfo";
        }
    }
    fields.next(kContext1);
    return fields.done() ? "" : "what follows the time in the TSTInfo";
}

std::string part_of_signer(ByteView content) {
    DerReader fields(content);
    fields.next(kInteger);
    if (fields.peek() == kSequence) {
        const auto identifier = fields.next();
        DerReader pair(identifier ? identifier->content : ByteView{});
        const auto name = pair.next(kSequence);
        if (!name || !is_name(name->whole) || !pair.next(kInteger)) {
            return "the signer's name";
        }
    } else {
        fields.next();
    }
    if (!fields.next(kSequence)) {
        return "the signer's hash algorithm";
    }
    const auto attributes = fields.next(kContext0);
    if (attributes && !are_attributes(attributes->content)) {
        return "a signed attribute";
    }
    return fields.next(kSequence) && fields.next(kOctetString) ? "" : "the signature";
}

std::string part_of_signed_data(ByteView der) {
    const auto outer = DerReader(der).next(kSequence);
    DerReader fields(outer ? outer->content : ByteView{});
    if (!outer || !fields.next(kInteger) || !fields.next(kSet)) {
        return "the signed message";
    }
    const auto content = fields.next(kSequence);
    DerReader parts(content ? content->content : ByteView{});
    const auto type = parts.next(kObjectIdentifier);
    if (!type) {
        return "the content of the signed message";
    }
    if (dotted_oid(type->content) != kTstInfo) {
        return "the content of the signed message, which is no TSTInfo";
    }
    const auto wrapped = parts.next(kContext0);
    const auto octets = wrapped ? DerReader(wrapped->content).next(kOctetString) : std::nullopt;
    if (std::string part = octets ? part_of_tst_info(octets->content) : "the TSTInfo";
        !part.empty()) {
        return part;
    }
    fields.next(kContext0);
    fields.next(kContext1);
    const auto signers = fields.next(kSet);
    const auto signer = signers ? DerReader(signers->content).next(kSequence) : std::nullopt;
    return signer ? part_of_signer(signer->content) : "the signers, of whom there is none";
}

} // namespace

std::string malformed_part_of_token(ByteView der) {
    const auto outer = DerReader(der).next(kSequence);
    DerReader fields(outer ? outer->content : ByteView{});
    const auto type = fields.next(kObjectIdentifier);
    const auto content = type ? fields.next(kContext0) : std::nullopt;
    return content && dotted_oid(type->content) == kSignedData
               ? part_of_signed_data(content->content)
               : "the token, which is no signed message";
}

std::string malformed_part_of_response(ByteView der) {
    const auto outer = DerReader(der).next(kSequence);
    DerReader fields(outer ? outer->content : ByteView{});
    const auto status = fields.next(kSequence);
    DerReader parts(status ? status->content : ByteView{});
    if (!status || !parts.next(kInteger)) {
        return "the status";
    }
    if (parts.peek() == kSequence) {
        parts.next();
    }
    parts.next(kBitString);
    if (!parts.done()) {
        return "what follows the status";
    }
    if (fields.done()) {
        return "the status"; // its text, mostly
    }
    const auto token = fields.next();
    return malformed_part_of_token(token ? token->whole : ByteView{});
}

} // namespace chronoseal
