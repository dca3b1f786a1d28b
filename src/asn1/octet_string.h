// One complete OCTET STRING from its contents and back. Failures are CAtlException: 0x80093101, and
// 0x80093106 without memory.
#pragma once

#include "base/blob.h"

namespace Halcyon::ASN1 {

CBlob toOctetString(const CBlob& content);
// Throws for an empty blob too. Bytes behind the element aren't looked at.
CBlob fromOctetString(const CBlob& der);

} // namespace Halcyon::ASN1
