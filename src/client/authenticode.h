// The older Authenticode stamping protocol, as two C functions. It has no nonce and no status, and
// what the server answers isn't looked into: verifying it is the caller's part.
#pragma once

#include <chronoseal/visibility.h>

struct _CRYPTOAPI_BLOB;
struct _CRYPT_ATTRIBUTES;

extern "C" {

// Has `content`, mostly a signature value, stamped by the server at `url`, and returns its answer's
// bytes in a record that the caller gives back to FreeMSStamp. Null `url` takes the default of the
// machine's policy (DefaultMSTSPURL); null `attributes` sends none. Null on failure, with the last
// error: 1260 for a server that policy doesn't allow (AllowedMSTSPs), 0xC2100100 for an HTTP status
// other than 200, 0x80070057 for null `content`, 14 out of memory, the platform's code else; an
// answer that holds nothing leaves the last error as it is. Throws ATL::CAtlException 0x80004005
// for a request of 512 MiB or more. May run on several threads at once.
CHRONOSEAL_API _CRYPTOAPI_BLOB* GetMSStamp(const _CRYPTOAPI_BLOB* content, const wchar_t* url,
                                           const _CRYPT_ATTRIBUTES* attributes);

// Frees a result of GetMSStamp; null is allowed. Always 1.
CHRONOSEAL_API int FreeMSStamp(_CRYPTOAPI_BLOB* stamp);
}
