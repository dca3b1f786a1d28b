// Rewriting of indefinite lengths (X.690, 8.1.3.6).
#include <chronoseal/seal/definite_form.h>

#include <chronoseal/seal/der_writer.h>

namespace chronoseal {

namespace {

constexpr unsigned kMostDepth = 64;
constexpr std::size_t kMostIdentifier = 6;

unsigned octet_at(ByteView bytes, std::size_t i) {
    return std::to_integer<unsigned>(bytes[i]);
}

struct Head {
    ByteView identifier;
    std::size_t size = 0; // of identifier and length
    std::optional<std::size_t> length;
};

std::optional<Head> read_head(ByteView bytes) {
    std::size_t at = 1;
    if (bytes.empty()) {
        return std::nullopt;
    }
    if ((octet_at(bytes, 0) & 0x1F) == 0x1F) {
        do {
            if (at >= bytes.size() || at > kMostIdentifier) {
                return std::nullopt;
            }
        } while ((octet_at(bytes, at++) & 0x80) != 0);
    }
    if (at >= bytes.size()) {
        return std::nullopt;
    }
    Head head{bytes.first(at), at + 1, std::nullopt};
    const unsigned first = octet_at(bytes, at);
    if (first < 0x80) {
        head.length = first;
    } else if (first != 0x80) {
        const std::size_t count = first & 0x7F;
        if (count > 4 || bytes.size() < head.size + count) {
            return std::nullopt;
        }
        std::size_t length = 0;
        for (std::size_t i = 0; i < count; ++i) {
            length = length << 8 | octet_at(bytes, head.size + i);
        }
        head.size += count;
        head.length = length;
    } else if ((octet_at(bytes, 0) & 0x20) == 0) {
        return std::nullopt; // only what is constructed may be of indefinite length
    }
    if (head.length && *head.length > bytes.size() - head.size) {
        return std::nullopt;
    }
    return head;
}

bool is_string_in_pieces(unsigned tag) {
    switch (tag) {
    case 0x24: // OCTET STRING
    case 0x2C: // UTF8String, and the other character strings and times
    case 0x32:
    case 0x33:
    case 0x34:
    case 0x35:
    case 0x36:
    case 0x37:
    case 0x38:
    case 0x39:
    case 0x3A:
    case 0x3B:
    case 0x3C:
    case 0x3E:
        return true;
    default:
        return false;
    }
}

// One element: what it takes of the input, and what it became.
struct Rewritten {
    std::size_t taken = 0;
    Bytes bytes;
    std::size_t head = 0; // of `bytes`
    bool changed = false;
};

std::optional<Rewritten> rewrite(ByteView bytes, unsigned depth);

// The elements of `content`, up to its end or to the end-of-contents octets. False for bad BER.
bool rewrite_content(ByteView content, bool definite, bool string, unsigned depth, Bytes& out,
                     std::size_t& taken, bool& changed) {
    for (;;) {
        const ByteView rest = content.subspan(taken);
        if (definite && rest.empty()) {
            return true;
        }
        if (!definite && rest.size() >= 2 && octet_at(rest, 0) == 0 && octet_at(rest, 1) == 0) {
            taken += 2;
            return true;
        }
        const auto inner = rewrite(rest, depth + 1);
        if (!inner) {
            return false;
        }
        taken += inner->taken;
        changed |= inner->changed;
        append(out, ByteView(inner->bytes).subspan(string ? inner->head : 0));
    }
}

// Definite lengths all the way down are kept octet for octet, which only a look can tell.
std::optional<Rewritten> rewrite(ByteView bytes, unsigned depth) {
    const auto head = read_head(bytes);
    if (!head || depth > kMostDepth) {
        return std::nullopt;
    }
    Rewritten result;
    const bool constructed = (octet_at(bytes, 0) & 0x20) != 0;
    const bool definite = head->length.has_value();
    const ByteView content =
        definite ? bytes.subspan(head->size, *head->length) : bytes.subspan(head->size);
    const bool in_pieces = constructed && is_string_in_pieces(octet_at(bytes, 0));
    Bytes inner;
    if (constructed) {
        std::size_t taken = 0;
        if (!rewrite_content(content, definite, in_pieces, depth, inner, taken, result.changed)) {
            return std::nullopt;
        }
        result.changed |= !definite;
        result.taken = head->size + taken;
    } else {
        result.taken = head->size + content.size();
    }
    if (!result.changed) {
        append(result.bytes, bytes.first(result.taken));
        result.head = head->size;
        return result;
    }
    const auto primitive = static_cast<std::byte>(octet_at(bytes, 0) & ~0x20U);
    append_head(result.bytes, in_pieces ? ByteView(&primitive, 1) : head->identifier, inner.size());
    result.head = result.bytes.size();
    append(result.bytes, inner);
    return result;
}

} // namespace

std::optional<Bytes> with_definite_lengths(ByteView bytes) {
    auto result = rewrite(bytes, 0);
    return result && result->taken == bytes.size() ? std::optional(std::move(result->bytes))
                                                   : std::nullopt;
}

} // namespace chronoseal
