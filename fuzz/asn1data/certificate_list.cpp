// Certificate lists, parsed.
#include "roundtrip.h"
#include <chronoseal/asn1data/pkix1_explicit.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return roundtrip::check<asn1data::ASN1T_CertificateListLegacy,
                            asn1data::ASN1C_CertificateListLegacy>(data, size);
}
