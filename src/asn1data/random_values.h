// Random parts of values for tests over all types. Everything lies on the type heap of one context.
// The same seed gives the same values.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <random>

#include <chronoseal/asn1data/record_support.h>

namespace asn1data {

class RandomValues {
public:
    RandomValues(ASN1CTXT* context, unsigned seed) : ctx(context), engine_(seed) {}

    ASN1CTXT* ctx;

    /// A value becomes small when it has become deep.
    class Level {
    public:
        explicit Level(RandomValues& random) : random_(random) { ++random.depth_; }
        ~Level() { --random_.depth_; }
        Level(const Level&) = delete;
        Level& operator=(const Level&) = delete;

    private:
        RandomValues& random_;
    };

    std::int64_t number(std::int64_t low, std::int64_t high) {
        // Bounds and small numbers come up often enough.
        switch (draw(0, 7)) {
        case 0:
            return low;
        case 1:
            return high;
        case 2:
            return draw(low, low > high - 200 ? high : low + 200);
        default:
            return draw(low, high);
        }
    }

    unsigned char boolean() { return draw(0, 1) != 0 ? 0xFF : 0; }
    bool present() { return depth_ < kMostLevels && draw(0, 2) != 0; }
    std::uint32_t count(std::uint32_t low, std::uint32_t high) {
        return depth_ < kMostLevels ? static_cast<std::uint32_t>(draw(low, high)) : low;
    }
    std::uint32_t alternative(std::uint32_t count, std::uint32_t least) {
        return depth_ < kMostLevels ? static_cast<std::uint32_t>(draw(1, count)) : least;
    }
    /// A row of an object set, or none.
    int row(int count) {
        return count > 0 && depth_ < kMostLevels && draw(0, 1) != 0
                   ? static_cast<int>(draw(0, count - 1))
                   : -1;
    }

    /// INTEGER text: the shortest two's complement of some bytes.
    const char* bigNumber() {
        const std::int64_t size = draw(1, 12);
        std::array<unsigned char, 12> bytes{};
        fillBytes(bytes.data(), static_cast<std::size_t>(size));
        return draw(0, 9) == 0 ? keep("0") : hexadecimal("0x", bytes.data(), size, bytes[0] < 0x80);
    }

    /// Not negative; the zero in front asks for the byte that keeps it so.
    const char* bigUnsigned() {
        const std::int64_t size = draw(1, 12);
        std::array<unsigned char, 12> bytes{};
        fillBytes(bytes.data(), static_cast<std::size_t>(size));
        bytes[0] |= 1;
        return hexadecimal(bytes[0] >= 0x80 ? "0x00" : "0x", bytes.data(), size, false);
    }

    void identifier(ASN1OBJID& id) {
        // An arc that no standard uses keeps it out of all object sets.
        id.numids = static_cast<std::uint32_t>(draw(4, 9));
        id.subid[0] = 1;
        id.subid[1] = 3;
        id.subid[2] = 99999;
        for (std::uint32_t i = 3; i < id.numids; ++i) {
            id.subid[i] = static_cast<std::uint32_t>(number(0, 0xFFFFFFFF));
        }
    }

    void octets(ASN1TDynOctStr& value, std::int64_t low, std::int64_t high) {
        value.numocts = static_cast<std::uint32_t>(draw(low, high));
        value.data = bytes(value.numocts);
    }
    void octets(Asn1TObject& value, std::int64_t low, std::int64_t high) {
        value.numocts = static_cast<std::uint32_t>(draw(low, high));
        value.data = bytes(value.numocts);
    }
    void bits(ASN1TDynBitStr& value, std::int64_t low, std::int64_t high) {
        value.numbits = static_cast<std::uint32_t>(draw(low, high));
        auto* data = static_cast<unsigned char*>(requiredBlock(ctx, (value.numbits + 7) / 8));
        fillBits(data, value.numbits);
        value.data = data;
    }
    std::uint32_t bits(unsigned char* data, std::int64_t capacity) {
        const auto size = static_cast<std::uint32_t>(draw(0, capacity));
        fillBits(data, size);
        return size;
    }

    const char* text(std::uint32_t tag, std::int64_t low, std::int64_t high) {
        if (tag == 23) {
            return keep("251121120000Z");
        }
        if (tag == 24) {
            return keep("20251121120000Z");
        }
        const auto size = static_cast<std::size_t>(draw(low, high));
        auto* result = static_cast<char*>(requiredBlock(ctx, size + 1));
        for (std::size_t i = 0; i < size; ++i) {
            result[i] = static_cast<char>(tag == 18 ? draw('0', '9') : draw('A', 'Z'));
        }
        return result;
    }
    void wide(ASN1TBMPText& value, std::int64_t low, std::int64_t high) {
        value.nchars = static_cast<std::uint32_t>(draw(low, high));
        value.data = units<std::uint16_t>(value.nchars);
    }
    void wide(ASN1TUniversalText& value, std::int64_t low, std::int64_t high) {
        value.nchars = static_cast<std::uint32_t>(draw(low, high));
        value.data = units<std::uint32_t>(value.nchars);
    }

    /// One short element, with this packed tag if that isn't 0. What other software looks into is
    /// well formed: text is letters, and a constructed element is empty.
    void open(ASN1TOpenType& value, std::uint32_t tag) {
        static constexpr std::array<unsigned char, 4> kTags = {0x04, 0x0C, 0x30, 0x05};
        const unsigned char first = tag != 0 ? static_cast<unsigned char>((tag >> 24) | (tag & 31))
                                             : kTags[static_cast<std::size_t>(draw(0, 3))];
        const bool empty = (first & 0x20) != 0 || first == 0x05;
        const auto size = static_cast<unsigned char>(empty ? 0 : draw(0, 20));
        auto* element = static_cast<unsigned char*>(requiredBlock(ctx, size + 2U));
        element[0] = first;
        element[1] = size;
        for (unsigned i = 0; i < size; ++i) {
            element[2 + i] =
                static_cast<unsigned char>(first == 0x04 ? draw(0, 255) : draw('a', 'z'));
        }
        value.data = element;
        value.numocts = size + 2U;
    }
    void extensions(ASN1TSeqOfList& list) {
        rtDListInit(&list);
        for (std::uint32_t i = count(0, 2); i-- > 0;) {
            open(*appended<ASN1TOpenType>(ctx, &list), 0);
        }
    }

    /// A filled record for an open value.
    template <class Record>
    void* make(void (*fill)(RandomValues&, Record*)) {
        auto* record = required<Record>(ctx);
        fill(*this, record);
        return record;
    }

private:
    static constexpr int kMostLevels = 9;

    std::int64_t draw(std::int64_t low, std::int64_t high) {
        return std::uniform_int_distribution<std::int64_t>(low, high)(engine_);
    }
    void fillBytes(unsigned char* target, std::size_t size) {
        for (std::size_t i = 0; i < size; ++i) {
            target[i] = static_cast<unsigned char>(draw(0, 255));
        }
    }
    // The bits behind the last one are 0: other software clears them.
    void fillBits(unsigned char* target, std::size_t size) {
        fillBytes(target, (size + 7) / 8);
        if (size % 8 != 0) {
            target[size / 8] &= static_cast<unsigned char>(0xFF00 >> (size % 8));
        }
    }
    const unsigned char* bytes(std::uint32_t size) {
        auto* result = static_cast<unsigned char*>(requiredBlock(ctx, size));
        fillBytes(result, size);
        return result;
    }
    template <class Unit>
    const Unit* units(std::uint32_t size) {
        auto* result = static_cast<Unit*>(requiredBlock(ctx, size * sizeof(Unit)));
        for (std::uint32_t i = 0; i < size; ++i) {
            result[i] = static_cast<Unit>(draw(1, 0xD7FF));
        }
        return result;
    }
    const char* keep(const char* value) {
        const char* result = nullptr;
        copyValue(ctx, value, &result);
        return result;
    }
    const char* hexadecimal(const char* prefix, const unsigned char* data, std::int64_t size,
                            bool pad) {
        static constexpr char kDigits[] = "0123456789abcdef";
        std::string result = prefix;
        result += pad ? "0" : "";
        for (std::int64_t i = 0; i < size; ++i) {
            result += kDigits[data[i] >> 4];
            result += kDigits[data[i] & 15];
        }
        return keep(result.c_str());
    }

    std::mt19937 engine_;
    int depth_ = 0;
};

} // namespace asn1data
