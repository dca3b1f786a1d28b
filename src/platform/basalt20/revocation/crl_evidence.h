// Reads statements on one certificate out of CRLs.
#pragma once

#include "basalt20/coding/der_reader.h"
#include "basalt20/revocation/revocation_evidence.h"

#include <openssl/x509.h>

namespace basalt {

// What the CRL says of `certificate`, if it is authentic and meant for it: issued under `issuer`'s
// name and signed with its key, `issuer` allowed to sign CRLs, complete (no delta, not indirect,
// all reasons), its scope includes the certificate, and no unknown critical extension (RFC
// 5280, 6.3.3). Nothing otherwise, also for bytes that are no CRL.
std::optional<RevocationEvidence> evidence_of_crl(Bytes encoded, X509* certificate, X509* issuer);

// True when the bytes are a CRL whose next one isn't due yet.
bool crl_is_current(Bytes encoded);

} // namespace basalt
