// Hash algorithms as OpenSSL's, for the platform libraries only: the one header that shows OpenSSL
// types. Knows the GOST engine, whose digests OpenSSL's own fetching doesn't see.
#pragma once

#include <basalt/algorithm.h>
#include <basalt/visibility.h>

#include <openssl/evp.h>

#include <string_view>

namespace basalt {

// The digest of an ALG_ID or of a dotted OID, null when it is unknown here. The digest lives as
// long as the process. For an OID, the hash's own is meant, not a signature's.
const BASALT_API EVP_MD* digest_by_algorithm(ALG_ID algorithm) noexcept;
const BASALT_API EVP_MD* digest_by_oid(std::string_view oid) noexcept;

// True if OpenSSL can do GOST on this machine. The first call loads the engine and makes it
// OpenSSL's default for these algorithms, so that keys, certificates and signatures with them work
// as well.
BASALT_API bool gost_available() noexcept;

} // namespace basalt
