// The closed list of words, and which of them take a value.
#include "schemac/marks.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace schemac {
namespace {

constexpr std::array<std::string_view, 16> words = {
    "raw",   "text", "biguint", "signed",   "unsigned", "unchecked", "dynamic", "inline",
    "array", "list", "tag",     "unsorted", "element",  "pdu",       "type",    "presence"};

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

std::optional<std::uint32_t> Marks::number(std::string_view word, Diagnostics& diagnostics) {
    for (const Annotation& annotation : annotations_) {
        if (annotation.word != word) {
            continue;
        }
        used_.insert(&annotation);
        std::uint32_t result = 0;
        const char* end = annotation.value.data() + annotation.value.size();
        const auto parsed = std::from_chars(annotation.value.data(), end, result);
        if (parsed.ec == std::errc() && parsed.ptr == end) {
            return result;
        }
        diagnostics.error(annotation.place, "expected a number: " + annotation.word + "=n");
    }
    return std::nullopt;
}

void Marks::report_unused(Diagnostics& diagnostics) const {
    for (const Annotation& annotation : annotations_) {
        if (std::find(words.begin(), words.end(), annotation.word) == words.end()) {
            diagnostics.error(annotation.place, "unknown annotation '" + annotation.word + "'");
        } else if (!used_.contains(&annotation)) {
            diagnostics.error(annotation.place,
                              "annotation '" + annotation.word + "' doesn't fit here");
        }
    }
}

} // namespace schemac
