// A number that equal names share, for finding certificates by subject without taking every name
// apart as OpenSSL does. Names that X509_NAME_cmp finds equal have the same key whatever their
// string types, letter case and blanks; the same key proves nothing. Any bytes have a key.
#pragma once

#include <basalt/coding/der_reader.h>

#include <openssl/x509.h>

#include <cstdint>

namespace basalt {

std::uint64_t name_key(Bytes encoded_name);

// The bytes of a name, which keeps them.
Bytes bytes_of(const X509_NAME* name);

} // namespace basalt
