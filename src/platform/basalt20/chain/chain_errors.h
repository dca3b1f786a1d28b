// What an error of OpenSSL's verifier means on this surface: as trust bit of a chain, and as a
// policy's verdict.
#pragma once

#include <basalt/revocation/status_check.h>
#include <basalt/types.h>

namespace basalt {

DWORD trust_bit_of(int x509_error);

// A CERT_E_ or TRUST_E_ code, never 0.
DWORD policy_code_of(int x509_error);

// Why nothing is known of a certificate's revocation: CRYPT_E_NO_REVOCATION_CHECK when there is
// nothing to ask, or what was said doesn't cover every reason; else CRYPT_E_REVOCATION_OFFLINE.
DWORD code_of_unknown(UnknownCause cause);

} // namespace basalt
