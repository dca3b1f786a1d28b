// Narrow text to wide text and back, by the system's code page; numbers to decimal text.
#pragma once

#include <string>

namespace Halcyon::ASN1 {

// Throw the platform's last error as a result code if the text can't be converted. A 16-bit text is
// taken one character a unit.
std::string tostring(wchar_t const* text);
std::string tostring(unsigned short const* text);
std::string tostring(int number);
std::wstring towstring(char const* text);
std::wstring towstring(int number);

} // namespace Halcyon::ASN1
