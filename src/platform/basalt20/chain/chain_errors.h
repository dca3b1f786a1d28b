// What an error of OpenSSL's verifier means on this surface: as trust bit of a chain, and as a
// policy's verdict.
#pragma once

#include <basalt/error_codes.h>
#include <basalt/revocation/status_check.h>
#include <basalt/types.h>

namespace basalt {

// More lay at hand than may be looked at: nothing is known to be good, nor to be bad.
inline constexpr DWORD kTooCostly = TRUST_E_SYSTEM_ERROR;

DWORD trust_bit_of(int x509_error);

// A CERT_E_ or TRUST_E_ code, never 0.
DWORD policy_code_of(int x509_error);

// Why nothing is known of a certificate's revocation: CRYPT_E_NO_REVOCATION_CHECK when there is
// nothing to ask, what was said doesn't cover every reason, or it is disputed; kTooCostly when not
// all that lay at hand could be looked at; else CRYPT_E_REVOCATION_OFFLINE.
DWORD code_of_unknown(const StatusFinding& finding);

} // namespace basalt
