// The judgement of one certificate's standing: source after source, the rule asked after each.
#pragma once

#include <basalt/revocation/evidence_signer.h>
#include <basalt/revocation/kept_evidence.h>

namespace basalt {

class Inquiry {
public:
    // All arguments must outlive the object; path[index] has an issuer on the path.
    Inquiry(EvidenceSession& session, CertificatePathView path, std::size_t index,
            const StatusQuestion& question);

    StatusFinding run();

private:
    struct List {
        const EvidenceItem* item;
        ReasonSet reasons;
        const Listing* listing;
        CertificateEntry signer;
        bool by_issuer;      // or its user's own
        bool known;          // or from the certificate's own address
        unsigned number = 0; // as in Statement::signer
        bool strange = false;
    };
    struct Answer {
        const EvidenceItem* item;
        std::vector<Statement> statements;
    };
    using Items = std::vector<const EvidenceItem*>;

    // Each gives true when the question is decided.
    bool ask_given();
    bool ask_cache();
    bool ask_network();
    bool consider(Items items);
    bool consider_cached(const std::string& key, const std::string& url, EvidenceKind kind);
    bool ask_network(const std::string& url, EvidenceKind kind);

    Items fetched_before();
    void note_unheard(const EvidenceItem& fetched);
    bool is_by_list_issuer(const CrlFacts& list) const;
    bool is_for_us(const EvidenceItem& item);
    bool speaks_against(const EvidenceItem& item);
    bool may_speak_against(const EvidenceItem& item);
    void keep(const EvidenceItem& item);
    void keep_for_good();
    static void put_in_order(Items& items);
    void put_weightiest_first(Items& items);
    std::size_t comparisons_for(const EvidenceItem& item) const;
    bool affords(const EvidenceItem& item, std::size_t comparisons);
    void leave_out(const EvidenceItem& item);
    void dispute(const EvidenceItem& item);
    void accept(const EvidenceItem& item);
    bool hears(const EvidenceItem& item, bool (EvidenceSigner::*has_signed)(const EvidenceItem&));
    bool is_accepted(const EvidenceItem& item) const;
    const List* accepted_list(const EvidenceItem& item) const; // null when it isn't one
    bool supersedes(const EvidenceItem& newer, const EvidenceItem& kept);
    bool is_heard_already(const EvidenceItem& item) const;
    bool is_beyond_doubt(const Items& origin) const;
    bool is_from_own_address(const EvidenceItem& list) const;
    void number_signers();
    bool is_provisional() const;
    static bool have_same_signer(const List& a, const List& b);
    bool is_worth_keeping(const EvidenceItem& item);
    void state(const Statement& statement, Items origin);
    void state_list(const List& list, const std::vector<const List*>& deltas);
    void state_with_delta(const List& base, const Statement& own, const List& delta);
    bool is_in_force(const List& list) const;
    std::vector<const List*> deltas_newest_first() const;
    const List* newest_delta_of(const List& base, const std::vector<const List*>& deltas);
    void state_all();
    bool decide();
    // Whatever else may come changes nothing.
    bool is_final() const;
    // Nor need any other source be asked: of what revokes and may be revoked itself the cache is.
    bool ends_search() const;
    bool may_still_be_lifted() const;
    bool is_all_heard() const { return session_.signatures.left_out() == left_out_before_; }
    StatusFinding finding() const;
    std::vector<FileTicks> compromise_was_said() const;
    void add_support(StatusFinding& finding) const;
    DecidingEvidence deciding_evidence(const EvidenceItem& item, const Statement& of) const;

    EvidenceSession& session_;
    const unsigned left_out_before_;
    const StatusQuestion& question_;
    X509* certificate_;
    X509* issuer_;
    OcspIdentity identity_;
    const CertificateSources& sources_;
    EvidenceSigner signer_;
    EvidenceKeeper keeper_;
    SourceAddresses addresses_;
    std::vector<BYTE> request_;
    Moments moments_;

    Items contradicting_;         // kept once, against it, and now by nobody who is known
    Items beyond_doubt_;          // of the accepted
    Items doubtful_;              // of these, too
    std::vector<List> lists_;     // accepted
    std::vector<Answer> answers_; // accepted
    std::vector<Statement> statements_;
    std::vector<Items> origins_; // of the statements
    std::size_t stated_ = 0;     // of the accepted ones, so many
    Ruling ruling_;
    bool is_contested_ = false; // an own source gave what can't be heard
    bool something_at_hand_ = false;
    bool cache_was_asked_ = false;
    bool own_left_out_ = false; // something that isn't foreign
    unsigned disputed_ = 0;     // of what was left out
    std::string unreached_;
    bool not_heard_ = false; // as StatusFinding tells it, by an address
};

} // namespace basalt
