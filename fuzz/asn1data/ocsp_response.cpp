// Answers about a certificate's status.
#include "asn1data/ocsp.h"
#include "roundtrip.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return roundtrip::check<asn1data::ASN1T_OCSPResponse, asn1data::ASN1C_OCSPResponse>(data, size);
}
