// Signed messages of any bytes: what is read comes back as it was, an attribute goes into the
// signer that was meant, and OpenSSL reads what it has read before.
#include <cstdint>
#include <cstdlib>

#include <chronoseal/chronoseal.hpp>
#include <chronoseal/seal/signed_data_parts.h>

#include "cms_reader.h"

namespace {

using namespace chronoseal;
using fuzzing::require;

void write_into(const CmsSignature& signature, ByteView der) {
    const auto before = fuzzing::signatures_by_openssl(der);
    SignedDataParts parts(der);
    const std::size_t signer = der.size() % signature.signers();
    const auto octets = bytes_of(std::string_view("\x30\x03\x02\x01\x05", 5));
    std::size_t attributes = 0;
    try {
        attributes = parts.unsigned_attributes(signer).size();
        parts.add_unsigned_attribute(signer, kSignatureTimeStamp, octets);
    } catch (const Error& error) {
        require(error.word() == "malformed");
        return;
    }
    const Bytes changed = parts.encode();
    const SignedDataParts again(changed);
    require(again.signers() == signature.signers());
    require(again.unsigned_attributes(signer).size() == attributes + 1);
    require(again.certificates().size() == parts.certificates().size());
    if (before) {
        require(fuzzing::signatures_by_openssl(changed) == before);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ::setenv("BASALT_CONFIG", "/dev/null", 1);
    try {
        const auto signature = CmsSignature::read(std::as_bytes(std::span(data, size)));
        const Bytes encoded = signature.encoded();
        require(CmsSignature::read(encoded).encoded() == encoded);
        for (std::size_t i = 0; i < std::min<std::size_t>(signature.signers(), 4); ++i) {
            try {
                signature.check(i);
            } catch (const Error& error) {
                require(!error.word().empty());
            }
        }
        const Bytes der = inspect(encoded).der;
        write_into(signature, der);
    } catch (const Error& error) {
        require(!error.word().empty() && error.text().find('\x1b') == std::string::npos);
    }
    return 0;
}
