// The search for paths from a certificate to anchors: depth first, the likeliest issuer first, by
// good signatures. It knows nothing of constraints, time or revocation: each whole path goes to a
// judge, and the first that is taken ends the search. The order in which certificates lie in the
// pool decides nothing. Bounded by the budget of signatures and by steps; a search that ends for
// these says so, and that it took no path means nothing then.
#pragma once

#include <basalt/chain/issuer_rank.h>
#include <basalt/revocation/budget.h>

#include <functional>
#include <optional>
#include <set>

namespace basalt {

using Path = std::vector<PoolCertificate*>; // from the certificate asked about upward

// All of them have been prepared.
CertificatePath entries_of(const Path& path);

inline constexpr std::size_t kMaxPathLength = 18; // sixteen between the end and the anchor

// Steps and judged paths are counted for one judgement; signatures, which are remembered, for all.
struct SearchCounts {
    unsigned steps = 0;
    unsigned judged_paths = 0;
    unsigned own_judged_paths = 0; // not among these: of one's own certificates above the first
};

enum class Barred {
    no,
    yes,
    untold // the budget is used up
};

enum class SearchAmong {
    all,
    own // beside the start, nothing but anchors and what is the machine's and its user's
};

class PathSearch {
public:
    // True takes the path.
    using Judge = std::function<bool(const Path&)>;

    // `at` only ranks. All arguments must outlive the search.
    PathSearch(CertificatePool& pool, Budget& budget, SearchCounts& counts, FileTicks at,
               SearchAmong among = SearchAmong::all)
        : pool_(pool), budget_(budget), counts_(counts), at_(at), among_(among) {}

    // How many paths may be judged, of one's own and of others, in place of what the budget says.
    void allow_paths(unsigned most) { most_paths_ = most; }

    // Which authorities no right path leads through, whatever else is in it; the search goes around
    // them, so that crowds of them cost next to nothing. Anchors aren't asked about.
    using Bar = std::function<Barred(const PoolCertificate&)>;
    void go_around(Bar bar) { bar_ = std::move(bar); }

    // Offers the paths from `start` to anchors.
    bool run(PoolCertificate& start, const Judge& judge);

    // The same by names alone, whatever the signatures are; ends at unknown roots, too. For telling
    // a bad signature from a missing issuer.
    bool run_by_names(PoolCertificate& start, const Judge& judge);

    // For the judge: the path that it has before it took no judgement, and isn't counted.
    void uncount();

    bool reached_anchor() const { return reached_anchor_; }

    // Some way wasn't gone for want of signatures, steps or judged paths.
    bool was_cut_short() const { return cut_short_; }

    // Some way may lead on through what the pool has left out.
    bool met_left_out() const { return met_left_out_; }

    // Some authority was gone around.
    bool went_around() const { return went_around_; }

    // When no anchor was reached: the longest way up, to an unknown root if there is one.
    const Path& longest() const { return longest_; }

    // Those on ways up that ended for want of an issuer, the lowest of each first: whoever is above
    // another may be made up.
    const std::vector<PoolCertificate*>& dead_ends() const { return dead_ends_; }

private:
    struct Issuers {
        Bytes name;
        WantedKey key;
        std::vector<PoolCertificate*> ranked;
    };

    // Nothing leads on to an anchor with so many steps left, as long as these are on the path: they
    // can't be passed twice, and may be free on another way.
    struct DeadEnd {
        std::size_t steps_left;
        std::vector<const PoolCertificate*> blocked_by;
    };

    // A way up: an issuer, and what it was reached by, the first copy of each.
    using Way = std::pair<std::vector<const PoolCertificate*>, const PoolCertificate*>;

    bool climb();
    bool is_barred(PoolCertificate& issuer);
    bool may_step();
    bool leads_to(PoolCertificate& top, PoolCertificate& issuer);
    bool climb_once(PoolCertificate& issuer);
    unsigned& judged_paths();
    bool may_judge_foreign() const;
    bool offer();
    void note_end();
    const PoolCertificate* on_path(const PoolCertificate& issuer) const; // null when it isn't
    const DeadEnd* dead_end_at(const PoolCertificate& certificate) const;
    void note_dead(const PoolCertificate& top);
    void note_blocked(const std::vector<const PoolCertificate*>& by);
    std::vector<PoolCertificate*> ranked_issuers(PoolCertificate& child);

    CertificatePool& pool_;
    Budget& budget_;
    SearchCounts& counts_;
    FileTicks at_;
    SearchAmong among_;
    const Judge* judge_ = nullptr;
    std::optional<unsigned> most_paths_;
    Bar bar_;
    bool went_around_ = false;
    bool cut_short_ = false;
    bool met_left_out_ = false;
    bool by_names_ = false;
    bool reached_anchor_ = false;
    Path path_;
    Path longest_;
    std::vector<PoolCertificate*> dead_ends_;
    std::unordered_map<const PoolCertificate*, std::vector<DeadEnd>> dead_;
    // What stood in the way below the top, of all that was gone from there.
    std::vector<const PoolCertificate*> blocked_by_;
    std::set<Way> gone_;
    std::unordered_map<const PoolCertificate*, bool> barred_;
    std::vector<Issuers> issuers_;
};

enum class SignedBy {
    yes,
    no,
    untold // the budget is used up
};

// Whether the issuer's key made the certificate's signature. Remembered for each key, if it was
// told.
SignedBy is_signed_by(CertificatePool& pool, Budget& budget, PoolCertificate& certificate,
                      PoolCertificate& issuer);

// Of the budget's, for something that has to be done with each certificate of the path: what isn't
// all one's own has the share of what came with the question.
bool take_comparisons(Budget& budget, const Path& path, std::size_t count);

// As the certificate itself tells: same names, and a key identifier that doesn't contradict. False
// for one that is too dear to be looked into.
bool is_self_signed(const PoolCertificate& certificate);

} // namespace basalt
