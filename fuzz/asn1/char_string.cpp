// Character strings of all types, read and written. What is read comes back from each type that can
// hold it.
#include <cstdint>
#include <cstdlib>
#include <cwchar>

#include "asn1/char_string.h"
#include "base/atl_exception.h"

using namespace Halcyon;

namespace {

bool fitsIntoEveryType(wchar_t const* text) {
    for (; *text != 0; ++text)
        if (*text < 0 || *text > 0xFFFF || (*text >= 0xD800 && *text < 0xE000))
            return false;
    return true;
}

void run(CBlob const& input) {
    CWStringProxy const text = ASN1::decodeCharString(input);
    for (unsigned int type = ASN1::stringTypeUTF8; type <= ASN1::stringTypeUniversal; ++type) {
        CBlob const der = ASN1::encodeCharString(text.c_str(), static_cast<ASN1::StringType>(type));
        CWStringProxy const back = ASN1::decodeCharString(der);
        if (fitsIntoEveryType(text.c_str()) && std::wcscmp(back.c_str(), text.c_str()) != 0)
            std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    try {
        run(CBlob(data, size));
    } catch (ATL::CAtlException const&) {
    }
    return 0;
}
