// The evidence that a signer carries with it unsigned: the attribute revocation-values of RFC 5126
// 6.3.4. Its CRLs and OCSP answers are candidates like any others, worth what their own signatures
// are worth.
#pragma once

#include <basalt/coding/signed_message.h>

#include <string>
#include <vector>

namespace basalt {

struct RevocationValues {
    std::vector<Bytes> crls; // CertificateList, views into what the signer was made of
    std::vector<std::string> ocsp_responses; // OCSPResponse, made around the BasicOCSPResponse
};

/// Adds what the unsigned attributes of the signer hold, up to 4096 of both kinds together. Values
/// that can't be read are left out, and so is what is too small to be signed; faults are those of
/// read_attributes.
void add_revocation_values(const SignerInfo& signer, RevocationValues& values);

} // namespace basalt
