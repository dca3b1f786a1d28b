// Answers about a certificate's status.
#include "roundtrip.h"
#include <chronoseal/asn1data/ocsp.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return roundtrip::check<asn1data::ASN1T_OCSPResponse, asn1data::ASN1C_OCSPResponse>(data, size);
}
