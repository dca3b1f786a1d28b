// The two-call form of WideCharToMultiByte, with a short way for the usual text, which is the same
// in every code page.
#include <basalt/coding/narrow_text.h>

#include <basalt/text_conversion.h>

#include <algorithm>
#include <string_view>

std::string basalt::narrow_text(LPCWSTR text) {
    if (text == nullptr) {
        return {};
    }
    const std::wstring_view wide(text);
    const auto is_ascii = [](wchar_t character) { return character >= 0 && character < 0x80; };
    if (std::all_of(wide.begin(), wide.end(), is_ascii)) {
        std::string narrow(wide.size(), '\0');
        std::transform(wide.begin(), wide.end(), narrow.begin(),
                       [](wchar_t character) { return static_cast<char>(character); });
        return narrow;
    }
    const int size = WideCharToMultiByte(CP_ACP, 0, text, -1, nullptr, 0, nullptr, nullptr);
    if (size <= 1) {
        return {};
    }
    std::string result(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_ACP, 0, text, -1, result.data(), size, nullptr, nullptr);
    result.pop_back();
    return result;
}
