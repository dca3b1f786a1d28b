#include <basalt/certificate/key_bits.h>

#include <utility>

namespace basalt {

Bytes key_bits_of(const X509* certificate) {
    const ASN1_BIT_STRING* bits = X509_get0_pubkey_bitstr(certificate);
    return {bits->data, static_cast<std::size_t>(bits->length)};
}

// A point is written with its second coordinate, with a bit of that one alone, or with both. What
// the bit says depends on the field and isn't looked at: its opposite has the same owner.
bool same_key_bits(Bytes a, Bytes b) {
    const auto [small, large] = a.size() < b.size() ? std::pair(a, b) : std::pair(b, a);
    const bool is_point = !small.empty() && (small[0] & ~1U) == 2;
    const auto is_whole = [](Bytes bits) {
        return bits.size() % 2 == 1 && (bits[0] == 4 || (bits[0] & ~1U) == 6);
    };
    if (a.size() == b.size()) {
        return same_bytes(a, b) || (!a.empty() && (is_point || (is_whole(a) && is_whole(b))) &&
                                    same_bytes(a.subspan(1), b.subspan(1)));
    }
    return is_point && is_whole(large) && large.size() == 2 * small.size() - 1 &&
           same_bytes(small.subspan(1), large.subspan(1, small.size() - 1));
}

} // namespace basalt
