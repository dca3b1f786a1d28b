// Management messages, nested ones included.
#include "roundtrip.h"
#include <chronoseal/asn1data/pkix_cmp.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return roundtrip::check<asn1data::ASN1T_PKIMessage, asn1data::ASN1C_PKIMessage>(data, size);
}
