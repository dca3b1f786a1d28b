// What a handle of shared fetching stands for. Handles lead here through a register, so that a
// handle of nothing is never touched.
#pragma once

#include <basalt/chain.h>
#include <basalt/revocation/fetching.h>

#include <memory>

namespace basalt {

HBASALT_FETCHING create_fetching();

// Handles of nothing are passed over.
void free_fetching(HBASALT_FETCHING handle);

// Null for null. Fault ERROR_INVALID_HANDLE.
std::shared_ptr<Fetching> fetching_of(HBASALT_FETCHING handle);

} // namespace basalt
