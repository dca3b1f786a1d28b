// BER readers. They read the context's buffer forward from its cursor and fill value records; what
// doesn't fit into a record comes from the type heap and lives as long as that. No reader ever
// reads behind `bufSize`.
//
// Each reader answers 0 or a negative status, and latches the status unless its comment says
// otherwise. -3 means that another tag stands at the cursor, which for an optional element means
// its absence; the cursor then hasn't moved. After any other failure the cursor stands where
// reading stopped. With `tagging` 1 the universal tag is matched and the length read; with 0 the
// caller has done that and gives the `length`, and whether the tag was constructed is known from
// ctxFlagConstructed.
//
// With ctxFlagNoCopy strings and open types are places in the message, not blocks: nobody may free
// them one by one.
//
// Lengths needn't be minimal. Strings may come constructed and of indefinite length. BOOLEAN keeps
// its byte.
#pragma once

#include <cstdint>

#include <chronoseal/asn1rt/context.h>
#include <chronoseal/asn1rt/list.h>
#include <chronoseal/asn1rt/object_identifier.h>
#include <chronoseal/asn1rt/tag.h>
#include <chronoseal/asn1rt/value_record.h>
#include <chronoseal/visibility.h>

struct BufferState {
    std::uint32_t index;
    std::uint16_t bitOffset;
    std::uint16_t flags;
};

// The contents of an element that is being decoded: where they start, and their length.
struct ElementLocation {
    std::uint32_t start;
    std::int32_t length; // or rtIndefiniteLength
};

// Options of xd_tag_len and xd_match.
inline constexpr int xdSeek = 1;    // go forward until the tag turns up
inline constexpr int xdAdvance = 2; // leave the cursor behind the header
inline constexpr int xdStepOver =
    8; // first step over the current element, or into a constructed one

extern "C" {

// Prepares the context for the outermost element at `data`. `size` below 1 means that the caller
// doesn't know it and vouches for the bytes. The cursor goes to the element's start and the buffer
// ends with the element; an element that is longer than `size` gives -5. `*length` is the size of
// the whole element, or rtIndefiniteLength. `tag` and `length` may be null. Null `data` gives -18
// and an empty buffer. Not latched.
CHRONOSEAL_API int xd_setp(ASN1CTXT* ctxt, const unsigned char* data, int size, std::uint32_t* tag,
                           int* length);

// -2 at the end, -21 for a number above 29 bits; not latched.
CHRONOSEAL_API int xd_tag(ASN1CTXT* ctxt, std::uint32_t* tag);

// -5 for more than 4 length bytes and for a length beyond the buffer, -2 for a buffer that ends
// inside it.
CHRONOSEAL_API int xd_len(ASN1CTXT* ctxt, int* length);

// Tag and length. Without xdAdvance the cursor and flags are put back. Failures aren't latched (but
// xd_len's own are): -2, -21, -5.
CHRONOSEAL_API int xd_tag_len(ASN1CTXT* ctxt, std::uint32_t* tag, int* length, int options);

// Passes one tag byte, which the caller has looked at, and reads the length. -2 isn't latched.
CHRONOSEAL_API int xd_Tag1AndLen(ASN1CTXT* ctxt, int* length);

// Matches one tag byte, without regard to its constructed bit, and reads the length into `length`
// if that isn't null. -3, -2, -5.
CHRONOSEAL_API int xd_match1(ASN1CTXT* ctxt, unsigned char tagByte, int* length);

// Looks for a packed tag, without regard to its constructed bit, as the options say. Not found, or
// the message ends: -3, and the cursor is back where it was (with xdStepOver behind the element
// stepped over). Without xdAdvance it stands on the header. Not latched.
CHRONOSEAL_API int xd_match(ASN1CTXT* ctxt, std::uint32_t tag, int* length, int options);

// Skips one whole element; not latched.
CHRONOSEAL_API int xd_NextElement(ASN1CTXT* ctxt);

// Skips to behind the end-of-contents of the current level, however deep it goes; not latched.
CHRONOSEAL_API int xd_MovePastEOC(ASN1CTXT* ctxt);

// Counts the elements in contents of `length` bytes from the cursor on, and puts the cursor back;
// after a failure it isn't put back. Not latched.
CHRONOSEAL_API int xd_count(ASN1CTXT* ctxt, int length, std::uint32_t* count);

// The whole size of an element of indefinite length, end-of-contents included, or a negative
// status: -5 when its length is definite. 0 when `maxLength` is below 5.
CHRONOSEAL_API int xd_indeflen_ex(const unsigned char* data, int maxLength);

// Without moving: what the pieces of a constructed string of indefinite length hold together, and
// the bytes from the first piece to the end-of-contents. `pieceTag` is packed and includes the
// constructed bit. -21 for a foreign piece. Not latched.
CHRONOSEAL_API int xd_consStrIndefLenAndSize(ASN1CTXT* ctxt, std::uint32_t pieceTag,
                                             int* contents_size, int* totalLength);

// Cursor and flags to and from a snapshot; null means the context's own. Restoring clears
// ctxFlagLastEoc.
CHRONOSEAL_API void xu_SaveBufferState(ASN1CTXT* ctxt, BufferState* state);
CHRONOSEAL_API void xu_RestoreBufferState(ASN1CTXT* ctxt, const BufferState* state);

// The byte as it stands. The length is one raw byte and must be 1.
CHRONOSEAL_API int xd_boolean(ASN1CTXT* ctxt, unsigned char* value, ASN1TagType tagging,
                              int length);

// -33 for more than 4 bytes, -5 for none.
CHRONOSEAL_API int xd_integer(ASN1CTXT* ctxt, int* value, ASN1TagType tagging, int length);

// -33 for more than 5 bytes, or 5 without a leading zero. No byte is 0. A negative number reads as
// a large one.
CHRONOSEAL_API int xd_unsigned(ASN1CTXT* ctxt, unsigned int* value, ASN1TagType tagging,
                               int length);

// The length is one raw byte. -33 above 3, or 3 without a leading zero. A length of 0 reads one
// byte, as 1 does.
CHRONOSEAL_API int xd_uint16(ASN1CTXT* ctxt, unsigned short* value, ASN1TagType tagging,
                             int length);

// As xd_integer. Whether the number is an enumerator is for the caller to say. The tag's -3 isn't
// latched.
CHRONOSEAL_API int xd_enum(ASN1CTXT* ctxt, int* value, ASN1TagType tagging, int length);

// "0x" and hexadecimal digits, in the form that xe_bigint reads. -2 and -12 aren't latched.
CHRONOSEAL_API int xd_bigint(ASN1CTXT* ctxt, const char** text, ASN1TagType tagging, int length);

// A string of no bits is a null pointer. Of a constructed string's pieces only the last one's count
// of unused bits is taken out; those of the others stay in the data.
CHRONOSEAL_API int xd_bitstr(ASN1CTXT* ctxt, const unsigned char** bytes, std::uint32_t* numbits,
                             ASN1TagType tagging, int length);

// `*numbits` is the capacity before and the size after. -17 when the string doesn't fit.
CHRONOSEAL_API int xd_bitstr_s(ASN1CTXT* ctxt, unsigned char* bytes, std::uint32_t* numbits,
                               ASN1TagType tagging, int length);

// An empty string is a valid pointer and a count of 0.
CHRONOSEAL_API int xd_octstr(ASN1CTXT* ctxt, const unsigned char** bytes, std::uint32_t* numocts,
                             ASN1TagType tagging, int length);

// `*numocts` is the capacity before and the size after. -17 when the string doesn't fit. With
// tagging 1 only the primitive form is taken.
CHRONOSEAL_API int xd_octstr_s(ASN1CTXT* ctxt, unsigned char* bytes, std::uint32_t* numocts,
                               ASN1TagType tagging, int length);

// Terminated text. Bytes of 0 in it stay.
CHRONOSEAL_API int xd_charstr(ASN1CTXT* ctxt, const char** text, ASN1TagType tagging,
                              std::uint32_t tag, int length);

// Big-endian characters; a rest that makes no character is dropped.
CHRONOSEAL_API int xd_16BitCharStr(ASN1CTXT* ctxt, ASN1TBMPText* text, ASN1TagType tagging,
                                   std::uint32_t tag, int length);
CHRONOSEAL_API int xd_32BitCharStr(ASN1CTXT* ctxt, ASN1TUniversalText* text, ASN1TagType tagging,
                                   std::uint32_t tag, int length);

// A last arc that isn't complete is taken as it stands, and arcs lose what is above 32 bits. -4 for
// more than 128 arcs.
CHRONOSEAL_API int xd_objid(ASN1CTXT* ctxt, ASN1OBJID* oid, ASN1TagType tagging, int length);

CHRONOSEAL_API int xd_null(ASN1CTXT* ctxt, ASN1TagType tagging);

// Not latched.
CHRONOSEAL_API int xd_memcpy(ASN1CTXT* ctxt, unsigned char* destination, std::uint32_t count);

// One whole element, tag and length included. A message that ends inside the header, or inside an
// element of indefinite length, counts as success; the first gives 0 bytes, the second what was
// there. -18 for an element beyond the buffer and for an end-of-contents. Not latched. After a
// failure there may be data too.
CHRONOSEAL_API int xd_OpenType(ASN1CTXT* ctxt, const unsigned char** data, std::uint32_t* numocts);

// Appends elements to the list, each an ASN1TOpenType in one block with its node, until `nextTag`
// (the cursor then stands on it) or, with 0xFFFFFFFF, until the contents end. -2 when `nextTag`
// doesn't come.
CHRONOSEAL_API int xd_OpenTypeExt(ASN1CTXT* ctxt, const ElementLocation* location,
                                  std::uint32_t nextTag, rtDList* list);

// Appends one element to the list, or skips it when the list is null.
CHRONOSEAL_API int xd_OpenTypeAppend(ASN1CTXT* ctxt, rtDList* list);

// For generated decoders: the two bytes of an end-of-contents, or -5.
CHRONOSEAL_API int xd_matchEoc(ASN1CTXT* ctxt);

} // extern "C"

// The byte at the cursor, or -1 at the end of the buffer.
inline int xd_peek(const ASN1CTXT* ctxt) {
    return ctxt->bufIndex < ctxt->bufSize ? ctxt->bufData[ctxt->bufIndex] : -1;
}

// Whether the byte at the cursor is this tag byte, without regard to the constructed bit.
inline bool xd_peekIs(const ASN1CTXT* ctxt, unsigned char tagByte) {
    const int byte = xd_peek(ctxt);
    return byte >= 0 && ((byte ^ tagByte) & 0xDF) == 0;
}

inline ElementLocation rtContentLocation(const ASN1CTXT* ctxt, std::int32_t length) {
    return {ctxt->bufIndex, length};
}

// The end of contents. Indefinite length: fewer than 2 bytes left, or an end-of-contents at the
// cursor, where it stays. Definite: all bytes read, or the end of the buffer.
inline bool rtContentEnded(const ASN1CTXT* ctxt, const ElementLocation* location) {
    if (ctxt->bufIndex >= ctxt->bufSize) {
        return true;
    }
    if (location->length == rtIndefiniteLength) {
        const unsigned char* next = ctxt->bufData + ctxt->bufIndex;
        return ctxt->bufSize - ctxt->bufIndex < 2 || (next[0] == 0 && next[1] == 0);
    }
    return static_cast<std::int64_t>(ctxt->bufIndex) - location->start >= location->length;
}
