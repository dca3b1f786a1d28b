// Encoded distribution points, access descriptions and policies.
#include <cstdint>

#include "round_trip.h"
#include <chronoseal/asn1/access_description.h>
#include <chronoseal/asn1/distribution_point.h>
#include <chronoseal/asn1/policy_information.h>

using namespace Halcyon;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const CBlob input(data, size);
    round_trip<ASN1::CDistributionPoint>(input);
    round_trip<ASN1::CDistributionPointName>(input);
    round_trip<ASN1::CCRLDistPointsSyntax>(input);
    round_trip<ASN1::CAuthorityInfoAccessSyntax>(input);
    round_trip<ASN1::CPolicyInformation>(input);
    return 0;
}
