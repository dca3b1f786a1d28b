#include "asn1/text_width.h"

#include <sstream>

#include "base/atl_exception.h"
#include "sup/text_conversion.h"

namespace Halcyon::ASN1 {

// The sizes that the platform answers count the terminator, which isn't part of the result.

std::string tostring(const wchar_t* text) {
    const int size = WideCharToMultiByte(CP_ACP, 0, text, -1, nullptr, 0, nullptr, nullptr);
    if (size <= 0)
        throwLastError();
    std::string result(static_cast<std::size_t>(size), '\0');
    if (WideCharToMultiByte(CP_ACP, 0, text, -1, result.data(), size, nullptr, nullptr) == 0)
        throwLastError();
    result.pop_back();
    return result;
}

std::string tostring(const unsigned short* text) {
    std::wstring wide;
    for (; *text != 0; ++text)
        wide.push_back(static_cast<wchar_t>(*text));
    return tostring(wide.c_str());
}

std::wstring towstring(const char* text) {
    const int size = MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0);
    if (size <= 0)
        throwLastError();
    std::wstring result(static_cast<std::size_t>(size), L'\0');
    if (MultiByteToWideChar(CP_ACP, 0, text, -1, result.data(), size) == 0)
        throwLastError();
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

} // namespace Halcyon::ASN1
