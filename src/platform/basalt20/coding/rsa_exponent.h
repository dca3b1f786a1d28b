// The public exponent of an RSA key. Nearly all fit in one word, and reading one into it costs a
// fiftieth of what OpenSSL takes to hand it out as a number. Pure.
#pragma once

#include <openssl/evp.h>

#include <optional>

namespace basalt {

struct RsaExponent {
    unsigned bits; // 1: it is one
    bool is_odd;
};

// Nothing where the key has none.
std::optional<RsaExponent> rsa_exponent_of(const EVP_PKEY* key);

} // namespace basalt
