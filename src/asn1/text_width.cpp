#include <chronoseal/asn1/text_width.h>

#include <cwchar>
#include <sstream>

#include <basalt/text_conversion.h>
#include <chronoseal/asn1/heap_copy.h>
#include <chronoseal/asn1rt/character_text.h>
#include <chronoseal/base/atl_exception.h>

namespace Halcyon::ASN1 {

// The sizes that the platform answers count the terminator, which isn't part of the result.

std::string tostring(const wchar_t* text) {
    const int size = WideCharToMultiByte(CP_ACP, 0, text, -1, nullptr, 0, nullptr, nullptr);
    if (size <= 0) {
        throw_last_error();
    }
    std::string result(static_cast<std::size_t>(size), '\0');
    if (WideCharToMultiByte(CP_ACP, 0, text, -1, result.data(), size, nullptr, nullptr) == 0) {
        throw_last_error();
    }
    result.pop_back();
    return result;
}

std::string tostring(const unsigned short* text) {
    std::wstring wide;
    for (; *text != 0; ++text) {
        wide.push_back(static_cast<wchar_t>(*text));
    }
    return tostring(wide.c_str());
}

std::wstring towstring(const char* text) {
    const int size = MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0);
    if (size <= 0) {
        throw_last_error();
    }
    std::wstring result(static_cast<std::size_t>(size), L'\0');
    if (MultiByteToWideChar(CP_ACP, 0, text, -1, result.data(), size) == 0) {
        throw_last_error();
    }
    result.pop_back();
    return result;
}

std::string tostring(int number) {
    std::ostringstream out;
    out << number;
    return out.str();
}

std::wstring towstring(int number) {
    return towstring(tostring(number).c_str());
}

const char* utf8_from_wide(ASN1CTXT* ctxt, const wchar_t* text) {
    const std::size_t length = std::wcslen(text);
    std::size_t size = 1;
    for (std::size_t i = 0; i < length; ++i) {
        size += static_cast<std::size_t>(rtUTF8CharSize(static_cast<std::uint32_t>(text[i])));
    }
    auto* const utf8 = static_cast<char*>(heap_block(ctxt, size));
    return rtWCSToUTF8(ctxt, text, length + 1, utf8, size) < 0 ? nullptr : utf8;
}

std::optional<std::wstring> wide_from_utf8(ASN1CTXT* ctxt, const char* text) {
    const int length = rtUTF8Len(text);
    if (length < 0) {
        return std::nullopt;
    }
    std::wstring wide(static_cast<std::size_t>(length) + 1, L'\0');
    const int written = rtUTF8ToWCS(ctxt, text, wide.data(), wide.size());
    if (written < 0) {
        return std::nullopt;
    }
    wide.resize(static_cast<std::size_t>(written));
    return wide;
}

} // namespace Halcyon::ASN1
