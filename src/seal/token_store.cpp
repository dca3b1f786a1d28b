// Gathering of a token's own certificates and evidence.
#include <chronoseal/seal/token_store.h>

#include <algorithm>
#include <utility>

#include <chronoseal/atl/platform_answer.h>
#include <chronoseal/seal/der_element.h>
#include <chronoseal/seal/platform_text.h>
#include <chronoseal/seal/trust_store.h>

namespace chronoseal {

namespace {

constexpr std::string_view kCertificateValues = "1.2.840.113549.1.9.16.2.23";

// A hostile token may hold any number; whoever looks for a way up tries the likeliest first.
constexpr std::size_t kMostObjects = 4096;

// Adds the entries of a SEQUENCE OF certificates, each whatever others have its number; false when
// some were left out.
bool add_certificates(ByteView values, HCERTSTORE store, std::size_t& added) {
    const auto outer = DerReader(values).next(der_tag::kSequence);
    if (!outer) {
        return true;
    }
    DerReader reader(outer->content);
    while (const auto entry = reader.next()) {
        if (++added > kMostObjects) {
            return false;
        }
        CertAddEncodedCertificateToStore(store, ATL2::kAnyEncoding, octets(entry->whole),
                                         static_cast<DWORD>(entry->whole.size()),
                                         CERT_STORE_ADD_ALWAYS, nullptr);
    }
    return true;
}

} // namespace

TokenStore token_store(const ATL2::CCryptMsg& message, const SignatureInfo& signature) {
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
        return {std::move(own)};
    }
    TokenStore found;
    std::size_t added = 0;
    auto values = memory_store();
    for (const AttributeInfo& attribute : signature.unsigned_attributes) {
        for (const Bytes& value : attribute.values) {
            if (attribute.oid == kCertificateValues) {
                found.is_whole = add_certificates(value, values.get(), added) && found.is_whole;
            }
        }
    }
    found.store = message ? collection_of({&own, &values}) : values;
    return found;
}

} // namespace chronoseal
