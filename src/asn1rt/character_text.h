// Character strings between the forms that value records hold: 8-bit text, records of 32-bit
// characters, wide text (32 bits a character) and UTF-8 of up to six bytes a character. Converted
// texts live on the context's type heap. Failures: -12 no memory, -1 output full, -26 malformed
// UTF-8.
#pragma once

#include <cstddef>
#include <cstdint>

#include <chronoseal/asn1rt/value_record.h>
#include <chronoseal/visibility.h>

struct ASN1CTXT;

// Which characters a conversion lets through: those from firstChar to lastChar and, when nchars
// isn't 0, of these only the ones listed in data.
struct ASN1TUniversalTextSet {
    std::uint32_t nchars;
    const std::uint32_t* data;
    std::uint32_t firstChar;
    std::uint32_t lastChar;
};

inline constexpr unsigned char rtCtypeUpper = 0x01;
inline constexpr unsigned char rtCtypeLower = 0x02;
inline constexpr unsigned char rtCtypeDigit = 0x04;
inline constexpr unsigned char rtCtypeBlank = 0x08; // tab to carriage return, and the space
inline constexpr unsigned char rtCtypePunct = 0x10;
inline constexpr unsigned char rtCtypeControl = 0x20;
inline constexpr unsigned char rtCtypeHexLetter = 0x40;
inline constexpr unsigned char rtCtypeSpace = 0x80; // the space alone

extern "C" {

// The classes of the ASCII characters, whatever the locale; 0 from 0x80 up.
CHRONOSEAL_API extern const unsigned char rtCtypeTable[256];

// Widen a terminated text to 32-bit characters, bytes as unsigned values. Characters outside
// `char_set` (null: no bound) are dropped. The target, or null: without memory, with -12 latched,
// or for null arguments.
CHRONOSEAL_API ASN1TUniversalText* rtCToUCSString(ASN1CTXT* ctxt, const char* text,
                                                  ASN1TUniversalText* target,
                                                  const ASN1TUniversalTextSet* char_set);
CHRONOSEAL_API ASN1TUniversalText* rtWCSToUCSString(ASN1CTXT* ctxt, const wchar_t* text,
                                                    ASN1TUniversalText* target,
                                                    const ASN1TUniversalTextSet* char_set);

// Copies the characters below 0x10000, the others are dropped, and answers `out`. When `capacity`
// characters were written there is no terminator.
CHRONOSEAL_API wchar_t* rtUCSToWCSString(const ASN1TUniversalText* record, wchar_t* out,
                                         std::size_t capacity);

// Decodes a terminated text. The count of characters; -1 when there are more than `capacity`; -26,
// latched. A terminator follows if there is room.
CHRONOSEAL_API int rtUTF8ToWCS(ASN1CTXT* ctxt, const char* text, wchar_t* out,
                               std::size_t capacity);

// Encodes `count` characters, a terminator among them included, and adds none. The count of bytes,
// or -1 or -26 (a value above 31 bits), latched.
CHRONOSEAL_API int rtWCSToUTF8(ASN1CTXT* ctxt, const wchar_t* text, std::size_t count, char* out,
                               std::size_t capacity);

// Characters of a terminated text by its lead bytes alone, or -26 for a byte that can't lead.
CHRONOSEAL_API int rtUTF8Len(const char* text);

// Bytes of a terminated text; 0 for null.
CHRONOSEAL_API std::size_t rtUTF8LenBytes(const char* text);

// Bytes that the character takes, 1 to 6.
CHRONOSEAL_API int rtUTF8CharSize(std::uint32_t character);

// Writes one character: the bytes written, or -1 when they are more than `capacity` or the value
// has more than 31 bits. Surrogates and values above 0x10FFFF are written like any other.
CHRONOSEAL_API int rtUTF8EncodeChar(std::uint32_t character, char* out, std::size_t capacity);

// Reads one character from `*size` bytes at `text` and sets `*size` to the bytes that it took. The
// character, or -26 with `*size` as it was. Overlong forms are taken. The context isn't used.
CHRONOSEAL_API std::int32_t rtUTF8DecodeChar(ASN1CTXT* ctxt, const char* text, std::size_t* size);

// A copy on the type heap; null for null and without memory.
CHRONOSEAL_API char* rtUTF8Strdup(ASN1CTXT* ctxt, const char* text);

} // extern "C"
