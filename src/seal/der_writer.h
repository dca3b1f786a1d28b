// A small writer of DER: elements around bytes. Owns nothing, and fails only for want of memory.
#pragma once

#include <array>
#include <initializer_list>
#include <string_view>

#include <chronoseal/chronoseal.hpp>

namespace chronoseal {

inline void append(Bytes& target, ByteView bytes) {
    target.insert(target.end(), bytes.begin(), bytes.end());
}

// How long an element with so many octets of contents is, by a tag of one octet.
inline std::size_t der_size(std::size_t length) {
    std::size_t head = 2;
    for (std::size_t rest = length < 0x80 ? 0 : length; rest != 0; rest >>= 8) {
        ++head;
    }
    return head + length;
}

// Identifier octets and length of an element with so many octets of contents.
inline void append_head(Bytes& target, ByteView identifier, std::size_t length) {
    constexpr std::size_t kShort = 0x80;
    append(target, identifier);
    if (length < kShort) {
        target.push_back(static_cast<std::byte>(length));
        return;
    }
    std::size_t count = 0;
    for (std::size_t rest = length; rest != 0; rest >>= 8) {
        ++count;
    }
    target.push_back(static_cast<std::byte>(kShort | count));
    while (count-- != 0) {
        target.push_back(static_cast<std::byte>(length >> (8 * count) & 0xFF));
    }
}

inline void append_head(Bytes& target, unsigned tag, std::size_t length) {
    const auto identifier = static_cast<std::byte>(tag);
    append_head(target, {&identifier, 1}, length);
}

inline void append_element(Bytes& target, unsigned tag, ByteView content) {
    append_head(target, tag, content.size());
    append(target, content);
}

inline Bytes der_element(unsigned tag, std::initializer_list<ByteView> pieces) {
    std::size_t length = 0;
    for (const ByteView piece : pieces) {
        length += piece.size();
    }
    constexpr std::size_t kLongestHead = 10;
    Bytes result;
    result.reserve(length + kLongestHead);
    append_head(result, tag, length);
    for (const ByteView piece : pieces) {
        append(result, piece);
    }
    return result;
}

inline Bytes der_element(unsigned tag, ByteView content) {
    return der_element(tag, {content});
}

// The OBJECT IDENTIFIER of a dotted text; empty for what is none.
Bytes der_oid(std::string_view dotted);

} // namespace chronoseal
