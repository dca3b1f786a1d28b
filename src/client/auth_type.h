// The HTTP authentication schemes of a request.
#pragma once

namespace Halcyon::PKI::TSP::Client {

enum enumAuthTypes : unsigned int {
    AuthAnonymous = 0,
    AuthBasic = 1,
    AuthNTLM = 2,
    AuthDigest = 8,
    AuthNegotiate = 16,
};

} // namespace Halcyon::PKI::TSP::Client
