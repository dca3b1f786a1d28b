#include <basalt/chain/name_key.h>

namespace basalt {

namespace {

constexpr std::uint64_t kOffset = 14695981039346656037U; // FNV-1a
constexpr std::uint64_t kPrime = 1099511628211U;

constexpr BYTE kUniversalString = 0x1C;
constexpr BYTE kBmpString = 0x1E;

void mix(std::uint64_t& key, BYTE byte) {
    key = (key ^ byte) * kPrime;
}

std::size_t bytes_a_character(BYTE string_type) {
    switch (string_type) {
    case kUniversalString:
        return 4;
    case kBmpString:
        return 2;
    default:
        return 1;
    }
}

// Visible characters of ASCII, in small letters: what is left is the same in every string type.
void mix_text(std::uint64_t& key, const Element& value) {
    const std::size_t step = bytes_a_character(value.tag);
    for (std::size_t i = 0; i + step <= value.contents.size(); i += step) {
        bool plain = true;
        for (std::size_t high = 0; high + 1 < step; ++high) {
            plain = plain && value.contents[i + high] == 0;
        }
        const BYTE character = value.contents[i + step - 1];
        if (plain && character > ' ' && character < 0x7F) {
            const bool capital = character >= 'A' && character <= 'Z';
            mix(key, capital ? static_cast<BYTE>(character + ('a' - 'A')) : character);
        }
    }
}

std::uint64_t key_of_attribute(Bytes attribute) {
    DerReader fields(attribute);
    std::uint64_t key = kOffset;
    for (const BYTE byte : fields.take(tag::kOid).contents) {
        mix(key, byte);
    }
    mix_text(key, fields.take());
    return key;
}

} // namespace

// The order within a set doesn't count, so the keys of the attributes are added up.
std::uint64_t name_key(Bytes encoded_name) {
    std::uint64_t key = 0;
    try {
        DerReader sets(sole_element(encoded_name, tag::kSequence).contents);
        while (!sets.at_end()) {
            DerReader set(sets.take(tag::kSet).contents);
            while (!set.at_end()) {
                key += key_of_attribute(set.take(tag::kSequence).contents);
            }
        }
    } catch (const Fault&) {
        // No name; OpenSSL won't take it for one either.
    }
    return key;
}

Bytes bytes_of(const X509_NAME* name) {
    const unsigned char* encoded = nullptr;
    std::size_t size = 0;
    if (X509_NAME_get0_der(const_cast<X509_NAME*>(name), &encoded, &size) != 1) {
        return {};
    }
    return {encoded, size};
}

} // namespace basalt
