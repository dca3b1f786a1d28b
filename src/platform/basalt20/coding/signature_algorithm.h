// Which digest and padding a signature algorithm means: from the OIDs and parameters of a
// SignerInfo, or of any AlgorithmIdentifier, to what a key needs to verify.
#pragma once

#include <basalt/coding/public_key.h>
#include <basalt/coding/signed_message.h>

#include <string>
#include <vector>

namespace basalt {

/// The digest of a digest algorithm; fault CRYPT_E_UNKNOWN_ALGO. SHAKE256 with a length in its
/// parameters (2.16.840.1.101.3.4.2.18) must say 512 bits.
const EVP_MD* digest_of(const Algorithm& algorithm);

/// The digest of the bytes, at most EVP_MAX_MD_SIZE; fault CRYPT_E_UNKNOWN_ALGO when OpenSSL
/// refuses. SHAKE128 gives 32 octets and SHAKE256 64, as messages have them (RFC 8702 3.1).
std::string digest(const EVP_MD* algorithm, Bytes bytes);

/// The scheme of a signer. A signature algorithm may be the key's OID, and then the digest is that
/// of `digest_algorithm`, or it names a digest, and then that one counts alone. Fault
/// CRYPT_E_UNKNOWN_ALGO.
SignatureScheme scheme_of(const Algorithm& signature, const Algorithm& digest_algorithm);

/// Whether the content of a signer with signed attributes may be hashed so. For Ed448 this is
/// SHAKE256 alone (RFC 8419 3.1), for all others any digest.
bool goes_with_content_digest(const Algorithm& signature, const EVP_MD* digest);

/// True for the schemes of EdDSA, which take the whole message.
inline bool takes_message(const SignatureScheme& scheme) {
    return scheme.digest == nullptr;
}

} // namespace basalt
