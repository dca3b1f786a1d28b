#include <basalt/certificate/element_count.h>

#include <basalt/coding/der_reader.h>

#include <vector>

namespace basalt {

namespace {

// The least element has two octets. OpenSSL reads some spellings that aren't read here.
void count_within(Bytes value, std::size_t& count) try {
    std::vector<DerReader> open{DerReader(value)};
    while (!open.empty() && count <= kMostElements) {
        if (open.back().at_end()) {
            open.pop_back();
            continue;
        }
        const Element element = open.back().take();
        ++count;
        if (element.constructed()) {
            open.emplace_back(element.contents);
        }
    }
} catch (const Fault&) {
    count += value.size() / 2;
}

} // namespace

std::size_t element_count(const CERT_INFO& certificate) {
    std::size_t count = 0;
    for (DWORD i = 0; i < certificate.cExtension && count <= kMostElements; ++i) {
        const CRYPT_OBJID_BLOB& value = certificate.rgExtension[i].Value;
        ++count;
        count_within({value.pbData, value.cbData}, count);
    }
    return count;
}

} // namespace basalt
