// Time-stamp responses with the token in one piece.
#include "roundtrip.h"
#include <chronoseal/asn1data/pkix_tsp.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return roundtrip::check<asn1data::ASN1T_TimeStampRespRaw, asn1data::ASN1C_TimeStampRespRaw>(
        data, size);
}
