// The text of one module file, with the way from an offset to line and column. It owns the text;
// places and tokens point into it, so it must outlive them. Nothing here fails.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace schemac {

/// Line and column count from 1; a column is a byte.
struct Position {
    std::uint32_t line = 1;
    std::uint32_t column = 1;
};

class Source {
public:
    Source(std::string path, std::string text);
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;

    const std::string& path() const { return path_; }
    std::string_view text() const { return text_; }

    /// An offset behind the end gives the end's position.
    Position position(std::size_t offset) const;

    /// The file's name without folder and extension: what the generated files are named after.
    std::string stem() const;

private:
    std::string path_;
    std::string text_;
    std::vector<std::size_t> line_starts_;
};

/// A spot in a source. A default one belongs to no source.
struct Place {
    const Source* source = nullptr;
    std::size_t offset = 0;
};

} // namespace schemac
