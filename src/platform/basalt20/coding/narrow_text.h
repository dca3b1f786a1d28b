// Wide text of a caller as UTF-8.
#pragma once

#include <basalt/types.h>

#include <string>

namespace basalt {

// Null gives empty text. A value that is no code point becomes U+FFFD.
std::string narrow_text(LPCWSTR text);

} // namespace basalt
