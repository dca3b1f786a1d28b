// Identifiers made from a certificate, and the test of a certificate against one. The certificate
// is decoded and hashed by the platform, whose last error is thrown as a result code.
#pragma once

#include <string>

#include <basalt/certificate.h>
#include <chronoseal/asn1/algorithm_identifier_ex.h>
#include <chronoseal/asn1/big_integer.h>
#include <chronoseal/asn1/cert_identifier.h>
#include <chronoseal/base/blob.h>

namespace Halcyon::ASN1 {

// The hash of `size` bytes by the algorithm with the given dotted text, of whatever length it has.
CBlob CalculateCertificateHash(const unsigned char* encoded, unsigned int size,
                               const std::string& algorithmOid);

// The serial number as it stands in the certificate, its sign byte included.
CBigInteger GetSerialFromCertContext(const CERT_CONTEXT* context);

// The issuer as one directoryName of the certificate's own bytes, and the serial number.
CIssuerSerial GetIssuerSerialFromCertificate(const CBlob& certificate);

// The hash is always of the kind with an algorithm, for SHA-1 too.
COtherCertID OtherCertIDFromCertificate(const CBlob& certificate,
                                        const CAlgorithmIdentifierEx& algorithm,
                                        bool withIssuerSerial);

// True if an identifier made from the certificate in the way of `id` equals `id`. One that holds a
// plain SHA-1 hash (kind 1) never matches, as the identifier that it is compared with is of kind 2.
// A certificate that can't be read is a failure that is thrown.
bool OtherCertIDMatches(const COtherCertID& id, const CBlob& certificate);

} // namespace Halcyon::ASN1
