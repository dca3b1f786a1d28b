// Narrow text to wide text and back: by the system's code page, and as UTF-8 by the run-time's
// scheme of up to six bytes a character; numbers to decimal text.
#pragma once

#include <optional>
#include <string>

struct ASN1CTXT;

namespace Halcyon::ASN1 {

// Throw the platform's last error as a result code if the text can't be converted. A 16-bit text is
// taken one character a unit.
std::string tostring(const wchar_t* text);
std::string tostring(const unsigned short* text);
std::string tostring(int number);
std::wstring towstring(const char* text);
std::wstring towstring(int number);

// UTF-8 on a context's heap, or null if a character can't be converted. Throws 0x80093106 without
// memory.
const char* utf8_from_wide(ASN1CTXT* ctxt, const wchar_t* text);
// Nothing if the text isn't UTF-8. The context only keeps the status.
std::optional<std::wstring> wide_from_utf8(ASN1CTXT* ctxt, const char* text);

} // namespace Halcyon::ASN1
