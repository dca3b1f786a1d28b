// Whether two certificates are of one key, however each writes it. Pure functions that never fail.
#pragma once

#include <basalt/coding/der_reader.h>

#include <openssl/x509.h>

namespace basalt {

// The content of the public key's bit string; as long as the certificate lives.
Bytes key_bits_of(const X509* certificate);

// What is the same however the key is written; part of `key`.
Bytes telling_bits(Bytes key);

// By the bits alone: one of another algorithm, or with other parameters, whose bits are the same
// counts as the same key. A point of a curve may be written in three ways.
bool same_key_bits(Bytes a, Bytes b);

} // namespace basalt
