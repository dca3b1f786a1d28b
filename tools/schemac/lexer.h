// Tokens of an ASN.1 module. Comments vanish, but for the annotations `--@ word=value`, which are
// kept beside the tokens with the line they stand on. A byte that begins no token is reported and
// skipped, so that the result is always a whole list with an end token.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "schemac/diagnostics.h"
#include "schemac/source.h"

namespace schemac {

enum class TokenKind {
    upper,  ///< begins with a capital or `_`: a type, class, module or keyword
    lower,  ///< begins with a small letter: a value or identifier
    number, ///< decimal digits, `value` holds them
    text,   ///< "..." with its quotes
    bits,   ///< '...'B or '...'H with its quotes
    symbol, ///< punctuation; `::=`, `..`, `...`, `[[` and `]]` are one token each
    end,    ///< behind the last token
};

struct Token {
    TokenKind kind = TokenKind::end;
    std::string_view text;
    std::size_t offset = 0;
    std::int64_t value = 0;
};

struct Annotation {
    std::string word;
    std::string value;
    Place place;
    std::uint32_t line = 0;
};

struct TokenList {
    std::vector<Token> tokens; ///< the last one is the end token
    std::vector<Annotation> annotations;
};

/// The words of the notation: no definition may be named after one.
bool is_keyword(std::string_view name);

TokenList scan(const Source& source, Diagnostics& diagnostics);

} // namespace schemac
