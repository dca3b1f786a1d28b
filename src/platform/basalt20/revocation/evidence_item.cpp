#include <basalt/revocation/evidence_item.h>

#include <basalt/revocation/budget.h>

#include <utility>

namespace basalt {

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
