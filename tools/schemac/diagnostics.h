// The errors of a run, gathered so that all of them can be told at once. It owns the texts.
#pragma once

#include <string>
#include <vector>

#include "schemac/source.h"

namespace schemac {

class Diagnostics {
public:
    void error(Place place, const std::string& text);

    bool empty() const { return entries_.empty(); }

    /// One line `file:line:col: text` an error, by file in the order of first mention, then by
    /// position. An error that was told twice for one spot appears once.
    std::string report() const;

private:
    struct Entry {
        Place place;
        std::string text;
    };
    std::vector<Entry> entries_;
};

} // namespace schemac
