// Chain engines: what a handle stands for. The common engine (null and 1) goes by the process and
// the configuration tree, anew for each chain; one's own by its record. Handles lead here through a
// register, so that a handle of no engine is never touched.
#pragma once

#include <basalt/chain.h>
#include <basalt/chain/chain_settings.h>

namespace basalt {

// Faults E_INVALIDARG, and ERROR_INVALID_HANDLE for a store that isn't open.
HCERTCHAINENGINE create_engine(const CERT_CHAIN_ENGINE_CONFIG& config);

void free_engine(HCERTCHAINENGINE handle);

// Fault ERROR_INVALID_HANDLE.
ChainSettings settings_of(HCERTCHAINENGINE handle);

} // namespace basalt
