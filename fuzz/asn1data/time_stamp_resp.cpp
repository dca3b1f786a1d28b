// Time-stamp responses with a decoded token.
#include "roundtrip.h"
#include <chronoseal/asn1data/pkix_tsp.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return roundtrip::check<asn1data::ASN1T_TimeStampResp, asn1data::ASN1C_TimeStampResp>(data,
                                                                                          size);
}
