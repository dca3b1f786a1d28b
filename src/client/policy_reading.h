// When the policy is read: once for the process, or, under the key "LegacyPolicyReading", for each
// request. Which of the two holds is itself read once. Any thread may ask.
#pragma once

#include <chronoseal/client/request_policy.h>

namespace Halcyon::PKI::TSP::Client {

// True when each request reads a policy of its own. A key that can't be read counts as false.
bool is_legacy_policy_reading() noexcept;

// The policy that all requests of the process share, read at the first call and destroyed at exit.
// Null, for the life of the process, if that reading failed.
const CRequestPolicy* shared_policy() noexcept;

} // namespace Halcyon::PKI::TSP::Client
