// The evidence that a signer carries with it unsigned: the attribute revocation-values of RFC 5126
// 6.3.4. Its CRLs and OCSP answers are candidates like any others, worth what their own signatures
// are worth.
#pragma once

#include <basalt/coding/signed_message.h>

#include <string>
#include <vector>

namespace basalt {

struct RevocationValues {
    std::vector<Bytes> crls;                 // CertificateList, views into the signer
    std::vector<std::string> ocsp_responses; // OCSPResponse, made around the BasicOCSPResponse
};

/// What the unsigned attributes of the signer hold. Values that can't be read are left out; faults
/// are those of read_attributes.
RevocationValues revocation_values_of(const SignerInfo& signer);

} // namespace basalt
