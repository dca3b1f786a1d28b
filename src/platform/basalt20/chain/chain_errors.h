// What an error of OpenSSL's verifier means on this surface: as trust bit of a chain, and as a
// policy's verdict.
#pragma once

#include "sup/types.h"

namespace basalt {

DWORD trust_bit_of(int x509_error);

// A CERT_E_ or TRUST_E_ code, never 0.
DWORD policy_code_of(int x509_error);

} // namespace basalt
