// How strong digests and keys are: one table for certificates, lists, OCSP answers and the
// signatures of messages. Pure functions, which never fail; what isn't known is `refused`, for
// nothing can be verified with it either. Only the level in force is read from the configuration
// tree.
#pragma once

#include <basalt/coding/public_key.h>

#include <openssl/x509.h>

namespace basalt {

enum class Strength {
    current, // state of the art
    aged,    // passes with a remark: SHA-1, RSA and DSA below 2048 bits, curves below 224
    refused, // MD2, MD4, MD5, MDC2, RIPEMD, digests below 160 bits, RSA and DSA below 1024, curves
             // below 160, and keys with which anybody can sign
};

// What is demanded: the floor lets aged ones pass.
enum class StrengthLevel { floor, current };

inline Strength weaker(Strength a, Strength b) {
    return a < b ? b : a;
}

inline bool passes(Strength strength, StrengthLevel level) {
    return strength == Strength::current ||
           (strength == Strength::aged && level == StrengthLevel::floor);
}

Strength strength_of(const EVP_MD* digest);
Strength strength_of(const PublicKey& key);

// Of the digests that a signature algorithm names, with those in the parameters of PSS. An
// algorithm that names none (EdDSA) is current.
Strength strength_of(const X509_ALGOR* signature);

// \config\basalt\Strength: "current", or "floor" (also when absent). Another value counts as
// "current", so that a slip closes and doesn't open.
StrengthLevel configured_strength();

} // namespace basalt
