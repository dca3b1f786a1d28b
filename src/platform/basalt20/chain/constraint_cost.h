// What the name constraints and policies of a path take OpenSSL's verifier, or more: what can't be
// read here counts for the most that it could be. Pure.
#pragma once

#include <basalt/chain/path_search.h>

#include <cstddef>

namespace basalt {

// In the budget's comparisons: each name is held against each constraint above it, and each policy
// against the others of its certificate and those of the certificate above.
std::size_t comparisons_for_constraints(const Path& path);

} // namespace basalt
