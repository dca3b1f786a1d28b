// Object identifiers. No count of arcs is trusted beyond the 128 that a record holds.
#include <chronoseal/asn1rt/object_identifier.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstring>

namespace {

constexpr std::uint64_t kMaxArc = 0xFFFFFFFF;
constexpr std::size_t kMaxDigits = 10;

std::uint32_t arcs_in_use(std::uint32_t numids) {
    return std::min(numids, maxObjectIdArcs);
}

bool is_blank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}
bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

// One piece of the text: its value, and the place behind it. False when it holds no arc. Blanks, a
// sign and leading zeros pass, the way strtoul reads a number of 64 bits: "-0" is 0, and a value
// close to 2^64 with a minus in front wraps around to a small one ("-18446744073709551615" is 1).
bool read_arc(const char*& text, std::uint32_t& arc) {
    const char* at = text;
    while (is_blank(*at)) {
        ++at;
    }
    const bool negative = *at == '-';
    if (*at == '-' || *at == '+') {
        ++at;
    }
    if (!is_digit(*at)) {
        return false;
    }
    std::uint64_t value = 0;
    bool saturated = false;
    for (; is_digit(*at); ++at) {
        const auto digit = static_cast<std::uint64_t>(*at - '0');
        saturated = saturated || value > (UINT64_MAX - digit) / 10;
        value = value * 10 + digit;
    }
    value = negative ? 0 - value : value;
    if (saturated || value > kMaxArc) {
        return false;
    }
    // The highest arc must be spelled plainly: neither blanks, sign nor zeros in front of it.
    if (value == kMaxArc && static_cast<std::size_t>(at - text) != kMaxDigits) {
        return false;
    }
    arc = static_cast<std::uint32_t>(value);
    text = at;
    return true;
}

template <typename Record>
void copy_arcs(Record& target, const Record& source) {
    target.numids = source.numids;
    // The source may be the target itself.
    std::memmove(target.subid, source.subid, arcs_in_use(source.numids) * sizeof source.subid[0]);
}

template <typename Record, typename Arc>
void copy_array(Record& target, unsigned char count, const Arc* arcs) {
    static_assert(sizeof(Arc) == sizeof target.subid[0]);
    target.numids = count;
    std::copy_n(arcs, arcs_in_use(count), target.subid);
}

} // namespace

void rtSetOID(ASN1OBJID* target, const ASN1OBJID* source) {
    copy_arcs(*target, *source);
}

int rtStrToOid(const char* text, ASN1OBJID* oid) {
    if (text == nullptr || oid == nullptr) {
        return 0;
    }
    oid->numids = 0;
    for (;; ++text) {
        if (oid->numids == maxObjectIdArcs || !read_arc(text, oid->subid[oid->numids])) {
            return 0;
        }
        ++oid->numids;
        if (*text != '.') {
            return *text == '\0' ? 1 : 0;
        }
    }
}

int rtOidToStr(const ASN1OBJID* oid, char* out, std::uint32_t capacity) {
    if (oid == nullptr || out == nullptr || capacity == 0) {
        return 0;
    }
    *out = '\0';
    char* const end = out + capacity;
    for (std::uint32_t i = 0; i < arcs_in_use(oid->numids); ++i) {
        char piece[kMaxDigits + 1];
        char* behind = piece;
        if (i > 0) {
            *behind++ = '.';
        }
        behind = std::to_chars(behind, piece + sizeof piece, oid->subid[i]).ptr;
        const std::ptrdiff_t length = behind - piece;
        if (length >= end - out) {
            return 0; // *out is the terminator behind the arcs so far
        }
        std::memcpy(out, piece, static_cast<std::size_t>(length));
        out += length;
        *out = '\0';
    }
    return 1;
}

std::uint32_t rtOidToStrLen(const ASN1OBJID* oid) {
    const std::uint32_t count = arcs_in_use(oid->numids);
    std::uint32_t length = count > 0 ? count - 1 : 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        std::uint32_t arc = oid->subid[i];
        do {
            ++length;
            arc /= 10;
        } while (arc != 0);
    }
    return length;
}

int rtCmpOID(ASN1CTXT*, const ASN1OBJID* a, const ASN1OBJID* b, unsigned char* flag) {
    if (*a == *b) {
        return 1;
    }
    *flag = 0;
    return 0;
}

int rtCmpOIDValue(ASN1CTXT* ctxt, const ASN1OBJID* a, const ASN1OBJID* b, unsigned char* flag) {
    return rtCmpOID(ctxt, a, b, flag);
}

bool operator==(const ASN1OBJID& a, const ASN1OBJID& b) {
    return a.numids == b.numids && std::equal(a.subid, a.subid + arcs_in_use(a.numids), b.subid);
}

ASN1TObjId::ASN1TObjId() {
    numids = 0;
}
ASN1TObjId::ASN1TObjId(unsigned char count, const unsigned int* arcs) {
    copy_array(*this, count, arcs);
}
ASN1TObjId::ASN1TObjId(const ASN1OBJID& other) {
    copy_arcs<ASN1OBJID>(*this, other);
}
ASN1TObjId::ASN1TObjId(const ASN1TObjId& other) : ASN1OBJID() {
    copy_arcs<ASN1OBJID>(*this, other);
}
ASN1TObjId& ASN1TObjId::operator=(const ASN1OBJID& other) {
    copy_arcs<ASN1OBJID>(*this, other);
    return *this;
}
ASN1TObjId& ASN1TObjId::operator=(const ASN1TObjId& other) {
    copy_arcs<ASN1OBJID>(*this, other);
    return *this;
}

ASN1TObjId64::ASN1TObjId64() {
    numids = 0;
}
ASN1TObjId64::ASN1TObjId64(unsigned char count, const long long* arcs) {
    copy_array(*this, count, arcs);
}
ASN1TObjId64::ASN1TObjId64(const ASN1OID64& other) {
    copy_arcs<ASN1OID64>(*this, other);
}
ASN1TObjId64::ASN1TObjId64(const ASN1TObjId64& other) : ASN1OID64() {
    copy_arcs<ASN1OID64>(*this, other);
}
ASN1TObjId64& ASN1TObjId64::operator=(const ASN1OID64& other) {
    copy_arcs<ASN1OID64>(*this, other);
    return *this;
}
ASN1TObjId64& ASN1TObjId64::operator=(const ASN1TObjId64& other) {
    copy_arcs<ASN1OID64>(*this, other);
    return *this;
}
