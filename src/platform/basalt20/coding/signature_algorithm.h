// Which digest and padding a signature algorithm means: from the OIDs and parameters of a
// SignerInfo, or of any AlgorithmIdentifier, to what a key needs to verify.
#pragma once

#include "basalt20/coding/public_key.h"
#include "basalt20/coding/signed_message.h"

#include <string>
#include <vector>

namespace basalt {

/// The digest of a digest algorithm's OID; fault CRYPT_E_UNKNOWN_ALGO.
const EVP_MD* digest_of(Bytes oid);

/// The digest of the bytes, at most EVP_MAX_MD_SIZE; fault CRYPT_E_UNKNOWN_ALGO when OpenSSL
/// refuses.
std::string digest(const EVP_MD* algorithm, Bytes bytes);

/// The schemes to try for a signer, best first. A signature algorithm may be the key's OID, and
/// then the digest is that of `digest_algorithm`, or it names both. If it names another digest than
/// `digest_algorithm`, its own comes first: some signers wrote one of the two wrong. Fault
/// CRYPT_E_UNKNOWN_ALGO.
std::vector<SignatureScheme> schemes_of(const Algorithm& signature,
                                        const Algorithm& digest_algorithm);

/// True for the schemes of EdDSA, which take the whole message.
inline bool takes_message(const SignatureScheme& scheme) {
    return scheme.digest == nullptr;
}

} // namespace basalt
