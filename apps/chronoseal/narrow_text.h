// Text between the library's wide form and UTF-8. Characters that have no other form become U+FFFD.
#pragma once

#include <string>
#include <string_view>

namespace cli {

std::string narrow(std::wstring_view text);
std::wstring wide(std::string_view text);

} // namespace cli
