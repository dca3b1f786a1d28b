// The text form of names. What parses and can be encoded is read back to the same encoding, and
// then to the same text again.
#include <cstdint>
#include <cstdlib>
#include <cwchar>
#include <stdexcept>
#include <string>

#include <chronoseal/asn1/name.h>
#include <chronoseal/asn1/text_width.h>
#include <chronoseal/base/atl_exception.h>

using namespace Halcyon;

namespace {

void run(const wchar_t* text) {
    const ASN1::CName name(text);
    const CBlob der = name.encode();
    ASN1::CName back;
    back.decode(der);
    if (back.encode() != der) {
        std::abort();
    }
    const ASN1::CName again(back.toString().c_str());
    if (std::wcscmp(again.toString().c_str(), back.toString().c_str()) != 0) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    try {
        run(ASN1::towstring(text.c_str()).c_str());
    } catch (const ATL::CAtlException&) {
    } catch (const std::out_of_range&) {
        // An unregistered type without a value.
    }
    return 0;
}
