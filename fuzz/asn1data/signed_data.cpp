// Signed data without its wrapper.
#include "roundtrip.h"
#include <chronoseal/asn1data/cryptographic_message_syntax.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return roundtrip::check<asn1data::ASN1T_SignedData, asn1data::ASN1C_SignedData>(data, size);
}
