// The attributes that name a signer's certificate, read as bytes. For names that the schema's
// records can't hold, as a country in UTF-8: honest authorities have such. Pure.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <basalt/encoded_values.h>
#include <chronoseal/chronoseal.hpp>

namespace chronoseal {

// ESSCertID or ESSCertIDv2.
struct SignerNaming {
    std::string hash_oid;
    Bytes hash;   // of the certificate
    Bytes issuer; // the Name in DER; empty: by the hash alone
    Bytes serial; // the contents of the number, with `issuer`
};

// The first certificate of each SigningCertificate and SigningCertificateV2. Empty when there is
// none, one stands there twice, or another attribute names somebody: and for what can't be read.
std::vector<SignerNaming> signer_namings(const CRYPT_ATTRIBUTES& attributes);

// False where the hash can't be computed here.
bool names(const SignerNaming& naming, const CertificateInfo& certificate);

} // namespace chronoseal
