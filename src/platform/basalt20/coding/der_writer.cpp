// DER written.
#include <basalt/coding/der_writer.h>

#include <algorithm>
#include <charconv>

namespace basalt {
namespace {

constexpr unsigned kMaxDepth = 64;

void append_length(std::string& out, std::size_t length) {
    if (length < 0x80) {
        out.push_back(static_cast<char>(length));
        return;
    }
    char octets[sizeof(length)];
    unsigned count = 0;
    for (; length != 0; length >>= 8) {
        octets[count++] = static_cast<char>(length & 0xFF);
    }
    out.push_back(static_cast<char>(0x80 | count));
    while (count != 0) {
        out.push_back(octets[--count]);
    }
}

void append_arc(std::string& out, std::uint64_t arc) {
    int shift = 63;
    while (shift > 0 && (arc >> shift) == 0) {
        shift -= 7;
    }
    for (; shift >= 0; shift -= 7) {
        const auto octet = static_cast<BYTE>((arc >> shift) & 0x7F);
        out.push_back(static_cast<char>(shift == 0 ? octet : octet | 0x80));
    }
}

std::vector<std::uint64_t> arcs_of(std::string_view dotted) {
    std::vector<std::uint64_t> arcs;
    const char* at = dotted.data();
    const char* end = at + dotted.size();
    while (true) {
        std::uint64_t arc = 0;
        const auto [next, error] = std::from_chars(at, end, arc);
        require(error == std::errc() && (next == end || *next == '.'), CRYPT_E_OID_FORMAT);
        arcs.push_back(arc);
        if (next == end) {
            return arcs;
        }
        at = next + 1;
    }
}

// The identifier octets of an element, which may be several.
std::string_view identifier_of(const Element& element) {
    std::size_t size = 1;
    if ((element.tag & 0x1F) == 0x1F) {
        while ((element.whole[size] & 0x80) != 0) {
            ++size;
        }
        ++size;
    }
    return text_of(element.whole.first(size));
}

bool is_universal_string(BYTE tag) {
    if ((tag & 0xC0) != 0) {
        return false;
    }
    switch (tag & 0x1F) {
    case 0x04: // OCTET STRING
    case 0x0C: // UTF8String
    case 0x12: // NumericString to GeneralizedTime, and the further character strings
    case 0x13:
    case 0x14:
    case 0x15:
    case 0x16:
    case 0x17:
    case 0x18:
    case 0x19:
    case 0x1A:
    case 0x1B:
    case 0x1C:
    case 0x1E:
        return true;
    default:
        return false;
    }
}

void append_string_pieces(std::string& out, Bytes contents, unsigned depth) {
    require(depth < kMaxDepth, CRYPT_E_ASN1_LARGE);
    DerReader reader(contents);
    while (!reader.at_end()) {
        const Element piece = reader.take();
        if (piece.constructed()) {
            append_string_pieces(out, piece.contents, depth + 1);
        } else {
            out.append(text_of(piece.contents));
        }
    }
}

void append_canonical(std::string& out, const Element& element, unsigned depth) {
    require(depth < kMaxDepth, CRYPT_E_ASN1_LARGE);
    if (!element.constructed()) {
        out.append(identifier_of(element));
        const bool truth = element.tag == tag::kBoolean && boolean_of(element.contents);
        append_length(out, element.contents.size());
        out.append(truth ? std::string_view("\xFF") : text_of(element.contents));
        return;
    }
    std::string contents;
    if (is_universal_string(element.tag)) {
        append_string_pieces(contents, element.contents, depth + 1);
        append_element(out, static_cast<BYTE>(element.tag & ~0x20), contents);
        return;
    }
    std::vector<std::string> parts;
    DerReader reader(element.contents);
    while (!reader.at_end()) {
        append_canonical(parts.emplace_back(), reader.take(), depth + 1);
    }
    if (element.tag == tag::kSet) {
        contents = set_contents({parts.begin(), parts.end()});
    } else {
        for (const std::string& part : parts) {
            contents += part;
        }
    }
    out.append(identifier_of(element));
    append_length(out, contents.size());
    out += contents;
}

} // namespace

void append_element(std::string& out, BYTE tag, std::string_view contents) {
    out.push_back(static_cast<char>(tag));
    append_length(out, contents.size());
    out.append(contents);
}

void append_element(std::string& out, BYTE tag, Bytes contents) {
    append_element(out, tag, text_of(contents));
}

std::string element(BYTE tag, std::string_view contents) {
    std::string out;
    out.reserve(contents.size() + 6);
    append_element(out, tag, contents);
    return out;
}

std::string set_contents(std::vector<std::string_view> elements) {
    // char_traits<char> compares as unsigned char, which is the order wanted.
    std::sort(elements.begin(), elements.end());
    std::string contents;
    for (const std::string_view encoded : elements) {
        contents += encoded;
    }
    return contents;
}

// X.690 8.19.
std::string oid_contents(std::string_view dotted) {
    const std::vector<std::uint64_t> arcs = arcs_of(dotted);
    require(arcs.size() >= 2 && arcs[0] <= 2 && (arcs[0] == 2 || arcs[1] < 40), CRYPT_E_OID_FORMAT);
    require(arcs[1] <= UINT64_MAX - 80, CRYPT_E_OID_FORMAT);
    std::string out;
    append_arc(out, arcs[0] * 40 + arcs[1]);
    for (std::size_t i = 2; i < arcs.size(); ++i) {
        append_arc(out, arcs[i]);
    }
    return out;
}

std::string encode_algorithm(const CRYPT_ALGORITHM_IDENTIFIER& algorithm) {
    require(algorithm.pszObjId != nullptr);
    std::string fields = element(tag::kOid, oid_contents(algorithm.pszObjId));
    fields.append(text_of({algorithm.Parameters.pbData, algorithm.Parameters.cbData}));
    return element(tag::kSequence, fields);
}

std::string encode_public_key_info(const CERT_PUBLIC_KEY_INFO& info) {
    std::string bits(1, static_cast<char>(info.PublicKey.cUnusedBits & 7));
    bits.append(text_of({info.PublicKey.pbData, info.PublicKey.cbData}));
    std::string fields = encode_algorithm(info.Algorithm);
    append_element(fields, tag::kBitString, bits);
    return element(tag::kSequence, fields);
}

std::string canonical_der(const Element& element) {
    std::string out;
    out.reserve(element.whole.size());
    append_canonical(out, element, 0);
    return out;
}

} // namespace basalt
