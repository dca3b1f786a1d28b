// Answers the older Authenticode stamping protocol: Base64 of a TimeStampRequest in, Base64 of a
// PKCS#7 signed message over its content, with a signing time, out.
#pragma once

#include <optional>
#include <string>

#include "identity.h"

namespace tsa {

// `request`: Base64 text, with line ends, and whatever zero bytes a client pads it with, allowed.
// The DER inside is
//
//   TimeStampRequest ::= SEQUENCE {
//       countersignatureType OBJECT IDENTIFIER (1.3.6.1.4.1.311.3.2.1),
//       attributes           Attributes OPTIONAL,
//       content              ContentInfo (data) }
//
// Returns the answer's Base64 text, or nothing when the request isn't one. Throws OpenSslError when
// signing fails.
std::optional<std::string> answer_authenticode(const Identity& identity,
                                               const std::string& request);

} // namespace tsa
