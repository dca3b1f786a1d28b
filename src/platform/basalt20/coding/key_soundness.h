// Whether a public key is one at all, or anybody can sign with it: RSA that leaves the digest as it
// is, points of small order, numbers that are one. Who certifies such a key hands out a key without
// an owner. What can't be told, or takes longer than the signature, isn't looked for: a modulus
// that is a prime, a long exponent that is one in effect. Real authorities have long ones. Pure;
// what can't be looked into isn't sound.
#pragma once

#include <openssl/evp.h>

namespace basalt {

// False of null. Of kinds beside RSA, DSA, elliptic and Edwards curves nothing is known: true.
bool is_sound(const EVP_PKEY* key);

} // namespace basalt
