// Text of a generated file: lines with indentation, long ones broken where a careful person would
// break them. Nothing here fails.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace schemac::emit {

class Writer {
public:
    explicit Writer(std::size_t depth = 0) : depth_(depth) {}

    /// One line at the current indentation; an empty one is blank. A line that would go beyond
    /// 100 columns is broken behind a comma or in front of an operator and goes on 4 blanks further
    /// in.
    void line(std::string_view text = {});

    /// A line that ends in `{` and indents what follows.
    void open(std::string_view text);
    /// `}` with `tail` behind it.
    void close(std::string_view tail = {});
    /// `} else ... {`
    void reopen(std::string_view text);
    /// A line one step to the left, as labels and access words have it.
    void label(std::string_view text);

    /// All lines of another writer, as they are.
    void append(const Writer& other) { text_ += other.text_; }

    const std::string& text() const { return text_; }
    bool mentions(std::string_view word) const { return text_.find(word) != std::string::npos; }

private:
    std::string text_;
    std::size_t depth_;
};

/// Joins parts to one text.
template <class... Parts>
std::string cat(const Parts&... parts) {
    std::string result;
    (result.append(parts), ...);
    return result;
}

/// `0x` and eight upper-case digits.
std::string hex(std::uint32_t value);

} // namespace schemac::emit
