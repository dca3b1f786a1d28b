// Sorting and printing of the gathered errors.
#include "schemac/diagnostics.h"

#include <algorithm>
#include <map>

namespace schemac {

void Diagnostics::error(Place place, const std::string& text) {
    entries_.push_back({place, text});
}

std::string Diagnostics::report() const {
    std::map<const Source*, std::size_t> rank;
    for (const Entry& entry : entries_) {
        rank.emplace(entry.place.source, rank.size());
    }
    std::vector<Entry> sorted = entries_;
    std::stable_sort(sorted.begin(), sorted.end(), [&](const Entry& a, const Entry& b) {
        const auto ra = rank.at(a.place.source);
        const auto rb = rank.at(b.place.source);
        return ra != rb ? ra < rb : a.place.offset < b.place.offset;
    });
    std::string result;
    std::string previous;
    for (const Entry& entry : sorted) {
        std::string line;
        if (entry.place.source != nullptr) {
            const Position at = entry.place.source->position(entry.place.offset);
            line = entry.place.source->path() + ":" + std::to_string(at.line) + ":" +
                   std::to_string(at.column) + ": ";
        }
        line += entry.text + "\n";
        if (line != previous) {
            result += line;
        }
        previous = line;
    }
    return result;
}

} // namespace schemac
