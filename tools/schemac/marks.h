// The annotations of one definition, ticked off as the resolver makes use of them. What is left
// over at the end didn't fit and is reported.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "schemac/diagnostics.h"
#include "schemac/syntax.h"

namespace schemac {

class Marks {
public:
    explicit Marks(const syntax::Annotations& annotations) : annotations_(annotations) {}

    /// True when the word is there; it is then used up.
    bool take(std::string_view word) { return value(word).has_value(); }

    /// The text behind `word=`, empty for the bare word; nothing when the word isn't there.
    std::optional<std::string> value(std::string_view word);

    void report_unused(Diagnostics& diagnostics) const;

private:
    const syntax::Annotations& annotations_;
    std::set<const Annotation*> used_;
};

} // namespace schemac
