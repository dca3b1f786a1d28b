// Encoded contents of CMS and lists of certificates.
#include <cstdint>

#include "round_trip.h"
#include <chronoseal/asn1/certificate_value.h>
#include <chronoseal/asn1/content_info.h>

using namespace Halcyon;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const CBlob input(data, size);
    round_trip<ASN1::CContentInfo>(input);
    round_trip<ASN1::CCertificateValues>(input);
    return 0;
}
