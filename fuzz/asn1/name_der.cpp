// Encoded names. What is read is written in a form that stays the same from then on, and can be
// shown.
#include <cstdint>
#include <cstdlib>

#include <chronoseal/asn1/name.h>
#include <chronoseal/base/atl_exception.h>

using namespace Halcyon;

namespace {

void run(const CBlob& input) {
    ASN1::CName name;
    name.decode(input);
    const CBlob der = name.encode();
    ASN1::CName back;
    back.decode(der);
    if (back.encode() != der) {
        std::abort();
    }
    back.toString();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        run(CBlob(data, size));
    } catch (const ATL::CAtlException&) {
    }
    return 0;
}
