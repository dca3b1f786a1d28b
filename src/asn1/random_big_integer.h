// MakeRandomBigInteger: the source of nonces. Random bytes come from a provider of the platform.
#pragma once

#include "asn1/big_integer.h"

namespace Halcyon::ASN1 {

// `size` random bytes, as they come: the top bit isn't cleared (see `CBigInteger::abs`) and a first
// byte of zero stays. `hProv` is a provider handle that stays the caller's; 0 takes a provider of
// its own for the call (type 75, verification only). Throws the platform's last error as a result
// code.
CBigInteger MakeRandomBigInteger(unsigned long long hProv, unsigned long size);

} // namespace Halcyon::ASN1
