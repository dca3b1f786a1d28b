// The attributes of a CMS signer as the platform gives them out, and single attributes among them.
#pragma once

#include <basalt/message.h>
#include <chronoseal/atl/string.h>

namespace Halcyon {

// The one attribute of that type, by the exact text, or null. Throws CAtlException 0x8007000B if
// the type stands twice, or has other than one value.
const CRYPT_ATTRIBUTE* FindOneInstanceSingleValueAttr(const CRYPT_ATTRIBUTES* attributes,
                                                      const char* oid);

// The signed attributes of a signer. The result leads into `buffer`, and lives until that changes.
// Throws CAtlException with the platform's code.
const CRYPT_ATTRIBUTES* ExtractSignedAttributes(HCRYPTMSG message, unsigned signer,
                                                ATL::CStringA& buffer);

// Whether the message's content has the type `oid` (empty text: any), and the signer's contentType
// attribute names the same type. Without that attribute the result is `allowMissing`. Throws
// CAtlException.
bool MatchEContentType(HCRYPTMSG message, unsigned signer, const char* oid, bool allowMissing);

} // namespace Halcyon
