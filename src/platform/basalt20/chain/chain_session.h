// Everything that belongs to one question about one certificate: what there is to choose from, what
// has been verified and fetched, and what it may cost. Judges at one moment after another without
// doing anything twice. The network is asked in judge() alone: for evidence only of a path that is
// good but for that, and for issuers where one is lacking or isn't right. Any thread, one at a
// time.
#pragma once

#include <basalt/chain/chain_settings.h>
#include <basalt/chain/issuer_fetch.h>
#include <basalt/chain/key_hearing.h>
#include <basalt/chain/path_judgement.h>
#include <basalt/chain/path_usage.h>
#include <basalt/revocation/status_check.h>

#include <map>
#include <mutex>
#include <set>
#include <tuple>

namespace basalt {

enum class RevocationScope { none, end_only, all_but_anchor };

struct SessionRequest {
    std::shared_ptr<CertificateItem> end;
    HCERTSTORE additional = nullptr; // an open store, or null; must outlive the session
    std::vector<std::string> policies;
    RevocationScope revocation = RevocationScope::none;
    bool may_fetch = true;
};

struct JudgedElement {
    PoolCertificate* certificate = nullptr;
    std::vector<int> errors; // X509_V_ERR numbers: constraints, strength, missing or bad issuers
    bool out_of_time = false;
    bool misused = false;
    bool aged = false;
    bool key_is_compromised = false; // by what another certificate of that key has told
    // By whom nobody knows to be right: those who could tell about him told nothing, or weren't
    // asked yet. The first address of these that gave nothing.
    bool is_accused = false;
    std::string unreached;
    std::optional<StatusFinding> status; // nothing when it wasn't asked for
    bool status_passes = true;
};

// How far a path came; the farther, the better it tells what is wrong.
enum class JudgedTo { structure, validity, usage, revocation, good };

struct Judgement {
    std::vector<JudgedElement> elements; // never empty
    bool ends_in_anchor = false;
    JudgedTo judged_to = JudgedTo::structure;
    // More lay at hand than could be looked at: there may be another path, or something that
    // another certificate of one of these keys has to tell. Never of a good one.
    bool cut_short = false;
    // Revoked, whatever other path there may be.
    bool condemned = false;

    bool good() const { return judged_to == JudgedTo::good; }
};

class ChainSession final : private SignerPaths {
public:
    // Fault CRYPT_E_ASN1_CORRUPT when OpenSSL can't read the certificate itself.
    ChainSession(ChainSettings settings, SessionRequest request);
    ~ChainSession() override;
    ChainSession(const ChainSession&) = delete;
    ChainSession& operator=(const ChainSession&) = delete;

    // The first good path at `at`, or else the best of the others. `usage` names what is asked.
    Judgement judge(FileTicks at, const UsageQuestion& usage);

    // Whether the answer would be the same for another use for which the path is right.
    bool answered_for(const UsageQuestion& usage) const {
        return !asked_for_other_paths_ || asks_the_same_of_authorities(usage, usage_);
    }

    RevocationMode revocation_mode() const { return settings_.revocation; }
    FileTicks now() const { return settings_.now ? *settings_.now : now_in_ticks(); }

    // What it has cost so far.
    const Budget& budget() const { return budget_; }
    const SearchCounts& counts() const { return counts_; }
    unsigned exchanges() const { return retrieval_.exchanges(); }
    std::size_t certificates_taken_apart() const { return pool_.prepared_from_given(); }

private:
    struct Question {
        FileTicks at = 0;
        FileTicks now = 0;
        const UsageQuestion& usage;
    };

    std::shared_ptr<const NamedCertificates> named(const ListMaker& maker) override;
    PathFound any_path(const EvidenceMaker& maker, const PathJudge& judge) override;
    KeyHeard hear_of_key(const CertificateEntry& of, const CertificateEntry& anchor) override;
    bool was_judged_for_evidence(const Path& path);
    bool is_of_use_for_evidence(const Path& path) const;
    bool is_good_for_evidence(const Path& path, const PathErrors& structure,
                              const EvidenceMaker& maker);

    Judgement unread() const;
    std::optional<Judgement> search(const Question& question);
    void refuse(Judgement judgement);
    void note_ends(const PathSearch& search);
    std::optional<Judgement> look_at_barred(const Question& question);
    bool ends_in_unknown_root();
    bool lacks_issuers();
    std::vector<PoolCertificate*> in_want_of_issuers() const;
    bool consider(const Path& path, const Question& question);
    Judgement judge_path(const Path& path, const Question& question);
    // Null when it would cost more than there is.
    const PathErrors* structure_of(const Path& path);
    void judge_revocation(Judgement& judgement, const Question& question, bool may_fetch);
    bool judge_elements(Judgement& judgement, const Question& question, bool may_fetch);
    static void leave_open(Judgement& judgement);
    void forget_what_is_out_of_date(const Question& question);
    StatusFinding status_of(const Path& path, const CertificatePath& entries, std::size_t index,
                            const StatusQuestion& question);
    bool checks(const Judgement& judgement, std::size_t index) const;
    bool was_asked_for(const Path& path) const;
    void note_asked_in_vain(const Judgement& judgement);
    bool was_asked_in_vain(const Judgement& judgement) const;
    std::optional<Judgement> ask_network(const Question& question);
    bool is_condemned(const Judgement& judgement) const;
    Judgement incomplete(const Question& question);
    bool hear_of_keys(Judgement& judgement);
    void hear_anew(const Question& question);
    void look_anew(const Question& question);
    void add_system_stores();
    void keep_prepared(const Judgement& judgement);

    ChainSettings settings_;
    SessionRequest request_;
    std::mutex mutex_;
    StoreReference authorities_; // the system store `CA`
    StoreReference own_;         // and `My`
    bool system_stores_added_ = false;
    CertificatePool pool_;
    Budget budget_;
    Retrieval retrieval_;
    IssuerFetch issuers_;
    std::unique_ptr<StatusCheck> status_;
    PoolCertificate& end_;
    SearchCounts counts_;

    std::map<Path, PathErrors> structures_;

    // By subject and authority key identifier, as long as the pool doesn't grow.
    std::map<std::pair<std::string, std::string>, std::shared_ptr<const NamedCertificates>> named_;

    // Of which nothing is known and nobody can be asked, at whatever moment, by what had been read
    // and fetched by then.
    std::set<std::pair<Path, std::size_t>> without_source_;
    std::size_t taken_in_ = 0;
    std::set<Path> asked_for_;                       // over the network
    std::set<const PoolCertificate*> asked_in_vain_; // of whom nobody told anything there
    std::set<const PoolCertificate*> asked_about_;   // there, too: who speaks of keys
    UsageQuestion usage_;                            // that was asked for last
    bool asked_for_other_paths_ = false;             // for that

    // Of the judgement that is under way.
    using EvidenceStart = std::tuple<const PoolCertificate*, FileTicks, const X509Entry*>;
    std::set<EvidenceStart> without_path_; // to that anchor, at that moment
    std::set<std::vector<const PoolCertificate*>> judged_for_evidence_; // the first copies
    unsigned judged_again_ = 0;                                         // of these
    std::set<Path> considered_;
    bool is_asking_ = false;            // over the network, of the open ones
    std::optional<KeyHearing> hearing_; // of keys; never null
    std::optional<Judgement> good_;
    std::optional<Judgement> best_refused_;
    std::vector<Judgement> open_; // good but for statements that could be fetched
    bool reached_anchor_ = false;
    bool went_around_ = false;
    bool cut_short_ = false;
    Path longest_;
    std::vector<PoolCertificate*> dead_ends_;
};

} // namespace basalt
