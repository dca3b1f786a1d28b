// Encoded announcements of revocations.
#include <cstdint>

#include "round_trip.h"
#include <chronoseal/asn1/rev_ann_content.h>

using namespace Halcyon;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const CBlob input(data, size);
    round_trip(input, [] {
        const CDateTime date(0L, 0);
        return ASN1::CRevAnnContent(ASN1::pkiStatusGranted, ASN1::CCertId(), date, date);
    });
    return 0;
}
