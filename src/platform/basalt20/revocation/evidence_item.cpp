#include <basalt/revocation/evidence_item.h>

#include <basalt/coding/der_reader.h>
#include <basalt/coding/der_writer.h>
#include <basalt/revocation/budget.h>
#include <basalt/sup/pem_text.h>

#include <utility>

namespace basalt {

namespace {

// Its first field is a version of one octet or the algorithm: that of a certificate is neither, but
// for a number of one octet in the oldest kind.
bool looks_like_list(Bytes bytes) {
    DerReader list(
        DerReader(DerReader(bytes).take(tag::kSequence).contents).take(tag::kSequence).contents);
    const Element first = list.take();
    return first.tag == tag::kSequence ||
           (first.tag == tag::kInteger && first.contents.size() == 1);
}

bool is_list_in_pem(std::string_view text) {
    PemReader reader(text);
    const std::optional<PemText> block = reader.next();
    return block && block->label.find("CRL") != std::string_view::npos;
}

} // namespace

bool looks_like(EvidenceKind kind, Bytes bytes) try {
    constexpr BYTE kSuccessful = 0;
    if (kind == EvidenceKind::crl) {
        return is_list_in_pem(text_of(bytes)) || looks_like_list(bytes);
    }
    const Bytes status =
        DerReader(DerReader(bytes).take(tag::kSequence).contents).take(tag::kEnumerated).contents;
    return status.size() == 1 && status[0] == kSuccessful;
} catch (const Fault&) {
    return false;
}

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
        item.is_garbled = !item.too_large && looks_like(kind, item.encoded);
        item.drop();
    }
    return item;
}

} // namespace basalt
