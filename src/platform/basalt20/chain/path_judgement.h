// What is wrong with one whole path: its constraints by OpenSSL's verifier over exactly these
// certificates, the strength of its signatures and keys, and its validity. Signatures have been
// verified by the search; usages and revocation are judged apart. Pure but for OpenSSL; fails only
// for lack of memory.
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

// Constraints and policies. Of an incomplete path the last certificate counts as the anchor.
// Nothing when its policies have more branches than the verifier follows, so that it can't be told.
std::optional<PathErrors> structure_errors(const Path& path,
                                           const std::vector<std::string>& policies);

// Of each certificate's key and, but for the last one of a path that ends in an anchor, signature.
std::vector<Strength> strengths(const Path& path);

// Each certificate whose time isn't `at`.
std::vector<bool> out_of_time(const Path& path, FileTicks at);

} // namespace basalt
