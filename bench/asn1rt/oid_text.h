// The object identifier that the benchmarks convert.
#pragma once

// 20 arcs of all sizes.
inline constexpr char kOidText[] =
    "1.3.6.1.4.1.311.21.8.4294967295.113549.2.840.16384.127.128.10045.4.3.2";
