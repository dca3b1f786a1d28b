// Verifies a stamp as a whole: token, signer, chain at the stamp's own time.
#pragma once

#include "client/stamp.h"
#include "trust_options.h"

namespace cli {

// Returns when the stamp is good. Throws Failure with the reason in words otherwise.
void verify_stamp(const std::string& doing, const Halcyon::PKI::TSP::Client::CStamp& stamp,
                  Trust& trust);

// Throws Failure when the stamp is an authority's refusal and not a token.
void require_granted(const std::string& doing, const Halcyon::PKI::TSP::Client::CStamp& stamp);

} // namespace cli
