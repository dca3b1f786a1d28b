// Character strings of all types, read and written. What is read comes back from each type that can
// hold it.
#include <cstdint>
#include <cstdlib>
#include <cwchar>

#include <chronoseal/asn1/char_string.h>
#include <chronoseal/base/atl_exception.h>

using namespace Halcyon;

namespace {

bool fits_into_every_type(const wchar_t* text) {
    for (; *text != 0; ++text) {
        if (*text < 0 || *text > 0xFFFF || (*text >= 0xD800 && *text < 0xE000)) {
            return false;
        }
    }
    return true;
}

void run(const CBlob& input) {
    const CWStringProxy text = ASN1::decodeCharString(input);
    for (unsigned int type = ASN1::stringTypeUTF8; type <= ASN1::stringTypeUniversal; ++type) {
        const CBlob der = ASN1::encodeCharString(text.c_str(), static_cast<ASN1::StringType>(type));
        const CWStringProxy back = ASN1::decodeCharString(der);
        if (fits_into_every_type(text.c_str()) && std::wcscmp(back.c_str(), text.c_str()) != 0) {
            std::abort();
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        run(CBlob(data, size));
    } catch (const ATL::CAtlException&) {
    }
    return 0;
}
