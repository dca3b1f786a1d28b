// Lines are found once, at construction.
#include "schemac/source.h"

#include <algorithm>
#include <utility>

namespace schemac {

Source::Source(std::string path, std::string text)
    : path_(std::move(path)), text_(std::move(text)), line_starts_{0} {
    for (std::size_t i = 0; i < text_.size(); ++i) {
        if (text_[i] == '\n') {
            line_starts_.push_back(i + 1);
        }
    }
}

Position Source::position(std::size_t offset) const {
    offset = std::min(offset, text_.size());
    const auto next = std::upper_bound(line_starts_.begin(), line_starts_.end(), offset);
    const auto line = static_cast<std::size_t>(next - line_starts_.begin());
    return {static_cast<std::uint32_t>(line),
            static_cast<std::uint32_t>(offset - line_starts_[line - 1] + 1)};
}

std::string Source::stem() const {
    const std::size_t slash = path_.find_last_of('/');
    std::string name = slash == std::string::npos ? path_ : path_.substr(slash + 1);
    const std::size_t dot = name.find_last_of('.');
    return dot == std::string::npos ? name : name.substr(0, dot);
}

} // namespace schemac
