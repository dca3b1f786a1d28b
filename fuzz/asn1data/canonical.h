// Tells, without a schema, whether bytes are one element whose DER form can only be themselves, so
// that a codec which changes them is wrong. It errs on the careful side: where a schema would be
// needed to tell (an implicitly tagged number, a false BOOLEAN that may be a default, octets that
// look like an element), the answer is no.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace roundtrip {

using Bytes = std::vector<std::uint8_t>;

class CanonicalForm {
public:
    explicit CanonicalForm(const Bytes& bytes) : bytes_(bytes) {}

    /// The bytes are exactly one element, and nothing in it leaves room for another encoding.
    bool certain() const { return elements(0, bytes_.size(), 0) == 1; }

private:
    struct Header {
        std::uint8_t tag = 0;
        std::size_t content = 0;
        std::size_t end = 0;
    };

    static constexpr int refused = -1;

    /// A tag of one byte and a length in its shortest definite form, inside of `limit`.
    std::optional<Header> header(std::size_t at, std::size_t limit) const {
        if (limit - at < 2 || (bytes_[at] & 0x1F) == 0x1F)
            return std::nullopt;
        Header result{bytes_[at], at + 2, 0};
        std::size_t length = bytes_[at + 1];
        if (length >= 0x80) {
            const std::size_t count = length & 0x7F;
            if (count == 0 || count > 3 || limit - result.content < count)
                return std::nullopt;
            length = 0;
            for (std::size_t i = 0; i < count; ++i)
                length = length << 8 | bytes_[result.content + i];
            if (length < 0x80 || length >> (8 * (count - 1)) == 0)
                return std::nullopt;
            result.content += count;
        }
        if (limit - result.content < length)
            return std::nullopt;
        result.end = result.content + length;
        return result;
    }

    /// The number of elements from `at` to `limit`, or `refused`.
    int elements(std::size_t at, std::size_t limit, int depth) const {
        if (depth > 64)
            return refused;
        int count = 0;
        for (; at < limit; ++count) {
            const auto one = header(at, limit);
            if (!one || !element(*one, depth))
                return refused;
            at = one->end;
        }
        return count;
    }

    bool element(const Header& one, int depth) const {
        const bool constructed = (one.tag & 0x20) != 0;
        const bool universal = (one.tag & 0xC0) == 0;
        if (constructed)
            return (!universal || one.tag == 0x30 || one.tag == 0x31) &&
                   elements(one.content, one.end, depth + 1) != refused;
        return universal ? universal_primitive(one) : other_primitive(one);
    }

    bool universal_primitive(const Header& one) const {
        const std::size_t size = one.end - one.content;
        const std::uint8_t* value = bytes_.data() + one.content;
        switch (one.tag) {
        case 0x01:
            return size == 1 && value[0] == 0xFF;
        case 0x02:
        case 0x0A: // a negative number may be read as a large one
            return size > 0 && value[0] < 0x80 && (size == 1 || value[0] != 0 || value[1] >= 0x80);
        case 0x03:
            return size > 0 && value[0] < 8 && (size > 1 || value[0] == 0);
        case 0x04:
            return octets(one);
        case 0x05:
            return size == 0;
        case 0x06:
            return object_identifier(value, size);
        case 0x1C:
            return size % 4 == 0;
        case 0x1E:
            return size % 2 == 0;
        case 0x0C:
        case 0x12:
        case 0x13:
        case 0x14:
        case 0x16:
        case 0x17:
        case 0x18:
        case 0x1A:
            return std::find(value, value + size, 0) == value + size;
        default:
            return false;
        }
    }

    /// An octet string may wrap an encoding: if it looks like one, it has to be a canonical one.
    bool octets(const Header& one) const {
        static constexpr std::array<std::uint8_t, 19> first = {
            0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x0A, 0x0C, 0x10, 0x11,
            0x13, 0x14, 0x16, 0x17, 0x18, 0x24, 0x30, 0x31, 0xA0};
        if (one.end == one.content ||
            std::find(first.begin(), first.end(), bytes_[one.content]) == first.end())
            return true;
        return elements(one.content, one.end, 1) == 1;
    }

    /// Sub-identifiers of at most 28 bits, without leading zeros, and the last complete.
    static bool object_identifier(const std::uint8_t* value, std::size_t size) {
        std::size_t run = 0;
        for (std::size_t i = 0; i < size; ++i) {
            if (run == 0 && value[i] == 0x80)
                return false;
            run = (value[i] & 0x80) != 0 ? run + 1 : 0;
            if (run > 3)
                return false;
        }
        return size > 0 && size < 128 && run == 0;
    }

    /// Under an implicit tag lies text, octets or a number. Only text is certain.
    bool other_primitive(const Header& one) const {
        return one.end - one.content > 1 &&
               std::all_of(bytes_.begin() + static_cast<std::ptrdiff_t>(one.content),
                           bytes_.begin() + static_cast<std::ptrdiff_t>(one.end),
                           [](std::uint8_t byte) { return byte >= 0x20 && byte < 0x7F; });
    }

    const Bytes& bytes_;
};

/// The same bytes in another order: what sorting a set leaves.
inline bool same_but_sorted(Bytes one, Bytes other) {
    std::sort(one.begin(), one.end());
    std::sort(other.begin(), other.end());
    return one == other;
}

} // namespace roundtrip
