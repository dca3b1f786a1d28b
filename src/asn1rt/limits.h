// What the run-time is ready to spend on a message that a stranger sent. No honest message comes
// near these numbers; one that goes beyond them is refused with rtStatusNoMemory.
#pragma once

#include <cstdint>

// Levels of constructed types inside one decode, open types included (see DecodeNesting). A
// time-stamp token with its certificates has about 20; each token nested in another's attributes
// adds about 12.
inline constexpr std::uint16_t rtMaxNestingDepth = 128;

// The bytes that one decode may allocate on the type heap, block headers included, is the base plus
// this multiple of the bytes that the message had left when its outermost decoder began. Blocks
// that are freed again in the course of it still count. Of some four thousand certificates, lists,
// answers and tokens that others made none takes more than 30 times its own size, most of it the
// object identifiers, which have room for 128 arcs each; elements of two bytes each would take 60
// times theirs. Small messages of many identifiers live on the base.
inline constexpr std::uint64_t rtDecodeBaseBytes = 256 * 1024;
inline constexpr std::uint64_t rtDecodeBytesPerMessageByte = 40;

// The largest payload of one heap block: with its header it stays within a signed 32-bit range.
inline constexpr std::int32_t rtMaxBlockSize = 0x7FFFFFCF;

// First size of a buffer that the context allocates by itself, and the least by which one grows.
// Otherwise it grows by half, so that a message is copied a few times however small its pieces are.
inline constexpr std::uint32_t rtBufferGrowth = 16384;

// Digits of a decimal text that is turned into a number, leading zeros not counted, and bytes of a
// number that is turned into decimal text. Both conversions take quadratic time: this is a few
// milliseconds at most, while a megabyte of digits would hold a thread for seconds. The other
// radices take linear time and have no bound.
inline constexpr std::int32_t rtMaxDecimalDigits = 16384;
inline constexpr std::int32_t rtMaxDecimalOctets = 8192;
