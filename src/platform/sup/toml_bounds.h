// What a text has to keep to before the TOML parser sees it. The parser and the tree that it makes
// go down by recursion, and it bounds the nesting of values but not that of dotted names, nor the
// two together. So the text is walked once here, with the quotes and comments as TOML has them;
// where these can't be told for certain, the text is refused too.
#pragma once

#include <cstddef>
#include <string_view>

namespace basalt {

struct TomlFault {
    std::size_t line = 0; // from 1; 0: none
    std::size_t column = 0;
    const char* text = "";
};

inline constexpr std::size_t kMostTomlDots = 16;     // between the names of one key
inline constexpr std::size_t kMostTomlBrackets = 16; // of arrays and inline tables in each other

TomlFault find_toml_fault(std::string_view text);

} // namespace basalt
