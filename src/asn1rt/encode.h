// BER writers. They fill the context's buffer from its end toward its start: contents first, then
// the length and tag in front of them, so an encoder walks its elements from last to first and sums
// the results. What comes out has definite, minimal lengths. A buffer that the context allocated
// grows as needed.
//
// Each writer answers the bytes that it added, or a negative status; statuses aren't latched except
// where a comment says so. After a failure the message is of no use, and xe_setp starts afresh.
// With `tagging` 1 the universal tag and length are written too, with 0 only the contents.
#pragma once

#include <cstdint>

#include <chronoseal/asn1rt/list.h>
#include <chronoseal/asn1rt/object_identifier.h>
#include <chronoseal/asn1rt/tag.h>
#include <chronoseal/asn1rt/value_record.h>
#include <chronoseal/visibility.h>

struct ASN1CTXT;

// Where an element lies: it stays true when the buffer grows, because it is measured from the top.
struct BufLocDescr {
    std::uint32_t numocts;
    std::uint32_t
        offset; // from the buffer's last byte, which is never a message byte, down to the first
};

extern "C" {

// Prepares the buffer: the caller's fixed one, or with null a dynamic one (`size` 0: 16384 bytes).
// The last byte of the storage is never written. A fixed buffer without any byte takes nothing.
// Status result.
CHRONOSEAL_API int xe_setp(ASN1CTXT* ctxt, unsigned char* buffer, int size);

// The first byte of the message.
CHRONOSEAL_API unsigned char* xe_getp(ASN1CTXT* ctxt);

// Frees a dynamic buffer.
CHRONOSEAL_API void xe_free(ASN1CTXT* ctxt);

// Moves the message into a buffer that is larger by `count` bytes, by half, and by 16384 at least.
// Status result: -1 on a fixed buffer, -12.
CHRONOSEAL_API int xe_expandBuffer(ASN1CTXT* ctxt, std::uint32_t count);

// Bytes in front of the message. -18 for a null source or a negative count, -1, -12.
CHRONOSEAL_API int xe_memcpy(ASN1CTXT* ctxt, const unsigned char* source, int count);

// Describes the element of `length` bytes that was written last.
CHRONOSEAL_API void xe_getBufLocDescr(ASN1CTXT* ctxt, std::uint32_t length, BufLocDescr* descr);

CHRONOSEAL_API int xe_tag(ASN1CTXT* ctxt, std::uint32_t tag);

// Length octets: rtIndefiniteLength writes 0x80 (the writer of the end-of-contents is the caller),
// any other negative nothing.
CHRONOSEAL_API int xe_len(ASN1CTXT* ctxt, int length);

// Length and tag around contents of `length` bytes; the result includes them. A negative `length`
// is a failure of whoever wrote the contents and is answered as it is.
CHRONOSEAL_API int xe_tag_len(ASN1CTXT* ctxt, std::uint32_t tag, int length);

// -18 for a null value.
CHRONOSEAL_API int xe_boolean(ASN1CTXT* ctxt, const unsigned char* value, ASN1TagType tagging);
CHRONOSEAL_API int xe_integer(ASN1CTXT* ctxt, const int* value, ASN1TagType tagging);
CHRONOSEAL_API int xe_unsigned(ASN1CTXT* ctxt, const unsigned int* value, ASN1TagType tagging);
CHRONOSEAL_API int xe_uint16(ASN1CTXT* ctxt, const unsigned short* value, ASN1TagType tagging);
CHRONOSEAL_API int xe_enum(ASN1CTXT* ctxt, const int* value, ASN1TagType tagging);

// An INTEGER of any size from text. "0x" and "0b" texts are the bytes themselves: where they fill
// whole bytes and the top bit is set the number is negative ("0x80" is -128, "0x080" and "0x0080"
// are 128). Any other text goes through rtBigIntSetStr with radix 0. Failures (-18 for malformed
// text) are latched.
CHRONOSEAL_API int xe_bigint(ASN1CTXT* ctxt, const char* text, ASN1TagType tagging);

// Takes "0" and "0x" and "0b" texts only. A leading zero in the text asks for a zero byte in front:
// "0x00FF" is 00 FF and "0xFF" is FF. -18 latched for anything else.
CHRONOSEAL_API int xe_biguint(ASN1CTXT* ctxt, const char* text, ASN1TagType tagging);

// Bits behind the last valid one are written as they stand. Without bits: the one byte 0, whatever
// `bytes` is; null `bytes` with bits write nothing.
CHRONOSEAL_API int xe_bitstr(ASN1CTXT* ctxt, const unsigned char* bytes, std::uint32_t numbits,
                             ASN1TagType tagging);

// Null `bytes` are an empty string.
CHRONOSEAL_API int xe_octstr(ASN1CTXT* ctxt, const unsigned char* bytes, std::uint32_t numocts,
                             ASN1TagType tagging);

// Text without its terminator, under the given tag. -18 for null.
CHRONOSEAL_API int xe_charstr(ASN1CTXT* ctxt, const char* text, ASN1TagType tagging,
                              std::uint32_t tag);

// Characters in big-endian order. -18 for null.
CHRONOSEAL_API int xe_16BitCharStr(ASN1CTXT* ctxt, const ASN1TBMPText* text, ASN1TagType tagging,
                                   std::uint32_t tag);
CHRONOSEAL_API int xe_32BitCharStr(ASN1CTXT* ctxt, const ASN1TUniversalText* text,
                                   ASN1TagType tagging, std::uint32_t tag);

// -4 for an identifier that has no encoding: fewer than 2 arcs or more than 128, first arc above 2,
// second above 39 under 0 and 1, or the two together above 32 bits.
CHRONOSEAL_API int xe_objid(ASN1CTXT* ctxt, const ASN1OBJID* oid, ASN1TagType tagging);

CHRONOSEAL_API int xe_null(ASN1CTXT* ctxt, ASN1TagType tagging);

// One sub-identifier in base 128.
CHRONOSEAL_API int xe_identifier(ASN1CTXT* ctxt, std::uint32_t value);

// The first element in the `numocts` bytes at `data`; bytes behind it are dropped. If it already is
// the front of the message nothing is copied. -18 for null data and for an end-of-contents, or the
// status of the header.
CHRONOSEAL_API int xe_OpenType(ASN1CTXT* ctxt, const unsigned char* data, std::uint32_t numocts);

// All ASN1TOpenType records of the list, in its order. Nodes without a record are left out.
// Failures are latched.
CHRONOSEAL_API int xe_OpenTypeExt(ASN1CTXT* ctxt, const rtDList* list);

// Sorts the elements of a SET OF that were written last. The list holds a BufLocDescr, from the
// type heap, for each of them in the order of writing; descriptors and nodes are freed. The result
// is the sum of the lengths, or -12, or -18 when the descriptors don't describe what is in the
// buffer.
CHRONOSEAL_API int xe_derCanonicalSort(ASN1CTXT* ctxt, rtSList* list);

} // extern "C"
