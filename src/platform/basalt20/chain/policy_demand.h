// Policies where a certificate demands some (policyConstraints) and offers none: OpenSSL 3.0's
// verifier loses memory over each such certificate, so that a token of them would make a process
// grow. Where none is offered no policy holds for the path, which leaves little to follow, and that
// is done here in the verifier's place. Pure; fails only for lack of memory.
#pragma once

#include <openssl/x509.h>

#include <vector>

namespace basalt {

// From the certificate asked about upward to the anchor, whose own extensions don't count.
bool demands_policies_without_offering(const std::vector<X509*>& path);

struct PolicyFault {
    std::size_t index = 0; // of the certificate at fault
    int error = X509_V_OK; // X509_V_ERR_NO_EXPLICIT_POLICY, X509_V_ERR_INVALID_POLICY_EXTENSION
};

// What the verifier would find on such a path. `is_explicit`: the caller wants a policy to hold.
PolicyFault policy_fault(const std::vector<X509*>& path, bool is_explicit);

} // namespace basalt
