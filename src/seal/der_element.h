// A small reader of DER for a look at the outside of unknown bytes: single-byte tags, definite
// lengths, bounds always checked. What it can't read ends the walk; it never throws.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <chronoseal/chronoseal.hpp>

namespace chronoseal {

struct DerElement {
    unsigned tag = 0;
    ByteView content;
    ByteView whole;
};

// The bytes have to outlive the reader.
class DerReader {
public:
    explicit DerReader(ByteView bytes) : rest_(bytes) {}

    bool done() const { return rest_.empty(); }
    // The tag of the next element, 0 at the end.
    unsigned peek() const { return done() ? 0 : std::to_integer<unsigned>(rest_[0]); }

    // Nothing at the end and for what isn't an element. High tags (31 and above) aren't read.
    std::optional<DerElement> next() {
        if (rest_.size() < 2 || (peek() & 0x1F) == 0x1F) {
            return std::nullopt;
        }
        std::size_t length = std::to_integer<std::size_t>(rest_[1]);
        std::size_t head = 2;
        if (length >= 0x80) {
            const std::size_t count = length & 0x7F;
            if (count == 0 || count > 4 || rest_.size() < 2 + count) {
                return std::nullopt;
            }
            length = 0;
            for (std::size_t i = 0; i < count; ++i) {
                length = length << 8 | std::to_integer<std::size_t>(rest_[2 + i]);
            }
            head += count;
        }
        if (length > rest_.size() - head) {
            return std::nullopt;
        }
        const DerElement element{peek(), rest_.subspan(head, length), rest_.first(head + length)};
        rest_ = rest_.subspan(head + length);
        return element;
    }
    std::optional<DerElement> next(unsigned tag) { return peek() == tag ? next() : std::nullopt; }

private:
    ByteView rest_;
};

namespace der_tag {
inline constexpr unsigned kInteger = 0x02;
inline constexpr unsigned kBitString = 0x03;
inline constexpr unsigned kOctetString = 0x04;
inline constexpr unsigned kObjectIdentifier = 0x06;
inline constexpr unsigned kEnumerated = 0x0A;
inline constexpr unsigned kUtcTime = 0x17;
inline constexpr unsigned kGeneralizedTime = 0x18;
inline constexpr unsigned kSequence = 0x30;
inline constexpr unsigned kSet = 0x31;
inline constexpr unsigned kContext0 = 0xA0;
} // namespace der_tag

// The dotted text of an OBJECT IDENTIFIER's contents; empty for contents that are none.
inline std::string dotted_oid(ByteView content) {
    std::string text;
    std::uint64_t arc = 0;
    bool open = false;
    for (const std::byte byte : content) {
        if (arc > (UINT64_MAX >> 7)) {
            return {};
        }
        arc = arc << 7 | (std::to_integer<std::uint64_t>(byte) & 0x7F);
        open = (std::to_integer<unsigned>(byte) & 0x80) != 0;
        if (open) {
            continue;
        }
        if (text.empty()) {
            const std::uint64_t first = arc < 80 ? arc / 40 : 2;
            text = std::to_string(first) + "." + std::to_string(arc - first * 40);
        } else {
            text += "." + std::to_string(arc);
        }
        arc = 0;
    }
    return open ? std::string() : text;
}

} // namespace chronoseal
