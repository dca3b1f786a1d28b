// The text form of names. What parses and can be encoded is read back to the same encoding, and
// then to the same text again.
#include <cstdint>
#include <cstdlib>
#include <cwchar>
#include <stdexcept>
#include <string>

#include "asn1/name.h"
#include "asn1/text_width.h"
#include "base/atl_exception.h"

using namespace Halcyon;

namespace {

void run(wchar_t const* text) {
    ASN1::CName const name(text);
    CBlob const der = name.encode();
    ASN1::CName back;
    back.decode(der);
    if (back.encode() != der)
        std::abort();
    ASN1::CName const again(back.toString().c_str());
    if (std::wcscmp(again.toString().c_str(), back.toString().c_str()) != 0)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string const text(reinterpret_cast<char const*>(data), size);
    try {
        run(ASN1::towstring(text.c_str()).c_str());
    } catch (ATL::CAtlException const&) {
    } catch (std::out_of_range const&) {
        // An unregistered type without a value.
    }
    return 0;
}
