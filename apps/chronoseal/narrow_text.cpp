#include "narrow_text.h"

#include "sup/text_conversion.h"

namespace cli {

namespace {

constexpr UINT kUtf8 = 65001;

} // namespace

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

} // namespace cli
