// A token as DER: what other software makes of it when it reads it and writes it again. Records
// hold tokens in this form, so that everybody's hash of them is the same.
#pragma once

#include <chronoseal/chronoseal.hpp>

namespace chronoseal {

// Definite lengths, whole octet strings, sets in order. Certificates, revocation lists, the signed
// content and the signed attributes stay as they are, for there are signatures over them. Bytes
// that aren't signed data come back as they are.
Bytes token_der(ByteView token);

} // namespace chronoseal
