// DER written: elements with the shortest length.
#pragma once

#include <chronoseal/chronoseal.hpp>

namespace chronoseal {

inline void append_bytes(Bytes& to, ByteView bytes) {
    to.insert(to.end(), bytes.begin(), bytes.end());
}

// Identifier octets and length of an element with so many octets of contents.
inline void append_head(Bytes& to, ByteView identifier, std::size_t length) {
    append_bytes(to, identifier);
    if (length < 0x80) {
        to.push_back(static_cast<std::byte>(length));
        return;
    }
    int octets = 0;
    for (std::size_t rest = length; rest != 0; rest >>= 8) {
        ++octets;
    }
    to.push_back(static_cast<std::byte>(0x80 | octets));
    while (octets-- != 0) {
        to.push_back(static_cast<std::byte>(length >> (8 * octets) & 0xFF));
    }
}

inline Bytes der_element(unsigned tag, ByteView content) {
    const auto identifier = static_cast<std::byte>(tag);
    Bytes whole;
    whole.reserve(content.size() + 10);
    append_head(whole, {&identifier, 1}, content.size());
    append_bytes(whole, content);
    return whole;
}

} // namespace chronoseal
