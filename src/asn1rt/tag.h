// Tags and lengths as the run-time holds them. A packed tag has its class in bits 31-30 (universal,
// application, context, private), the constructed bit in bit 29 and its number in bits 28-0.
#pragma once

#include <cstdint>

// 1: a function writes, or reads and matches, the type's own tag and length. 0: contents only.
using ASN1TagType = int;

// What stands in the place of a length for the indefinite form.
inline constexpr std::int32_t rtIndefiniteLength = -9999;

inline constexpr std::uint32_t rtTagConstructed = 0x20000000;
inline constexpr std::uint32_t rtTagContext = 0x80000000;
inline constexpr std::uint32_t rtTagNumberMask = 0x1FFFFFFF;

// Universal tag numbers that the run-time itself reads and writes.
inline constexpr std::uint32_t rtTagBoolean = 1;
inline constexpr std::uint32_t rtTagInteger = 2;
inline constexpr std::uint32_t rtTagBitString = 3;
inline constexpr std::uint32_t rtTagOctetString = 4;
inline constexpr std::uint32_t rtTagNull = 5;
inline constexpr std::uint32_t rtTagObjectId = 6;
inline constexpr std::uint32_t rtTagEnumerated = 10;
