// OCSPResponse ::= SEQUENCE { responseStatus ENUMERATED, responseBytes [0] SEQUENCE {
//     responseType OBJECT IDENTIFIER, response OCTET STRING } OPTIONAL }
#include <chronoseal/seal/ocsp_bytes.h>

#include <chronoseal/seal/der_element.h>

namespace chronoseal {

namespace {

constexpr std::string_view kBasicResponse = "1.3.6.1.5.5.7.48.1.1";

} // namespace

std::optional<ByteView> basic_response_of(ByteView response) {
    const auto outer = DerReader(response).next(der_tag::kSequence);
    DerReader fields(outer ? outer->content : ByteView{});
    const auto status = fields.next(der_tag::kEnumerated);
    const auto tagged = status ? fields.next(der_tag::kContext0) : std::nullopt;
    const auto inner = tagged ? DerReader(tagged->content).next(der_tag::kSequence) : std::nullopt;
    DerReader bytes(inner ? inner->content : ByteView{});
    const auto type = bytes.next(der_tag::kObjectIdentifier);
    const auto basic = type ? bytes.next(der_tag::kOctetString) : std::nullopt;
    return basic && dotted_oid(type->content) == kBasicResponse ? std::optional(basic->content)
                                                                : std::nullopt;
}

} // namespace chronoseal
