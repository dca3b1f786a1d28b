// Algorithm identifiers: class in bits 15-13, type in bits 12-9, number below.
#pragma once

#include <cstdint>

using ALG_ID = std::uint32_t;

inline constexpr ALG_ID ALG_CLASS_SIGNATURE = 1 << 13;
inline constexpr ALG_ID ALG_CLASS_DATA_ENCRYPT = 3 << 13;
inline constexpr ALG_ID ALG_CLASS_HASH = 4 << 13;
inline constexpr ALG_ID ALG_CLASS_KEY_EXCHANGE = 5 << 13;

constexpr ALG_ID GET_ALG_CLASS(ALG_ID id) {
    return id & (7U << 13);
}

// Hashes.
inline constexpr ALG_ID CALG_MD5 = 0x8003;
inline constexpr ALG_ID CALG_SHA = 0x8004;
inline constexpr ALG_ID CALG_SHA1 = CALG_SHA;
inline constexpr ALG_ID CALG_SHA_256 = 0x800C;
inline constexpr ALG_ID CALG_SHA_384 = 0x800D;
inline constexpr ALG_ID CALG_SHA_512 = 0x800E;
// Hashes without a published identifier have one of this platform.
inline constexpr ALG_ID CALG_BASALT_SHA_224 = 0x80E1;
inline constexpr ALG_ID CALG_BASALT_SHA_512_224 = 0x80E2;
inline constexpr ALG_ID CALG_BASALT_SHA_512_256 = 0x80E3;
inline constexpr ALG_ID CALG_BASALT_SHA3_224 = 0x80E4;
inline constexpr ALG_ID CALG_BASALT_SHA3_256 = 0x80E5;
inline constexpr ALG_ID CALG_BASALT_SHA3_384 = 0x80E6;
inline constexpr ALG_ID CALG_BASALT_SHA3_512 = 0x80E7;
inline constexpr ALG_ID CALG_GOSTR3411_94 = 0x801E;       // GOST R 34.11-94
inline constexpr ALG_ID CALG_GOSTR3411_2012_256 = 0x8021; // GOST R 34.11-2012, 256 bits
inline constexpr ALG_ID CALG_GOSTR3411_2012_512 = 0x8022; // GOST R 34.11-2012, 512 bits

// Public keys.
inline constexpr ALG_ID CALG_RSA_SIGN = 0x2400;
inline constexpr ALG_ID CALG_RSA_KEYX = 0xA400;
inline constexpr ALG_ID CALG_DSS_SIGN = 0x2200;
inline constexpr ALG_ID CALG_ECDSA = 0x2203;
inline constexpr ALG_ID CALG_GOSTR3410_2001 = 0x2E23;
inline constexpr ALG_ID CALG_GOSTR3410_2012_256 = 0x2E49;
inline constexpr ALG_ID CALG_GOSTR3410_2012_512 = 0x2E3D;

// An algorithm that has an OID and no identifier here.
inline constexpr ALG_ID CALG_OID_INFO_CNG_ONLY = 0xFFFFFFFF;
// An algorithm whose hash stands in its parameters (RSASSA-PSS).
inline constexpr ALG_ID CALG_OID_INFO_PARAMETERS = 0xFFFFFFFE;
inline constexpr ALG_ID CALG_NO_SIGN = 0x2000;
