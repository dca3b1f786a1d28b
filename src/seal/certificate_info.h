// Certificates and algorithms as values.
#pragma once

#include <memory>
#include <optional>

#include <basalt/certificate.h>
#include <basalt/types.h>
#include <chronoseal/chronoseal.hpp>

namespace chronoseal {

Time time_of(FILETIME time);
FILETIME file_time_of(Time time);

// Little-endian, as the platform has it, to big-endian.
Bytes big_endian(const CRYPT_INTEGER_BLOB& number);
// A name's DER as text.
std::string name_text(const CERT_NAME_BLOB& name);

AlgorithmInfo algorithm_info(std::string_view oid, ByteView parameters);
AlgorithmInfo algorithm_info(const CRYPT_ALGORITHM_IDENTIFIER& algorithm);
// Why a key of so many bits is weak; empty: it isn't.
std::string key_weakness(std::string_view oid, std::size_t bits);

CertificateInfo certificate_info(PCCERT_CONTEXT certificate);
// The same without a copy, never null.
std::shared_ptr<const CertificateInfo> shared_certificate_info(PCCERT_CONTEXT certificate);
// Nothing for bytes that aren't a certificate.
std::optional<CertificateInfo> certificate_info(ByteView der);

// The name of an extension, an attribute or a usage; the OID where none is known.
std::string oid_name(std::string_view oid);

Bytes sha256_of(ByteView bytes);

} // namespace chronoseal
