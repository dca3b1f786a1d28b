// The version of the crypto layer, which decides whether its last errors mean anything.
#pragma once

namespace Halcyon::PKI::TSP::Client {

// True for a layer below version 5.0 build 13301, and where none can be asked. Read once for the
// process; any thread may ask.
bool is_old_crypto_layer() noexcept;

} // namespace Halcyon::PKI::TSP::Client
