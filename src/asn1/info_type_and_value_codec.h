// Lists of InfoTypeAndValue records from lists of values and back.
#pragma once

#include "asn1/info_type_and_value.h"
#include "asn1rt/runtime.h"

namespace Halcyon::ASN1 {

// Replaces `values`.
void ASN1TavList_Parse(ASN1TSeqOfList& list, CInfoTypeAndValueList& values);

// Appends to `list`, on the heap of the buffer's context. Throws CAtlException 0x80070057 for a
// type that is no identifier, 0x80093101 for a value that doesn't fit a known type, 0x80093106
// without memory.
void ASN1TavList_Encode(const CInfoTypeAndValueList& values, ASN1TSeqOfList& list,
                        ASN1BERDecodeBuffer& buffer);

} // namespace Halcyon::ASN1
