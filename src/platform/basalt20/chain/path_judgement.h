// What is wrong with one whole path: its constraints by OpenSSL's verifier over exactly these
// certificates, the strength of its signatures and keys, its validity, and its usages. Signatures
// have been verified by the search, revocation is judged behind this. Pure but for OpenSSL; fails
// only for lack of memory.
#pragma once

#include <basalt/certificate/strength.h>
#include <basalt/chain/path_search.h>

#include <optional>
#include <string>

namespace basalt {

// X509_V_ERR numbers for each certificate of a path.
using PathErrors = std::vector<std::vector<int>>;

// That somebody above has no say about a certificate's names, or that it can't be told.
bool is_about_names(int error);

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

struct PathQuestion {
    std::vector<std::string> policies; // OIDs, the initial set; empty: any
    StrengthLevel strength = StrengthLevel::floor;
    UsageQuestion usage;
};

// Constraints and policies. Of an incomplete path the last certificate counts as the anchor.
// Nothing when its policies have more branches than the verifier follows, so that it can't be told.
std::optional<PathErrors> structure_errors(const Path& path,
                                           const std::vector<std::string>& policies);

// What the name constraints and policies of the path take the verifier, in the budget's
// comparisons: each name is held against each constraint above it, and each policy against the
// others of its certificate and those of the certificate above.
std::size_t comparisons_for_constraints(const Path& path);

// What it takes to look through the usages of its certificates.
std::size_t comparisons_for_usages(const Path& path);

// Of each certificate's key and, but for the last one of a path that ends in an anchor, signature.
std::vector<Strength> strengths(const Path& path);

// Each certificate whose time isn't `at`.
std::vector<bool> out_of_time(const Path& path, FileTicks at);

// Authorities that may be used for nothing of the kind, or aren't any, by their own word. What it
// takes to look is taken from the budget, which must outlive it.
PathSearch::Bar bar_for(const UsageQuestion& question, Budget& budget);

// Each certificate that may not be used so.
std::vector<bool> misused(const Path& path, const UsageQuestion& question);

} // namespace basalt
