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

inline void append_head(Bytes& target, unsigned tag, std::size_t length) {
    constexpr std::size_t kShort = 0x80;
    target.push_back(static_cast<std::byte>(tag));
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

// The OBJECT IDENTIFIER of a dotted text that is one.
inline Bytes der_oid(std::string_view dotted) {
    Bytes content;
    std::uint64_t first = 0;
    std::size_t index = 0;
    while (!dotted.empty()) {
        std::uint64_t arc = 0;
        std::size_t used = 0;
        for (; used < dotted.size() && dotted[used] != '.'; ++used) {
            arc = arc * 10 + static_cast<std::uint64_t>(dotted[used] - '0');
        }
        dotted.remove_prefix(std::min(used + 1, dotted.size()));
        if (index++ == 0) {
            first = arc * 40;
            continue;
        }
        arc += index == 2 ? first : 0;
        for (unsigned shift = 63; shift >= 7; shift -= 7) {
            if (arc >> shift != 0) {
                content.push_back(static_cast<std::byte>(0x80 | (arc >> shift & 0x7F)));
            }
        }
        content.push_back(static_cast<std::byte>(arc & 0x7F));
    }
    return der_element(0x06, {content});
}

} // namespace chronoseal
