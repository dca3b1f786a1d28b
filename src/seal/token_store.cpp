// Gathering of a token's own certificates and evidence.
#include <chronoseal/seal/token_store.h>

#include <algorithm>

#include <chronoseal/atl/platform_answer.h>
#include <chronoseal/seal/der_element.h>
#include <chronoseal/seal/platform_text.h>
#include <chronoseal/seal/trust_store.h>

namespace chronoseal {

namespace {

constexpr std::string_view kCertificateValues = "1.2.840.113549.1.9.16.2.23";

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

} // namespace

ATL2::CCertStore token_store(const ATL2::CCryptMsg& message, const SignatureInfo& signature) {
    // Lists and answers, those of revocationValues among them, are read by the platform.
    ATL2::CCertStore own;
    if (message) {
        own.Open(CERT_STORE_PROV_MSG, ATL2::kAnyEncoding, 0, 0, message.get());
    }
    const bool has_values =
        std::ranges::any_of(signature.unsigned_attributes, [](const AttributeInfo& attribute) {
            return attribute.oid == kCertificateValues;
        });
    if (message && !has_values) {
        return own;
    }
    auto values = memory_store();
    for (const AttributeInfo& attribute : signature.unsigned_attributes) {
        for (const Bytes& value : attribute.values) {
            if (attribute.oid == kCertificateValues) {
                add_certificates(value, values.get());
            }
        }
    }
    return message ? collection_of({&own, &values}) : values;
}

} // namespace chronoseal
