// Certification requests.
#include "roundtrip.h"
#include <chronoseal/asn1data/pkcs10.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return roundtrip::check<asn1data::ASN1T_CertificationRequest,
                            asn1data::ASN1C_CertificationRequest>(data, size);
}
