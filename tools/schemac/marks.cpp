// The closed list of words, and which of them take a value.
#include "schemac/marks.h"

#include <algorithm>
#include <array>

namespace schemac {
namespace {

constexpr std::array<std::string_view, 10> kWords = {
    "raw", "text", "biguint", "signed", "unsigned", "dynamic", "tag", "shared", "type", "presence"};

} // namespace

std::optional<std::string> Marks::value(std::string_view word) {
    for (const Annotation& annotation : annotations_) {
        if (annotation.word == word) {
            used_.insert(&annotation);
            return annotation.value;
        }
    }
    return std::nullopt;
}

void Marks::report_unused(Diagnostics& diagnostics) const {
    for (const Annotation& annotation : annotations_) {
        if (std::find(kWords.begin(), kWords.end(), annotation.word) == kWords.end()) {
            diagnostics.error(annotation.place, "unknown annotation '" + annotation.word + "'");
        } else if (!used_.contains(&annotation)) {
            diagnostics.error(annotation.place,
                              "annotation '" + annotation.word + "' doesn't fit here");
        }
    }
}

} // namespace schemac
