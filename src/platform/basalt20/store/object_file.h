// Files that hold certificates, CRLs and OCSP answers: PEM with any number of them, one DER object,
// or a SignedData with its certificates and CRLs.
#pragma once

#include <basalt/store/memory_store.h>
#include <basalt/sup/whole_file.h>

#include <optional>
#include <string>

namespace basalt {

/// The whole file, null when it can't be read (`errno` tells why). Files above 256 MiB aren't read
/// (EFBIG).
std::optional<std::string> read_file(const std::string& path);
std::optional<std::string> read_file(const Descriptor& file, const struct stat& status);

/// The last error for an `errno` of a file operation.
DWORD error_of_errno(int error);

/// Loads what the bytes hold. PEM blocks of other kinds, and such as can't be read, are passed
/// over; a file without any object gives the fault CRYPT_E_ASN1_ code of reading it as a
/// certificate.
void load_objects(MemoryStore& store, Bytes contents);

/// Loads certificates, CRLs and OCSP answers of a SignedData, and CRLs and answers that its signers
/// carry as revocation-values; entries of other kinds are passed over.
void load_signed_data(MemoryStore& store, Bytes contents);

/// True when the bytes are an OCSPResponse at the outside.
bool is_ocsp_response(Bytes bytes);

} // namespace basalt
