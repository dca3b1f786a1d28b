// Choice of a provider by algorithm.
#pragma once

#include <basalt/algorithm.h>
#include <basalt/provider.h>

namespace Halcyon {

// A provider that knows `algId`, and `algId2` unless that is 0, with one reference that the caller
// releases; 0 when there is none. The platform's own choice comes first, then the default provider
// of each type, then all providers by name; the first one wins. Throws CAtlException with the last
// error's code when one of them can't be opened or questioned.
HCRYPTPROV HYGetDefaultCSPThrow(unsigned algId, unsigned algId2);

} // namespace Halcyon
