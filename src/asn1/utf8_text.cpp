#include "asn1/utf8_text.h"

#include <cwchar>

#include "asn1/heap_copy.h"
#include "asn1rt/character_text.h"

namespace Halcyon::ASN1 {

const char* utf8FromWide(ASN1CTXT* ctxt, const wchar_t* text) {
    const std::size_t length = std::wcslen(text);
    std::size_t size = 1;
    for (std::size_t i = 0; i < length; ++i)
        size += static_cast<std::size_t>(rtUTF8CharSize(static_cast<std::uint32_t>(text[i])));
    auto* const utf8 = static_cast<char*>(heapBlock(ctxt, size));
    return rtWCSToUTF8(ctxt, text, length + 1, utf8, size) < 0 ? nullptr : utf8;
}

std::optional<std::wstring> wideFromUtf8(ASN1CTXT* ctxt, const char* text) {
    const int length = rtUTF8Len(text);
    if (length < 0)
        return std::nullopt;
    std::wstring wide(static_cast<std::size_t>(length) + 1, L'\0');
    const int written = rtUTF8ToWCS(ctxt, text, wide.data(), wide.size());
    if (written < 0)
        return std::nullopt;
    wide.resize(static_cast<std::size_t>(written));
    return wide;
}

} // namespace Halcyon::ASN1
