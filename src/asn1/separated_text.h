// Texts that consist of pieces with a separator character between them, which can't be quoted.
#pragma once

#include <string>
#include <string_view>

namespace Halcyon::ASN1 {

// Calls `take` with each piece in order, terminated; an empty text has one empty piece.
template <class Take>
void splitText(std::wstring_view text, wchar_t separator, Take&& take) {
    for (std::size_t start = 0;;) {
        const std::size_t end = text.find(separator, start);
        take(std::wstring(text.substr(start, end - start)).c_str());
        if (end == std::wstring_view::npos)
            return;
        start = end + 1;
    }
}

// The `toString` of the elements with the separator between them.
template <class List>
std::wstring joinText(const List& list, wchar_t separator) {
    std::wstring text;
    for (const auto& element : list) {
        if (&element != &list.front())
            text += separator;
        text += element.toString().c_str();
    }
    return text;
}

} // namespace Halcyon::ASN1
