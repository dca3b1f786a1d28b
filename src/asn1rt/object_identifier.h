// Object identifiers as plain records with room for 128 arcs: no heap, no destructor. Text to
// record and back, comparison, and the classes that value records hold.
#pragma once

#include <cstdint>

#include <chronoseal/visibility.h>

struct ASN1CTXT;

inline constexpr std::uint32_t maxObjectIdArcs = 128;

struct CHRONOSEAL_API ASN1OBJID {
    std::uint32_t numids;
    std::uint32_t subid[maxObjectIdArcs];
};

struct CHRONOSEAL_API ASN1OID64 {
    std::uint32_t numids;
    std::int64_t subid[maxObjectIdArcs];
};

extern "C" {

// Copies the count and the arcs in use. A damaged count is carried over, but never more than 128
// arcs.
CHRONOSEAL_API void rtSetOID(ASN1OBJID* target, const ASN1OBJID* source);

// Parses dotted decimal text: 1 on success, 0 on failure (null, empty, an empty piece, an arc above
// 4294967295, more than 128 arcs). A single arc passes, and so do blanks and signs in front of a
// piece, as strtoul takes them. After a failure the target's content is unspecified.
CHRONOSEAL_API int rtStrToOid(const char* text, ASN1OBJID* oid);

// Writes dotted decimal text with its terminator: 1, or 0 when an argument is null or `capacity`
// (in characters, terminator included) doesn't suffice; the text is then cut behind the last arc
// that fitted.
CHRONOSEAL_API int rtOidToStr(const ASN1OBJID* oid, char* out, std::uint32_t capacity);

// Characters of that text without its terminator; 0 for no arcs.
CHRONOSEAL_API std::uint32_t rtOidToStrLen(const ASN1OBJID* oid);

// 1 when equal, and `*flag` is left alone; otherwise 0, and `*flag` becomes 0. The context isn't
// used.
CHRONOSEAL_API int rtCmpOID(ASN1CTXT* ctxt, const ASN1OBJID* a, const ASN1OBJID* b,
                            unsigned char* flag);
CHRONOSEAL_API int rtCmpOIDValue(ASN1CTXT* ctxt, const ASN1OBJID* a, const ASN1OBJID* b,
                                 unsigned char* flag);

} // extern "C"

CHRONOSEAL_API bool operator==(const ASN1OBJID& a, const ASN1OBJID& b);

// An identifier as a value. Assignment touches only the arcs in use, at most 128 of them: the rest
// of the record stays as it was.
struct CHRONOSEAL_API ASN1TObjId : ASN1OBJID {
    ASN1TObjId(); // no arcs
    ASN1TObjId(unsigned char count, const unsigned int* arcs);
    ASN1TObjId(const ASN1OBJID& other);
    ASN1TObjId(const ASN1TObjId& other);
    ASN1TObjId& operator=(const ASN1OBJID& other);
    ASN1TObjId& operator=(const ASN1TObjId& other);
};

// The same with signed arcs of 64 bits.
struct CHRONOSEAL_API ASN1TObjId64 : ASN1OID64 {
    ASN1TObjId64();
    ASN1TObjId64(unsigned char count, const long long* arcs);
    ASN1TObjId64(const ASN1OID64& other);
    ASN1TObjId64(const ASN1TObjId64& other);
    ASN1TObjId64& operator=(const ASN1OID64& other);
    ASN1TObjId64& operator=(const ASN1TObjId64& other);
};
