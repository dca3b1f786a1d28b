// Verifying one signer of a message: digest of the content, signed attributes, signature (RFC
// 5652 5.4 and 5.6).
#pragma once

#include <basalt/certificate.h>
#include <basalt/coding/public_key.h>
#include <basalt/coding/signed_message.h>

namespace basalt {

/// Verifies; the faults are those that CryptMsgControl tells.
void verify_signer(const SignerInfo& signer, Bytes content_type, Bytes content,
                   const PublicKey& key);

/// The signature over the signed attributes alone, whatever they say of the content.
void verify_attributes(const SignerInfo& signer, const PublicKey& key);

/// The content digest alone, against the signer's messageDigest.
void verify_content_digest(const SignerInfo& signer, Bytes content);

/// True when the signer's identifier names the certificate: issuer and serial number, or the
/// subject key identifier in its extension. Names are compared as bytes, and if these differ
/// without regard to string types, case and blanks (RFC 5280 7.1), since some authorities wrote
/// them anew.
bool names_certificate(const SignerInfo& signer, const CERT_INFO& info);

} // namespace basalt
