// DER written: object identifiers.
#include <chronoseal/seal/der_writer.h>

#include <algorithm>

#include <chronoseal/seal/der_element.h>

namespace chronoseal {

Bytes der_oid(std::string_view dotted) {
    Bytes content;
    std::uint64_t first = 0;
    std::size_t index = 0;
    for (std::size_t at = 0; at <= dotted.size(); ++index) {
        const std::size_t end = std::min(dotted.find('.', at), dotted.size());
        std::uint64_t arc = 0;
        for (const char c : dotted.substr(at, end - at)) {
            if (c < '0' || c > '9' || arc > (UINT64_MAX >> 8) / 10) {
                return {};
            }
            arc = arc * 10 + static_cast<std::uint64_t>(c - '0');
        }
        if (end == at || (index == 0 && arc > 2) || (index == 1 && first < 2 && arc > 39)) {
            return {};
        }
        at = end + 1;
        if (index == 0) {
            first = arc;
            continue;
        }
        arc += index == 1 ? first * 40 : 0;
        Bytes octets;
        do {
            octets.insert(octets.begin(),
                          static_cast<std::byte>((arc & 0x7F) | (octets.empty() ? 0U : 0x80U)));
            arc >>= 7;
        } while (arc != 0);
        append(content, octets);
    }
    return index < 2 ? Bytes() : der_element(der_tag::kObjectIdentifier, content);
}

} // namespace chronoseal
