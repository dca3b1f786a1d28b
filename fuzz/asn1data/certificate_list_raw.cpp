// Certificate lists in one piece.
#include "roundtrip.h"
#include <chronoseal/asn1data/pkix1_explicit.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return roundtrip::check<asn1data::ASN1T_CertificateList, asn1data::ASN1C_CertificateList>(data,
                                                                                              size);
}
