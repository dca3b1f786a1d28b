// The two-call form of WideCharToMultiByte.
#include "basalt20/narrow_text.h"

#include "sup/text_conversion.h"

std::string basalt::narrow_text(LPCWSTR text) {
    if (text == nullptr) {
        return {};
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
