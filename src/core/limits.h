// How much of anything one message may hold. Messages come from outside and are read before any
// signature is looked at, so all this is counted on the bytes, before a value is made of them; what
// goes beyond is refused as an encoding that can't be read, but for what no signature covers, which
// is an UnsignedFault. No honest message comes near: the bounds are ten times what the largest known
// tokens hold, and more.
#pragma once

#include <cstddef>

namespace Halcyon::PKI::TSP {

inline constexpr std::size_t kMaxStatusTexts = 256;    // of one answer
inline constexpr std::size_t kMaxNameParts = 256;      // RDNs of a name, and attributes of its RDNs
inline constexpr std::size_t kMaxExtensions = 256;     // of a TSTInfo, and of a request
inline constexpr std::size_t kMaxAttributes = 256;     // signed ones of a signer; unsigned ones
inline constexpr std::size_t kMaxAttributeValues = 64; // of one attribute
inline constexpr std::size_t kMaxCertificates = 512;   // of a token; of its certificate values
inline constexpr std::size_t kMaxRevocationLists = 512; // of a token
inline constexpr std::size_t kMaxSigners = 64;          // of a token
// Elements, counted at any depth, of an attribute that names the signer's certificate, and of a
// name that is none of X.500.
inline constexpr std::size_t kMaxNestedElements = 4096;

} // namespace Halcyon::PKI::TSP
