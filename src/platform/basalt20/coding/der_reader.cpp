// The cursor over BER.
#include <basalt/coding/der_reader.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <vector>

namespace basalt {
namespace {

constexpr unsigned kMaxIndefiniteDepth = 32;

struct Header {
    BYTE tag = 0;
    bool indefinite = false;
    std::size_t header_size = 0;
    std::size_t length = 0;
};

// X.690 8.1.2 and 8.1.3. High tag numbers are walked over, up to four octets of them.
Header read_header(Bytes bytes) {
    Header header;
    std::size_t at = 0;
    const auto next = [&] {
        require(at < bytes.size(), CRYPT_E_ASN1_EOD);
        return bytes[at++];
    };
    header.tag = next();
    if ((header.tag & 0x1F) == 0x1F) {
        int octets = 0;
        while ((next() & 0x80) != 0) {
            require(++octets < 4, CRYPT_E_ASN1_CORRUPT);
        }
    }
    const BYTE first = next();
    if (first < 0x80) {
        header.length = first;
    } else if (first == 0x80) {
        require((header.tag & 0x20) != 0, CRYPT_E_ASN1_CORRUPT);
        header.indefinite = true;
    } else {
        const unsigned octets = first & 0x7FU;
        require(octets != 0x7F, CRYPT_E_ASN1_CORRUPT);
        for (unsigned i = 0; i < octets; ++i) {
            require(header.length <= (SIZE_MAX >> 8), CRYPT_E_ASN1_CORRUPT);
            header.length = (header.length << 8) | next();
        }
    }
    header.header_size = at;
    require(header.indefinite || header.length <= bytes.size() - at, CRYPT_E_ASN1_EOD);
    return header;
}

// Universal types that are always in one piece, and those that never are; an end mark is no
// element.
constexpr std::uint32_t kAlwaysPrimitive =
    1U << 1 | 1U << 2 | 1U << 5 | 1U << 6 | 1U << 9 | 1U << 10;
constexpr std::uint32_t kAlwaysConstructed = 1U << 16 | 1U << 17;

void check_form(BYTE tag) {
    if ((tag & 0xC0) != 0) {
        return;
    }
    const bool constructed = (tag & 0x20) != 0;
    const std::uint32_t wrong = constructed ? kAlwaysPrimitive | 1U : kAlwaysConstructed | 1U;
    require((wrong >> (tag & 0x1F) & 1) == 0, CRYPT_E_ASN1_CORRUPT);
}

bool is_end_mark(Bytes bytes) {
    return bytes.size() >= 2 && bytes[0] == 0 && bytes[1] == 0;
}

// The length of contents of indefinite length: up to its end mark, which isn't counted.
std::size_t indefinite_length(Bytes bytes) {
    std::size_t at = 0;
    unsigned depth = 1;
    while (true) {
        const Bytes rest = bytes.subspan(at);
        if (is_end_mark(rest)) {
            if (--depth == 0) {
                return at;
            }
            at += 2;
            continue;
        }
        const Header header = read_header(rest);
        at += header.header_size + header.length;
        if (header.indefinite) {
            require(++depth <= kMaxIndefiniteDepth, CRYPT_E_ASN1_LARGE);
        }
    }
}

void append_pieces(Bytes contents, std::string& storage, unsigned depth) {
    require(depth < kMaxIndefiniteDepth, CRYPT_E_ASN1_LARGE);
    DerReader reader(contents);
    while (!reader.at_end()) {
        const Element piece = reader.take();
        require((piece.tag & ~0x20) == tag::kOctetString, CRYPT_E_ASN1_BADTAG);
        if (piece.constructed()) {
            append_pieces(piece.contents, storage, depth + 1);
        } else {
            storage.append(piece.contents.begin(), piece.contents.end());
        }
    }
}

// The calendar part of a time text, read from front to back.
class TimeText {
public:
    explicit TimeText(Bytes text) : rest_(text) {}

    unsigned digits(unsigned count) {
        unsigned value = 0;
        for (unsigned i = 0; i < count; ++i) {
            require(digit_next(), CRYPT_E_ASN1_CORRUPT);
            value = value * 10 + (rest_[0] - '0');
            rest_ = rest_.subspan(1);
        }
        return value;
    }
    bool digit_next() const { return !rest_.empty() && rest_[0] >= '0' && rest_[0] <= '9'; }
    bool skip(char wanted) {
        if (rest_.empty() || rest_[0] != wanted) {
            return false;
        }
        rest_ = rest_.subspan(1);
        return true;
    }
    bool at_end() const { return rest_.empty(); }

private:
    Bytes rest_;
};

bool leap(unsigned year) {
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

unsigned days_in_month(unsigned year, unsigned month) {
    static constexpr unsigned kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && leap(year) ? 29 : kDays[month - 1];
}

// Days from 1601-01-01 to the first of January.
std::int64_t days_to_year(unsigned year) {
    const std::int64_t past = static_cast<std::int64_t>(year) - 1601;
    return past * 365 + past / 4 - past / 100 + past / 400;
}

// Fractions of GeneralizedTime, in ticks of 100 ns; further digits are dropped.
std::int64_t fraction(TimeText& text) {
    if (!text.skip('.') && !text.skip(',')) {
        return 0;
    }
    require(text.digit_next(), CRYPT_E_ASN1_CORRUPT);
    std::int64_t ticks = 0;
    for (std::int64_t unit = 1'000'000; text.digit_next(); unit /= 10) {
        ticks += unit * text.digits(1);
    }
    return ticks;
}

std::int64_t zone_minutes(TimeText& text) {
    if (text.skip('Z')) {
        return 0;
    }
    const bool ahead = text.skip('+');
    require(ahead || text.skip('-'), CRYPT_E_ASN1_CORRUPT);
    const unsigned hours = text.digits(2);
    const unsigned minutes = text.digits(2);
    require(hours <= 23 && minutes <= 59, CRYPT_E_ASN1_CORRUPT);
    const std::int64_t total = hours * 60 + minutes;
    return ahead ? total : -total;
}

} // namespace

Element DerReader::take() {
    // Nearly all elements have a short tag and at most 127 bytes.
    constexpr BYTE kShort = 0x80;
    if (rest_.size() >= 2 && (rest_[0] & 0x1F) != 0x1F && rest_[1] < kShort &&
        rest_[1] <= rest_.size() - 2) {
        check_form(rest_[0]);
        Element element;
        element.tag = rest_[0];
        element.contents = {rest_.data() + 2, rest_[1]};
        element.whole = {rest_.data(), rest_[1] + std::size_t{2}};
        rest_ = rest_.subspan(element.whole.size());
        return element;
    }
    const Header header = read_header(rest_);
    check_form(header.tag);
    Element element;
    element.tag = header.tag;
    element.indefinite = header.indefinite;
    const Bytes behind = rest_.subspan(header.header_size);
    const std::size_t length = header.indefinite ? indefinite_length(behind) : header.length;
    const std::size_t marks = header.indefinite ? 2 : 0;
    element.contents = behind.first(length);
    element.whole = rest_.first(header.header_size + length + marks);
    rest_ = rest_.subspan(element.whole.size());
    return element;
}

Element DerReader::take(BYTE wanted) {
    require(!rest_.empty(), CRYPT_E_ASN1_EOD);
    require(rest_[0] == wanted, CRYPT_E_ASN1_BADTAG);
    return take();
}

Element DerReader::take_if(BYTE wanted) {
    if (rest_.empty() || rest_[0] != wanted) {
        return {};
    }
    return take();
}

Element sole_element(Bytes bytes) {
    DerReader reader(bytes);
    const Element element = reader.take();
    reader.expect_end();
    return element;
}

Element sole_element(Bytes bytes, BYTE wanted) {
    DerReader reader(bytes);
    const Element element = reader.take(wanted);
    reader.expect_end();
    return element;
}

namespace {

constexpr std::size_t kMostArcOctets = 64;

// An arc of more than 64 bits, as that of a UUID: in decimal, the last nine digits first.
class LongArc {
public:
    void append(unsigned seven_bits) {
        std::uint64_t carry = seven_bits;
        for (std::uint32_t& digits : digits_) {
            carry += std::uint64_t{digits} << 7;
            digits = static_cast<std::uint32_t>(carry % kBase);
            carry /= kBase;
        }
        if (carry != 0) {
            digits_.push_back(static_cast<std::uint32_t>(carry));
        }
    }

    char* write(char* at, char* end) const {
        at = std::to_chars(at, end, digits_.back()).ptr;
        for (auto digits = digits_.rbegin() + 1; digits != digits_.rend(); ++digits) {
            char nine[9];
            const auto size =
                static_cast<std::size_t>(std::to_chars(nine, nine + 9, *digits).ptr - nine);
            at = std::fill_n(at, 9 - size, '0');
            at = std::copy_n(nine, size, at);
        }
        return at;
    }

private:
    static constexpr std::uint32_t kBase = 1'000'000'000;
    std::vector<std::uint32_t> digits_;
};

} // namespace

// X.690 8.19.
void append_oid_text(Bytes contents, std::string& out) {
    require(!contents.empty() && (contents.back() & 0x80) == 0, CRYPT_E_ASN1_CORRUPT);
    // Seven bits and a point take four characters at most, and the first root two more. Written in
    // place: names and certificates are full of identifiers.
    const std::size_t before = out.size();
    out.resize(before + contents.size() * 4 + 2);
    char* at = out.data() + before;
    const auto append = [&](std::uint64_t arc) {
        if (arc < 10) {
            *at++ = static_cast<char>('0' + arc);
        } else {
            at = std::to_chars(at, out.data() + out.size(), arc).ptr;
        }
    };
    std::uint64_t arc = 0;
    bool first = true;
    std::size_t begin = 0; // of the arc
    for (std::size_t i = 0; i < contents.size(); ++i) {
        const BYTE octet = contents[i];
        require(i != begin || octet != 0x80, CRYPT_E_ASN1_CORRUPT);
        const bool is_long = arc > (UINT64_MAX >> 7);
        require(!is_long || (!first && i - begin < kMostArcOctets), CRYPT_E_ASN1_LARGE);
        arc = is_long ? arc : (arc << 7) | (octet & 0x7FU);
        if ((octet & 0x80) != 0) {
            continue;
        }
        const std::size_t end = i + 1;
        if (is_long) {
            LongArc whole;
            for (const BYTE part : contents.subspan(begin, end - begin)) {
                whole.append(part & 0x7FU);
            }
            *at++ = '.';
            at = whole.write(at, out.data() + out.size());
            begin = end;
            arc = 0;
            continue;
        }
        begin = end;
        if (first) {
            const std::uint64_t root = arc < 80 ? arc / 40 : 2;
            append(root);
            arc -= root * 40;
            first = false;
        }
        *at++ = '.';
        append(arc);
        arc = 0;
    }
    out.resize(static_cast<std::size_t>(at - out.data()));
}

std::string oid_text(Bytes contents) {
    std::string out;
    out.reserve(contents.size() * 4 + 2);
    append_oid_text(contents, out);
    return out;
}

Bytes octets_of(const Element& element, std::string& storage) {
    if (!element.constructed()) {
        return element.contents;
    }
    storage.clear();
    append_pieces(element.contents, storage, 0);
    return {reinterpret_cast<const BYTE*>(storage.data()), storage.size()};
}

Bits bits_of(Bytes contents) {
    require(!contents.empty() && contents[0] <= 7, CRYPT_E_ASN1_CORRUPT);
    require(contents.size() > 1 || contents[0] == 0, CRYPT_E_ASN1_CORRUPT);
    return {contents.subspan(1), contents[0]};
}

Bytes minimal_integer(Bytes contents) {
    require(!contents.empty(), CRYPT_E_ASN1_CORRUPT);
    while (contents.size() > 1) {
        const bool negative = (contents[1] & 0x80) != 0;
        if (contents[0] != (negative ? 0xFF : 0x00)) {
            break;
        }
        contents = contents.subspan(1);
    }
    return contents;
}

DWORD small_integer(Bytes contents) {
    contents = minimal_integer(contents);
    require(contents.size() <= 4 && (contents[0] & 0x80) == 0, CRYPT_E_ASN1_CORRUPT);
    DWORD value = 0;
    for (const BYTE octet : contents) {
        value = (value << 8) | octet;
    }
    return value;
}

bool boolean_of(Bytes contents) {
    require(contents.size() == 1, CRYPT_E_ASN1_CORRUPT);
    return contents[0] != 0;
}

// X.680 46 and 47, with the seconds required (RFC 5280 4.1.2.5).
FILETIME time_of(const Element& element) {
    require(element.tag == tag::kUtcTime || element.tag == tag::kGeneralizedTime,
            CRYPT_E_ASN1_BADTAG);
    TimeText text(element.contents);
    unsigned year = 0;
    if (element.tag == tag::kUtcTime) {
        year = text.digits(2);
        year += year < 50 ? 2000 : 1900;
    } else {
        year = text.digits(4);
    }
    const unsigned month = text.digits(2);
    const unsigned day = text.digits(2);
    require(year >= 1601 && month >= 1 && month <= 12 && day >= 1 &&
                day <= days_in_month(year, month),
            CRYPT_E_ASN1_CORRUPT);
    const unsigned hour = text.digits(2);
    const unsigned minute = text.digits(2);
    const unsigned second = text.digit_next() ? text.digits(2) : 0;
    require(hour <= 23 && minute <= 59 && second <= 59, CRYPT_E_ASN1_CORRUPT);
    const std::int64_t ticks = element.tag == tag::kGeneralizedTime ? fraction(text) : 0;
    const std::int64_t zone = zone_minutes(text);
    require(text.at_end(), CRYPT_E_ASN1_CORRUPT);

    std::int64_t days = days_to_year(year) + day - 1;
    for (unsigned m = 1; m < month; ++m) {
        days += days_in_month(year, m);
    }
    const std::int64_t minutes = days * 1440 + hour * 60 + minute - zone;
    const std::int64_t total = (minutes * 60 + second) * 10'000'000 + ticks;
    require(total >= 0, CRYPT_E_ASN1_CORRUPT);
    return {static_cast<DWORD>(total), static_cast<DWORD>(total >> 32)};
}

} // namespace basalt
