// The lists and answers of the caller's stores, as candidates. Lists are found by their issuer's
// name and read in full only when that name is asked for. Made for one verdict.
#pragma once

#include <basalt/revocation/evidence_item.h>
#include <basalt/store/certificate_reference.h>

#include <functional>
#include <optional>
#include <set>
#include <vector>

namespace basalt {

class GivenEvidence {
public:
    // `own`: stores of this machine and its user, which go before those that came with the
    // question. Null stores are passed over. The stores are read by the first question.
    GivenEvidence(const std::vector<HCERTSTORE>& own, const std::vector<HCERTSTORE>& foreign);

    // Says whether so many comparisons with the item are to be had.
    using Affords = std::function<bool(const EvidenceItem& item, std::size_t comparisons)>;

    // Those that could be about the certificate: lists under one of these names, also such as can't
    // be used, and answers with an entry about it, as far as what it takes to look through them is
    // to be had. The pointers live as long as the object.
    std::vector<const EvidenceItem*> about(OcspIdentity& identity,
                                           const std::vector<const X509_NAME*>& list_issuers,
                                           const Affords& affords);

    // That somebody has put an answer to his own that can't be used.
    bool has_garbled_own() const { return has_garbled_own_; }

private:
    struct Place {
        StoreReference store;
        bool own;
    };
    struct List {
        bool own = false;
        CrlReference context;
        OpensslOwner<X509_NAME, X509_NAME_free> issuer;
        std::optional<EvidenceItem> item;
    };

    void read();
    void add(const std::vector<HCERTSTORE>& stores, bool own);
    void read_store(const Place& place);
    void sort_by_issuer();
    static const EvidenceItem& item_of(List& list);

    std::vector<Place> stores_;
    bool read_ = false;
    bool has_garbled_own_ = false;
    std::set<Sha256> seen_; // each object once, in however many stores it lies
    std::vector<List> lists_;
    std::vector<std::size_t> by_issuer_; // indices of lists, those of one issuer as they came
    std::vector<EvidenceItem> answers_;
};

} // namespace basalt
