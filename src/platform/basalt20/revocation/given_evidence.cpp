#include <basalt/revocation/given_evidence.h>

#include <basalt/certificate/x509_cache.h>
#include <basalt/store/record.h>

#include <openssl/err.h>

#include <algorithm>
#include <numeric>

namespace basalt {

GivenEvidence::GivenEvidence(const std::vector<HCERTSTORE>& own,
                             const std::vector<HCERTSTORE>& foreign) {
    add(own, true);
    add(foreign, false);
}

void GivenEvidence::add(const std::vector<HCERTSTORE>& stores, bool own) {
    for (const HCERTSTORE store : stores) {
        if (store != nullptr) {
            stores_.push_back({duplicate_store(store), own});
        }
    }
}

void GivenEvidence::read() {
    if (!std::exchange(read_, true)) {
        for (const Place& place : stores_) {
            read_store(place);
        }
        sort_by_issuer();
    }
}

void GivenEvidence::read_store(const Place& place) {
    const HCERTSTORE store = place.store.get();
    PCCRL_CONTEXT crl = nullptr;
    while ((crl = CertEnumCRLsInStore(store, crl)) != nullptr) {
        const CERT_NAME_BLOB& name = crl->pCrlInfo->Issuer;
        const unsigned char* cursor = name.pbData;
        List list;
        list.own = place.own;
        list.issuer.reset(d2i_X509_NAME(nullptr, &cursor, static_cast<long>(name.cbData)));
        list.context.reset(CertDuplicateCRLContext(crl));
        if (list.issuer && seen_.insert(sha256({crl->pbCrlEncoded, crl->cbCrlEncoded})).second) {
            lists_.push_back(std::move(list));
        }
    }
    PCBASALT_OCSP_CONTEXT answer = nullptr;
    while ((answer = BasaltEnumOcspResponsesInStore(store, answer)) != nullptr) {
        const auto bytes = std::make_shared<const std::vector<BYTE>>(
            answer->pbEncoded, answer->pbEncoded + answer->cbEncoded);
        EvidenceItem item;
        item.own = place.own;
        item.encoded = *bytes;
        item.keeper = bytes;
        item.answer = read_ocsp(item.encoded);
        has_garbled_own_ = has_garbled_own_ || (item.own && !item.usable() &&
                                                looks_like(EvidenceKind::ocsp, item.encoded));
        if (item.usable() && seen_.insert(sha256(item.encoded)).second) {
            answers_.push_back(std::move(item));
        }
    }
    ERR_clear_error();
}

void GivenEvidence::sort_by_issuer() {
    by_issuer_.resize(lists_.size());
    std::iota(by_issuer_.begin(), by_issuer_.end(), std::size_t{0});
    std::stable_sort(by_issuer_.begin(), by_issuer_.end(), [&](std::size_t a, std::size_t b) {
        return X509_NAME_cmp(lists_[a].issuer.get(), lists_[b].issuer.get()) < 0;
    });
}

const EvidenceItem& GivenEvidence::item_of(List& list) {
    if (!list.item) {
        EvidenceItem item;
        item.own = list.own;
        const auto context =
            std::make_shared<CrlReference>(CertDuplicateCRLContext(list.context.get()));
        item.encoded = {(*context)->pbCrlEncoded, (*context)->cbCrlEncoded};
        item.keeper = context;
        item.list = read_crl(item.encoded);
        list.item = std::move(item);
    }
    return *list.item;
}

std::vector<const EvidenceItem*>
GivenEvidence::about(OcspIdentity& identity, const std::vector<const X509_NAME*>& list_issuers,
                     const Affords& affords) {
    read();
    std::vector<std::size_t> lists;
    for (const X509_NAME* issuer : list_issuers) {
        const auto order = [&](std::size_t list) {
            return X509_NAME_cmp(lists_[list].issuer.get(), issuer);
        };
        const auto first = std::partition_point(by_issuer_.begin(), by_issuer_.end(),
                                                [&](std::size_t list) { return order(list) < 0; });
        const auto last = std::partition_point(first, by_issuer_.end(),
                                               [&](std::size_t list) { return order(list) == 0; });
        lists.insert(lists.end(), first, last);
    }
    std::sort(lists.begin(), lists.end());
    std::vector<const EvidenceItem*> found;
    for (const std::size_t list : lists) {
        found.push_back(&item_of(lists_[list]));
    }
    for (const EvidenceItem& answer : answers_) {
        const int entries = OCSP_resp_count(answer.answer->basic.get());
        if (affords(answer, static_cast<std::size_t>(entries)) &&
            is_about(*answer.answer, identity)) {
            found.push_back(&answer);
        }
    }
    return found;
}

} // namespace basalt
