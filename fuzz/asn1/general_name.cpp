// Encoded general names, as one and as a list. What is read is written in a form that stays the
// same.
#include <cstdint>
#include <cstdlib>

#include "asn1/general_names.h"
#include "base/atl_exception.h"

using namespace Halcyon;

namespace {

template <class Value>
void run(CBlob const& input) {
    try {
        Value value;
        value.decode(input);
        CBlob const der = value.encode();
        Value back;
        back.decode(der);
        if (!(back == value) || back.encode() != der)
            std::abort();
    } catch (ATL::CAtlException const&) {
    }
}

void show(CBlob const& input) {
    try {
        ASN1::CGeneralName name;
        name.decode(input);
        name.toString();
    } catch (ATL::CAtlException const&) {
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    CBlob const input(data, size);
    run<ASN1::CGeneralName>(input);
    run<ASN1::CGeneralNames>(input);
    show(input);
    return 0;
}
