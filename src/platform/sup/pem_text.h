// PEM (RFC 7468, read leniently): where the blocks of a text are. A block counts where it begins a
// line, behind blanks at most, since what somebody has commented out isn't meant; or right behind
// the block before it. What is damaged is told, not passed over. Views into the text, which must
// outlive them; fails never.
#pragma once

#include <basalt/visibility.h>

#include <optional>
#include <string_view>

namespace basalt {

struct PemText {
    std::string_view label;  // "CERTIFICATE"
    std::string_view base64; // behind header lines; not decoded
    bool is_whole = false;   // its end isn't lost
};

class PemReader {
public:
    explicit PemReader(std::string_view text) : text_(text) {}

    // The next block, or none.
    BASALT_API std::optional<PemText> next();

private:
    std::string_view text_;
    std::size_t from_ = 0;
};

// Whether the bytes begin with an element of DER or BER, whatever text that holds: they are no PEM.
BASALT_API bool begins_as_sequence(std::string_view bytes);

} // namespace basalt
