// Object identifiers as dotted text and as records of the run-time. Failures are CAtlException.
#pragma once

#include <chronoseal/asn1rt/runtime.h>
#include <chronoseal/base/blob.h>
#include <chronoseal/base/string_proxy.h>

namespace Halcyon::ASN1 {

// Throws 0x80070057 for a text that is no identifier.
ASN1OBJID toASN1OBJID(const char* text);
// Throws 0x80070057 for a record of more than 128 arcs.
CStringProxy toOID(const ASN1OBJID& oid);

// False on success, true for a text that is no identifier.
bool str2oid(const char* text, ASN1OBJID* oid);
// The text with its terminator, which counts in the length; the empty text for no arcs. 1 on
// success, 0 for null and for more than 128 arcs.
int oid2str(CBlob& text, const ASN1OBJID* oid);

struct ASN1TObjId_traits {
    using ASN1_T = ASN1OBJID;

    static void set(ASN1CTXT* ctxt, ASN1_T& record, const char* value);
    static void get(const ASN1_T& record, CStringProxy& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to);
    static int encode(ASN1BEREncodeBuffer& buffer, ASN1_T& record);
    static int decode(ASN1BERDecodeBuffer& buffer, ASN1_T& record);
};

} // namespace Halcyon::ASN1
