// Gathering of a token's own certificates and evidence.
#include <chronoseal/seal/token_store.h>

#include <array>

#include <chronoseal/atl/platform_answer.h>
#include <chronoseal/seal/der_element.h>
#include <chronoseal/seal/platform_text.h>
#include <chronoseal/seal/trust_store.h>

namespace chronoseal {

namespace {

constexpr std::string_view kCertificateValues = "1.2.840.113549.1.9.16.2.23";
constexpr std::string_view kRevocationValues = "1.2.840.113549.1.9.16.2.24";

// A hostile token may hold any number.
constexpr std::size_t kMostObjects = 200;

// The entries of a SEQUENCE OF.
std::vector<ByteView> entries_of(ByteView sequence) {
    std::vector<ByteView> entries;
    if (const auto outer = DerReader(sequence).next(der_tag::kSequence)) {
        DerReader reader(outer->content);
        while (entries.size() < kMostObjects) {
            const auto entry = reader.next();
            if (!entry) {
                break;
            }
            entries.push_back(entry->whole);
        }
    }
    return entries;
}

void add_certificates(ByteView values, HCERTSTORE store) {
    for (const ByteView der : entries_of(values)) {
        CertAddEncodedCertificateToStore(store, ATL2::kAnyEncoding, octets(der),
                                         static_cast<DWORD>(der.size()),
                                         CERT_STORE_ADD_USE_EXISTING, nullptr);
    }
}

Bytes element(unsigned tag, const Bytes& content) {
    Bytes length;
    for (std::size_t rest = content.size(); rest != 0; rest >>= 8) {
        length.insert(length.begin(), static_cast<std::byte>(rest & 0xFF));
    }
    if (content.size() >= 0x80) {
        length.insert(length.begin(), static_cast<std::byte>(0x80 | length.size()));
    } else if (length.empty()) {
        length.push_back(std::byte{0});
    }
    Bytes whole{static_cast<std::byte>(tag)};
    whole.insert(whole.end(), length.begin(), length.end());
    whole.insert(whole.end(), content.begin(), content.end());
    return whole;
}

// OCSPResponse ::= SEQUENCE { successful, [0] SEQUENCE { id-pkix-ocsp-basic, OCTET STRING } }
// around a BasicOCSPResponse, which is what the attribute holds.
Bytes ocsp_response_of(ByteView basic) {
    constexpr std::array<unsigned char, 3> kSuccessful{0x0A, 0x01, 0x00};
    constexpr std::array<unsigned char, 11> kBasic{0x06, 0x09, 0x2B, 0x06, 0x01, 0x05,
                                                   0x05, 0x07, 0x30, 0x01, 0x01};
    Bytes inner = copy_of(kBasic.data(), kBasic.size());
    const Bytes octet_string = element(der_tag::kOctetString, copy_of(basic));
    inner.insert(inner.end(), octet_string.begin(), octet_string.end());
    const Bytes tagged = element(der_tag::kContext0, element(der_tag::kSequence, inner));
    Bytes whole = copy_of(kSuccessful.data(), kSuccessful.size());
    whole.insert(whole.end(), tagged.begin(), tagged.end());
    return element(der_tag::kSequence, whole);
}

// RevocationValues ::= SEQUENCE { crlVals [0] SEQUENCE OF CertificateList OPTIONAL,
//     ocspVals [1] SEQUENCE OF BasicOCSPResponse OPTIONAL, otherRevVals [2] ... OPTIONAL }
void add_evidence(ByteView values, HCERTSTORE store) {
    const auto outer = DerReader(values).next(der_tag::kSequence);
    DerReader fields(outer ? outer->content : ByteView{});
    while (const auto field = fields.next()) {
        for (const ByteView der : entries_of(field->content)) {
            if (field->tag == der_tag::kContext0) {
                CertAddEncodedCRLToStore(store, ATL2::kAnyEncoding, octets(der),
                                         static_cast<DWORD>(der.size()), CERT_STORE_ADD_ALWAYS,
                                         nullptr);
            } else if (field->tag == der_tag::kContext0 + 1) {
                const Bytes whole = ocsp_response_of(der);
                BasaltAddOcspResponseToStore(store, octets(whole),
                                             static_cast<DWORD>(whole.size()));
            }
        }
    }
}

} // namespace

ATL2::CCertStore token_store(const ATL2::CCryptMsg& message, const SignatureInfo& signature) {
    const auto values = memory_store();
    for (const AttributeInfo& attribute : signature.unsigned_attributes) {
        for (const Bytes& value : attribute.values) {
            if (attribute.oid == kCertificateValues) {
                add_certificates(value, values.get());
            } else if (attribute.oid == kRevocationValues) {
                add_evidence(value, values.get());
            }
        }
    }
    if (!message) {
        return values;
    }
    ATL2::CCertStore own;
    own.Open(CERT_STORE_PROV_MSG, ATL2::kAnyEncoding, 0, 0, message.get());
    return collection_of({&own, &values});
}

} // namespace chronoseal
