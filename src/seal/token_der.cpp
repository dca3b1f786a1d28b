// One walk over BER, element by element; depth and bytes are bounded by those of the token.
#include <chronoseal/seal/token_der.h>

#include <algorithm>
#include <optional>

#include <chronoseal/seal/der_element.h>
#include <chronoseal/seal/der_writer.h>
#include <chronoseal/seal/platform_text.h>
#include <chronoseal/seal/repeated_hash.h>

namespace chronoseal {

namespace {

using namespace der_tag;

constexpr unsigned kConstructed = 0x20;
constexpr unsigned kIndefinite = 0x80;
constexpr unsigned kDeepest = 64;
constexpr unsigned kContext1 = kContext0 + 1;

struct NotReadable {};

struct BerElement {
    unsigned tag = 0;
    ByteView content; // without the end marker
    ByteView whole;

    bool constructed() const { return (tag & kConstructed) != 0; }
};

BerElement read_element(ByteView bytes, unsigned depth);

// The size of the elements up to the end marker.
std::size_t size_to_marker(ByteView bytes, unsigned depth) {
    std::size_t at = 0;
    while (bytes.size() - at < 2 || bytes[at] != std::byte{0} || bytes[at + 1] != std::byte{0}) {
        at += read_element(bytes.subspan(at), depth + 1).whole.size();
    }
    return at;
}

BerElement read_element(ByteView bytes, unsigned depth) {
    if (depth > kDeepest || bytes.size() < 2) {
        throw NotReadable();
    }
    if (std::to_integer<unsigned>(bytes[1]) == kIndefinite) {
        const unsigned tag = std::to_integer<unsigned>(bytes[0]);
        if ((tag & kConstructed) == 0 || (tag & 0x1F) == 0x1F) {
            throw NotReadable();
        }
        const std::size_t size = size_to_marker(bytes.subspan(2), depth);
        return {tag, bytes.subspan(2, size), bytes.first(size + 4)};
    }
    const auto element = DerReader(bytes).next();
    if (!element) {
        throw NotReadable();
    }
    return {element->tag, element->content, element->whole};
}

bool is_indefinite(const BerElement& element) {
    return element.whole[1] == std::byte{kIndefinite};
}

std::vector<BerElement> children_of(const BerElement& parent, unsigned depth) {
    std::vector<BerElement> children;
    for (ByteView rest = parent.content; !rest.empty();) {
        children.push_back(read_element(rest, depth + 1));
        rest = rest.subspan(children.back().whole.size());
    }
    return children;
}

// In the order of their encodings, as DER has the members of a SET OF.
Bytes set_of(unsigned tag, std::vector<Bytes> members) {
    std::ranges::sort(members, [](const Bytes& a, const Bytes& b) { return less(a, b); });
    Bytes content;
    for (const Bytes& member : members) {
        append(content, member);
    }
    return der_element(tag, {content});
}

Bytes octet_string(const BerElement& element, unsigned depth) {
    Bytes content;
    if (!element.constructed()) {
        return copy_of(element.content);
    }
    for (const BerElement& piece : children_of(element, depth)) {
        append(content, octet_string(piece, depth + 1));
    }
    return content;
}

// Everything below that isn't under a signature.
Bytes definite(const BerElement& element, unsigned depth) {
    if (!element.constructed()) {
        return der_element(element.tag, {element.content});
    }
    if (element.tag == (kOctetString | kConstructed)) {
        return der_element(kOctetString, {octet_string(element, depth)});
    }
    std::vector<Bytes> members;
    Bytes content;
    for (const BerElement& child : children_of(element, depth)) {
        members.push_back(definite(child, depth + 1));
        append(content, members.back());
    }
    return element.tag == kSet ? set_of(kSet, std::move(members))
                               : der_element(element.tag, {content});
}

// Members as they are, within a definite length.
Bytes kept(const BerElement& element, bool sorted, unsigned depth) {
    if (!sorted) {
        return der_element(element.tag, {element.content});
    }
    std::vector<Bytes> members;
    for (const BerElement& child : children_of(element, depth)) {
        members.push_back(copy_of(child.whole));
    }
    return set_of(element.tag, std::move(members));
}

Bytes signer(const BerElement& element, unsigned depth) {
    Bytes content;
    for (const BerElement& field : children_of(element, depth)) {
        if (field.tag == kContext0) { // signed attributes
            append(content, kept(field, false, depth + 1));
        } else if (field.tag == kContext1) {
            std::vector<Bytes> attributes;
            for (const BerElement& attribute : children_of(field, depth + 1)) {
                // They may hold certificates and whole messages, signed again.
                attributes.push_back(is_indefinite(attribute) ? definite(attribute, depth + 2)
                                                              : copy_of(attribute.whole));
            }
            append(content, set_of(kContext1, std::move(attributes)));
        } else {
            append(content, definite(field, depth + 1));
        }
    }
    return der_element(element.tag, {content});
}

Bytes signed_data(const BerElement& element, unsigned depth) {
    Bytes content;
    unsigned sets = 0;
    for (const BerElement& field : children_of(element, depth)) {
        if (field.tag == kContext0 || field.tag == kContext1) { // certificates, lists
            append(content, kept(field, true, depth + 1));
        } else if (field.tag == kSet && ++sets == 2) {
            std::vector<Bytes> signers;
            for (const BerElement& one : children_of(field, depth + 1)) {
                signers.push_back(signer(one, depth + 2));
            }
            append(content, set_of(kSet, std::move(signers)));
        } else {
            append(content, definite(field, depth + 1));
        }
    }
    return der_element(element.tag, {content});
}

Bytes content_info(ByteView token) {
    const BerElement outer = read_element(token, 0);
    const auto fields = children_of(outer, 0);
    if (outer.tag != kSequence || outer.whole.size() != token.size() || fields.size() != 2 ||
        fields[0].tag != kObjectIdentifier || fields[1].tag != kContext0) {
        throw NotReadable();
    }
    const auto inside = children_of(fields[1], 1);
    if (inside.size() != 1 || inside[0].tag != kSequence) {
        throw NotReadable();
    }
    return der_element(
        kSequence, {definite(fields[0], 1), der_element(kContext0, {signed_data(inside[0], 2)})});
}

} // namespace

Bytes token_der(ByteView token) {
    try {
        return content_info(token);
    } catch (const NotReadable&) {
        return copy_of(token);
    }
}

} // namespace chronoseal
