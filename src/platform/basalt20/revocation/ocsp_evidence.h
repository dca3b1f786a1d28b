// Asks by OCSP and reads statements on one certificate out of OCSP answers.
#pragma once

#include "basalt20/coding/der_reader.h"
#include "basalt20/revocation/revocation_evidence.h"

#include <openssl/x509.h>

#include <vector>

namespace basalt {

// The DER of a request for one certificate, without nonce, so that answers made in advance can
// serve.
std::vector<BYTE> make_ocsp_request(X509* certificate, X509* issuer);

// What the answer says of `certificate`, if it is authentic: signed by `issuer`, or by a responder
// that `issuer` has certified for that (RFC 6960, 4.2.2.2), judged at the time that the answer was
// made. Nothing otherwise, also for "unknown" and for bytes that are no answer.
std::optional<RevocationEvidence> evidence_of_ocsp(Bytes encoded, X509* certificate, X509* issuer);

// True when the bytes are a successful answer of which no part is past its time.
bool ocsp_is_current(Bytes encoded);

} // namespace basalt
