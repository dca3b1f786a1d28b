// What the judgements of one verdict share: the candidates, what was fetched, the signatures and
// findings so far, and the certificates whose judgement is under way. For one thread.
#pragma once

#include <basalt/revocation/evidence_signatures.h>
#include <basalt/revocation/given_evidence.h>
#include <basalt/revocation/listing.h>
#include <basalt/revocation/source_addresses.h>
#include <basalt/revocation/status_check.h>

#include <deque>
#include <map>
#include <tuple>

namespace basalt {

// What a certificate says of where its revocation is told.
struct CertificateSources {
    CertificateScope scope;
    SourceAddresses addresses;
};

class EvidenceSession {
public:
    EvidenceSession(Budget& given_budget, Retrieval& given_retrieval, SignerPaths& given_paths,
                    const std::vector<HCERTSTORE>& own, const std::vector<HCERTSTORE>& foreign)
        : budget(given_budget), retrieval(given_retrieval), paths(given_paths), given(own, foreign),
          signatures(given_budget) {}
    EvidenceSession(const EvidenceSession&) = delete;
    EvidenceSession& operator=(const EvidenceSession&) = delete;

    // As StatusCheck::judge; a judgement that comes back to a certificate whose own is under way,
    // or goes too deep, gives unknown.
    StatusFinding judge(CertificatePathView path, std::size_t index,
                        const StatusQuestion& question);

    bool is_under_way(const X509Entry& certificate);
    bool is_key_under_way(const X509Entry& certificate); // or another certificate of its key

    // How often something was passed over because of that.
    unsigned circles() const { return circles_; }

    // Both are worked out once, however many paths there are through the certificate.
    const CertificateSources& sources_of(X509* certificate);
    // Null when it would cost more than there is.
    const Listing* listing_of(const EvidenceItem& list, X509* certificate);
    // Whether the list has the certificate's number at all, as far as that is quickly seen.
    bool has_entry(const EvidenceItem& list, X509* certificate);

    // Own ones take nothing. A refusal is noted as something that was left out.
    bool affords(const EvidenceItem& item, std::size_t comparisons);

    Budget& budget;
    Retrieval& retrieval;
    SignerPaths& paths;
    GivenEvidence given;
    EvidenceSignatures signatures;

    // Of the judgement that ended last: good by what was heard, and what was left out is foreign.
    bool good_but_for_foreign = false;

    // What came from the cache and the network, by its key in the cache; also what was useless, so
    // that it isn't asked for again.
    std::map<std::string, std::deque<EvidenceItem>> fetched;
    const EvidenceItem* take_in(const std::string& key, EvidenceItem item);
    std::size_t taken_in() const { return taken_in_; }

    void forget_findings() { findings_.clear(); }

    // The certificates of responders that OpenSSL has read, null for those that it can't; however
    // many answers each has come with.
    std::map<Sha256, CertificateEntry> responders;
    // By its own word, of that authority; before OpenSSL reads it.
    std::map<std::pair<const CertificateBody*, const X509Entry*>, bool> may_be_delegates;
    // What spoke for the signer of a list or answer that was accepted, where that signer has a
    // status of its own.
    std::map<const EvidenceItem*, std::vector<DecidingEvidence>> support;

private:
    bool comes_back_to(const X509Entry& certificate, bool (*is_same)(const X509*, const X509*));

    using Key = std::tuple<const X509Entry*, const X509Entry*, const X509Entry*, FileTicks,
                           FileTicks, bool, bool, bool, bool>;

    std::vector<const X509Entry*> under_way_;
    std::map<Key, StatusFinding> findings_;
    unsigned circles_ = 0;
    std::size_t taken_in_ = 0;
    std::size_t octets_fetched_ = 0; // and kept here
    std::size_t judged_with_ = 0;    // of these, when the findings were made
    std::map<const X509*, CertificateSources> sources_;
    std::map<std::pair<const EvidenceItem*, const X509*>, Listing> listings_;
    std::map<std::pair<const EvidenceItem*, const X509*>, bool> entries_;
};

} // namespace basalt
