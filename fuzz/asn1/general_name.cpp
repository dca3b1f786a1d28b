// Encoded general names, as one and as a list. What is read is written in a form that stays the
// same.
#include <cstdint>
#include <cstdlib>

#include <chronoseal/asn1/general_name.h>
#include <chronoseal/base/atl_exception.h>

using namespace Halcyon;

namespace {

template <class Value>
void run(const CBlob& input) {
    try {
        Value value;
        value.decode(input);
        const CBlob der = value.encode();
        Value back;
        back.decode(der);
        if (!(back == value) || back.encode() != der) {
            std::abort();
        }
    } catch (const ATL::CAtlException&) {
    }
}

void show(const CBlob& input) {
    try {
        ASN1::CGeneralName name;
        name.decode(input);
        name.toString();
    } catch (const ATL::CAtlException&) {
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const CBlob input(data, size);
    run<ASN1::CGeneralName>(input);
    run<ASN1::CGeneralNames>(input);
    show(input);
    return 0;
}
