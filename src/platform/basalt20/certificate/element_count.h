// How many elements of ASN.1 a certificate's extensions are made of: what it takes to read one, and
// to go through it, hangs on them and not on its octets. Pure; what can't be read here OpenSSL may
// read all the same, and counts as if it were as many elements as it may be.
#pragma once

#include <basalt/certificate/certificate_body.h>

namespace basalt {

// Nobody honest has as many. OpenSSL makes an object of each, in half a microsecond.
inline constexpr std::size_t kMostElements = 2048;

// Those within the values among them. Beyond kMostElements it isn't counted on.
std::size_t element_count(const CERT_INFO& certificate);

} // namespace basalt
