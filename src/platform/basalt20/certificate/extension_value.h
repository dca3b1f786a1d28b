// The bytes of one extension of a certificate. Pure.
#pragma once

#include <basalt/coding/der_reader.h>

#include <openssl/x509.h>

namespace basalt {

// The contents of the octets of the first of that kind, which the certificate keeps; or none.
Bytes extension_value(const X509* certificate, int nid);

} // namespace basalt
