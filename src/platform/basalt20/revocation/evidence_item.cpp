#include <basalt/revocation/evidence_item.h>

#include <utility>

namespace basalt {

namespace {

// Of one that is fetched, beside a list's entries or an answer's certificates: OpenSSL makes forty
// times as much of it, before anybody can look who signed it.
constexpr std::size_t kMostUnverified = std::size_t{64} << 10;

} // namespace

EvidenceItem fetched_item(EvidenceSource source, const std::string& url, EvidenceKind kind,
                          std::vector<BYTE> bytes) {
    auto shared = std::make_shared<const std::vector<BYTE>>(std::move(bytes));
    EvidenceItem item;
    item.source = source;
    item.url = url;
    item.encoded = *shared;
    item.keeper = std::move(shared);
    if (kind == EvidenceKind::crl) {
        item.too_large = size_beside_entries(item.encoded) > kMostUnverified;
        item.list = item.too_large ? nullptr : read_crl(item.encoded);
    } else {
        item.too_large = size_beside_certificates(item.encoded) > kMostUnverified;
        item.answer = item.too_large ? nullptr : read_ocsp(item.encoded);
    }
    if (!item.usable()) {
        item.drop();
    }
    return item;
}

} // namespace basalt
