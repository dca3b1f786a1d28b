// Time-stamp requests, as an authority reads them.
#include "roundtrip.h"
#include <chronoseal/asn1data/pkix_tsp.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return roundtrip::check<asn1data::ASN1T_TimeStampReq, asn1data::ASN1C_TimeStampReq>(data, size);
}
