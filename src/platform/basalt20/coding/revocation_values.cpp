// Reading revocation-values.
#include <basalt/coding/revocation_values.h>

#include <basalt/coding/der_writer.h>

namespace basalt {
namespace {

// id-aa-ets-revocationValues, 1.2.840.113549.1.9.16.2.24.
constexpr BYTE kRevocationValues[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D,
                                      0x01, 0x09, 0x10, 0x02, 0x18};
constexpr char kBasicResponse[] = "1.3.6.1.5.5.7.48.1.1";

// OCSPResponse (RFC 6960 4.2.1) of the status successful.
std::string ocsp_response_of(Bytes basic) {
    const std::string type = element(tag::kOid, oid_contents(kBasicResponse));
    const std::string bytes =
        element(tag::kSequence, type + element(tag::kOctetString, text_of(basic)));
    return element(tag::kSequence, element(tag::kEnumerated, std::string_view("\0", 1)) +
                                       element(tag::context_constructed(0), bytes));
}

// RevocationValues ::= SEQUENCE {
//   crlVals [0] SEQUENCE OF CertificateList OPTIONAL,
//   ocspVals [1] SEQUENCE OF BasicOCSPResponse OPTIONAL, ... }, with explicit tags
void read(Bytes value, RevocationValues& values) {
    DerReader fields(sole_element(value, tag::kSequence).contents);
    if (const Element lists = fields.take_if(tag::context_constructed(0)); lists.tag != 0) {
        DerReader list(sole_element(lists.contents, tag::kSequence).contents);
        while (!list.at_end()) {
            values.crls.push_back(list.take(tag::kSequence).whole);
        }
    }
    if (const Element answers = fields.take_if(tag::context_constructed(1)); answers.tag != 0) {
        DerReader list(sole_element(answers.contents, tag::kSequence).contents);
        while (!list.at_end()) {
            values.ocsp_responses.push_back(ocsp_response_of(list.take(tag::kSequence).whole));
        }
    }
}

} // namespace

RevocationValues revocation_values_of(const SignerInfo& signer) {
    RevocationValues values;
    if (signer.unsigned_attributes.tag == 0) {
        return values;
    }
    for (const Attribute& attribute : read_attributes(signer.unsigned_attributes.contents)) {
        if (!same_bytes(attribute.oid, kRevocationValues)) {
            continue;
        }
        for (const Bytes value : attribute.values) {
            try {
                read(value, values);
            } catch (const Fault&) {
                // Unsigned, and nothing hangs on it but itself.
            }
        }
    }
    return values;
}

} // namespace basalt
