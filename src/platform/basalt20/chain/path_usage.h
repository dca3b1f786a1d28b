// What a path may be used for, by the extended key usages of its certificates: a stamper's, and
// those of the authorities above. Pure but for the budget that looking is taken from.
#pragma once

#include <basalt/chain/path_search.h>

#include <string>
#include <vector>

namespace basalt {

struct UsageQuestion {
    std::vector<std::string> usages; // OIDs; empty asks for none
    bool any_of_them = false;
    bool is_time_stamp = false; // the signer's sole usage, critical, and no CA
};

// What is asked of those above the first certificate.
UsageQuestion asked_of_authorities(const UsageQuestion& question);
bool asks_the_same_of_authorities(const UsageQuestion& one, const UsageQuestion& other);

// Whether every path that is right for one use is right for the other, too.
bool implies(const UsageQuestion& one, const UsageQuestion& other);

// What it takes to look through the usages of the certificates.
std::size_t comparisons_for_usages(const Path& path);

// Authorities that may be used for nothing of the kind, or aren't any, by their own word. What it
// takes to look is taken from the budget, which must outlive it.
PathSearch::Bar bar_for(const UsageQuestion& question, Budget& budget);

// Each certificate that may not be used so.
std::vector<bool> misused(const Path& path, const UsageQuestion& question);

} // namespace basalt
