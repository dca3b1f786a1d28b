// UTF-8 on a context's heap from wide text, and back. Unlike the platform's conversion this is the
// run-time's scheme of up to six bytes a character.
#pragma once

#include <optional>
#include <string>

struct ASN1CTXT;

namespace Halcyon::ASN1 {

// Null if a character can't be converted. Throws 0x80093106 without memory.
const char* utf8FromWide(ASN1CTXT* ctxt, const wchar_t* text);

// Nothing if the text isn't UTF-8. The context only keeps the status.
std::optional<std::wstring> wideFromUtf8(ASN1CTXT* ctxt, const char* text);

} // namespace Halcyon::ASN1
