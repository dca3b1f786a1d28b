#include <basalt/certificate/key_bits.h>

namespace basalt {

Bytes key_bits_of(const X509* certificate) {
    const ASN1_BIT_STRING* bits = X509_get0_pubkey_bitstr(certificate);
    return {bits->data, static_cast<std::size_t>(bits->length)};
}

// A point is written with its second coordinate, with a bit of that one alone, or with both. The
// second one isn't looked at: what the bit says depends on the field, and the point's opposite has
// the same owner.
Bytes telling_bits(Bytes key) {
    if (key.size() < 2) {
        return key;
    }
    if ((key[0] & ~1U) == 2) {
        return key.subspan(1);
    }
    const bool is_whole = key.size() % 2 == 1 && (key[0] == 4 || (key[0] & ~1U) == 6);
    return is_whole ? key.subspan(1, key.size() / 2) : key;
}

bool same_key_bits(Bytes a, Bytes b) {
    return same_bytes(telling_bits(a), telling_bits(b));
}

} // namespace basalt
