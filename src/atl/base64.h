// Base64 by RFC 4648, section 4, into a caller's buffer.
#pragma once

namespace ATL {

constexpr unsigned kBase64NoPadding = 1;
constexpr unsigned kBase64NoLineEnds = 2;

// `*outSize` holds the room at `out` and gets the number of characters written; no terminator is
// written. Lines have 76 characters and end in CR LF; a source of a multiple of 57 bytes leaves one
// line end at the end. False for null arguments, and where the room is below a bound that the text
// may not use up. Throws CAtlException 0x80004005 for 512 MiB or more.
bool Base64Encode(const unsigned char* source, int size, char* out, int* outSize, unsigned flags);

// The room that Base64Encode asks for.
int Base64EncodeGetRequiredLength(int size, unsigned flags);

// Reads up to the end or the first zero. Characters outside of the alphabet, padding included, are
// skipped; a last group of less than four gives its whole bytes. `*outSize` holds the room at `out`
// and gets the number of bytes. False for null arguments, an empty source, and too little room.
bool Base64Decode(const char* source, int size, unsigned char* out, int* outSize);

} // namespace ATL
