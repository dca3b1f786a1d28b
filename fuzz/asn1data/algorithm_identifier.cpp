// Algorithm identifiers with parameters of every known kind.
#include "roundtrip.h"
#include <chronoseal/asn1data/pkix1_explicit.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return roundtrip::check<asn1data::ASN1T_AlgorithmIdentifier,
                            asn1data::ASN1C_AlgorithmIdentifier>(data, size);
}
