// Conversions of text and bytes.
#include <chronoseal/seal/platform_text.h>

#include <basalt/error_codes.h>
#include <basalt/text_conversion.h>

namespace chronoseal {

namespace {

constexpr UINT kUtf8 = 65001;

} // namespace

std::wstring wide(std::string_view text) {
    const int length = static_cast<int>(text.size());
    const int size =
        length == 0 ? 0 : MultiByteToWideChar(kUtf8, 0, text.data(), length, nullptr, 0);
    std::wstring result(static_cast<std::size_t>(size), L'\0');
    if (size != 0) {
        MultiByteToWideChar(kUtf8, 0, text.data(), length, result.data(), size);
    }
    return result;
}

std::string narrow(std::wstring_view text) {
    const int length = static_cast<int>(text.size());
    const int size = length == 0 ? 0
                                 : WideCharToMultiByte(kUtf8, 0, text.data(), length, nullptr, 0,
                                                       nullptr, nullptr);
    std::string result(static_cast<std::size_t>(size), '\0');
    if (size != 0) {
        WideCharToMultiByte(kUtf8, 0, text.data(), length, result.data(), size, nullptr, nullptr);
    }
    return result;
}

Halcyon::CBlob blob_of(ByteView bytes) {
    if (bytes.size() > 0x7FFFFFFF) {
        throw error_of_code(CRYPT_E_ASN1_LARGE);
    }
    return Halcyon::CBlob(octets(bytes), bytes.size());
}

} // namespace chronoseal
