// The usages of a certificate's extension, without an object for each: there may be thousands.
// Pure; nothing fails.
#pragma once

#include <basalt/coding/der_reader.h>

namespace basalt {

// `extension`: its value. `usage`: the contents of an OID. False as well for what can't be read.
bool names_usage(Bytes extension, Bytes usage);

} // namespace basalt
