// Text and bytes in the forms of the floors below.
#pragma once

#include <string>
#include <string_view>

#include <chronoseal/base/blob.h>
#include <chronoseal/chronoseal.hpp>

namespace chronoseal {

// UTF-8 to the platform's wide text and back. Bytes that aren't UTF-8 become U+FFFD.
std::wstring wide(std::string_view text);
std::string narrow(std::wstring_view text);

inline const unsigned char* octets(ByteView bytes) {
    return reinterpret_cast<const unsigned char*>(bytes.data());
}
inline ByteView view_of(const void* data, std::size_t size) {
    return {static_cast<const std::byte*>(data), size};
}
inline Bytes copy_of(const void* data, std::size_t size) {
    const ByteView view = view_of(data, size);
    return Bytes(view.begin(), view.end());
}
inline Bytes copy_of(ByteView view) {
    return Bytes(view.begin(), view.end());
}
inline Bytes copy_of(const Halcyon::CBlob& blob) {
    return copy_of(blob.pbData(), blob.cbData());
}
// Throws 0x80093104 as an Error for more than 2 GiB, which no floor below takes.
Halcyon::CBlob blob_of(ByteView bytes);

} // namespace chronoseal
