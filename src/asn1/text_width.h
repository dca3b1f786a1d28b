// Narrow text to wide text and back, by the system's code page; numbers to decimal text.
#pragma once

#include <string>

namespace Halcyon::ASN1 {

// Throw the platform's last error as a result code if the text can't be converted. A 16-bit text is
// taken one character a unit.
std::string tostring(const wchar_t* text);
std::string tostring(const unsigned short* text);
std::string tostring(int number);
std::wstring towstring(const char* text);
std::wstring towstring(int number);

} // namespace Halcyon::ASN1
