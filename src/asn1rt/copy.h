// Deep copies of single values onto a context's type heap. 1 on success, 0 on failure.
#pragma once

#include <cstdint>

#include <chronoseal/asn1rt/list.h>
#include <chronoseal/asn1rt/object_identifier.h>
#include <chronoseal/asn1rt/value_record.h>
#include <chronoseal/visibility.h>

struct ASN1CTXT;

extern "C" {

// 0 also for null arguments; nothing is latched.
CHRONOSEAL_API int rtCopyCharStr(ASN1CTXT* ctxt, const char* source, const char** target);

// An empty source gives a null pointer and a count of 0. -12 is latched, and the target is then
// empty.
CHRONOSEAL_API int rtCopyDynOctStr(ASN1CTXT* ctxt, const ASN1TDynOctStr* source,
                                   ASN1TDynOctStr* target);
CHRONOSEAL_API int rtCopyDynBitStr(ASN1CTXT* ctxt, const ASN1TDynBitStr* source,
                                   ASN1TDynBitStr* target);
CHRONOSEAL_API int rtCopyOpenType(ASN1CTXT* ctxt, const ASN1TOpenType* source,
                                  ASN1TOpenType* target);
CHRONOSEAL_API int rtCopy16BitCharStr(ASN1CTXT* ctxt, const ASN1TBMPText* source,
                                      ASN1TBMPText* target);
CHRONOSEAL_API int rtCopy32BitCharStr(ASN1CTXT* ctxt, const ASN1TUniversalText* source,
                                      ASN1TUniversalText* target);

// Into an array of the caller's, which is as large as the type's maximum. 0 for null arguments and
// for a count of 0, in which case nothing is written.
CHRONOSEAL_API int rtCopyOctStr(ASN1CTXT* ctxt, std::uint32_t numocts, const unsigned char* source,
                                std::uint32_t* targetCount, unsigned char* target);
CHRONOSEAL_API int rtCopyBitStr(ASN1CTXT* ctxt, std::uint32_t numbits, const unsigned char* source,
                                std::uint32_t* targetCount, unsigned char* target);

// Allocates nothing. 0 for null arguments.
CHRONOSEAL_API int rtCopyOID(ASN1CTXT* ctxt, const ASN1OBJID* source, ASN1OBJID* target);

// A list of ASN1TOpenType records, each copied with its bytes; nodes without a record are left out.
// The target list is made empty first. -12 is latched.
CHRONOSEAL_API int rtCopyOpenTypeExt(ASN1CTXT* ctxt, const rtDList* source, rtDList* target);

} // extern "C"
