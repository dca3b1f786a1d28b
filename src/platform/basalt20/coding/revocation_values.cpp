// Reading revocation-values.
#include <basalt/coding/revocation_values.h>

#include <basalt/coding/der_writer.h>

namespace basalt {
namespace {

// id-aa-ets-revocationValues, 1.2.840.113549.1.9.16.2.24.
constexpr BYTE kRevocationValues[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D,
                                      0x01, 0x09, 0x10, 0x02, 0x18};
constexpr char kBasicResponse[] = "1.3.6.1.5.5.7.48.1.1";

// Ten times what a token of ten years holds. Each is looked at later, and what is none costs some
// microseconds; but nobody's signature goes into so few octets.
constexpr std::size_t kMostObjects = 4096;
constexpr std::size_t kLeastObject = 64;

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
    const auto for_each = [&](BYTE wanted, const auto& add) {
        const Element objects = fields.take_if(wanted);
        DerReader list(objects.tag != 0 ? sole_element(objects.contents, tag::kSequence).contents
                                        : Bytes());
        while (!list.at_end() && values.crls.size() + values.ocsp_responses.size() < kMostObjects) {
            const Bytes object = list.take(tag::kSequence).whole;
            if (object.size() >= kLeastObject) {
                add(object);
            }
        }
    };
    for_each(tag::context_constructed(0), [&](Bytes list) { values.crls.push_back(list); });
    for_each(tag::context_constructed(1),
             [&](Bytes answer) { values.ocsp_responses.push_back(ocsp_response_of(answer)); });
}

} // namespace

void add_revocation_values(const SignerInfo& signer, RevocationValues& values) {
    if (signer.unsigned_attributes.tag == 0) {
        return;
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
}

} // namespace basalt
