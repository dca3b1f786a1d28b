#include <basalt/chain/path_search.h>

#include <basalt/certificate/reasonable_certificate.h>
#include <basalt/chain/issuer_rank.h>
#include <basalt/coding/flat_block.h>

#include <openssl/err.h>
#include <openssl/objects.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <utility>

namespace basalt {

namespace {

// Only a key of the kind that the signature names is worth a check.
bool key_fits_signature(const X509* certificate, const EVP_PKEY* key) {
    int wanted = NID_undef;
    if (OBJ_find_sigid_algs(X509_get_signature_nid(certificate), nullptr, &wanted) != 1) {
        return false;
    }
    const int type = EVP_PKEY_get_base_id(key);
    return type == EVP_PKEY_type(wanted) || type == wanted ||
           (type == EVP_PKEY_RSA && wanted == EVP_PKEY_RSA_PSS);
}

// Or they differ in nothing that a path is made of.
bool are_one(const PoolCertificate& a, const PoolCertificate& b) {
    return &a == &b ||
           (same_bytes(a.key_bits(), b.key_bits()) && same_bytes(a.subject(), b.subject()));
}

constexpr std::size_t kMostDeadEnds = 4; // that are remembered of one certificate

} // namespace

CertificatePath entries_of(const Path& path) {
    CertificatePath entries;
    for (const PoolCertificate* certificate : path) {
        entries.push_back(certificate->entry);
    }
    return entries;
}

bool is_self_signed(const PoolCertificate& certificate) {
    return is_affordable(*certificate.item->body) &&
           (X509_get_extension_flags(certificate.openssl()) & EXFLAG_SS) != 0;
}

SignedBy is_signed_by(CertificatePool& pool, Budget& budget, PoolCertificate& certificate,
                      PoolCertificate& issuer) {
    for (PoolCertificate* each : {&certificate, &issuer}) {
        if (const Prepared prepared = pool.prepare(*each, budget); prepared != Prepared::yes) {
            return prepared == Prepared::no ? SignedBy::no : SignedBy::untold;
        }
    }
    if (certificate.entry->verified_by.contains(issuer.entry)) {
        return SignedBy::yes;
    }
    for (const auto& [tried, good] : certificate.tried_keys) {
        if (tried->has_key_of(issuer)) {
            return good ? SignedBy::yes : SignedBy::no;
        }
    }
    EVP_PKEY* key = issuer.entry->key->get();
    if (!key_fits_signature(certificate.openssl(), key)) {
        return SignedBy::no;
    }
    if (!budget.take_certificate_signature(key, certificate.is_own() && issuer.is_own())) {
        return SignedBy::untold;
    }
    const bool good = is_signed_with(*certificate.entry, key);
    certificate.tried_keys.emplace_back(&issuer, good);
    if (good) {
        certificate.entry->verified_by.add(issuer.entry);
    }
    return good ? SignedBy::yes : SignedBy::no;
}

bool take_comparisons(Budget& budget, const Path& path, std::size_t count) {
    const bool given = std::any_of(path.begin(), path.end(),
                                   [](const PoolCertificate* each) { return !each->is_own(); });
    return budget.take_comparisons(count, given);
}

bool PathSearch::run(PoolCertificate& start, const Judge& judge) {
    judge_ = &judge;
    path_ = {&start};
    longest_ = path_;
    return climb();
}

bool PathSearch::run_by_names(PoolCertificate& start, const Judge& judge) {
    by_names_ = true;
    dead_.clear();
    return run(start, judge);
}

// Junk can't take up what the ways up through one's own certificates need.
unsigned& PathSearch::judged_paths() {
    const bool own = std::all_of(path_.begin() + 1, path_.end(),
                                 [](const PoolCertificate* c) { return c->is_own(); });
    return own ? counts_.own_judged_paths : counts_.judged_paths;
}

void PathSearch::uncount() {
    --judged_paths();
}

bool PathSearch::climb() {
    PoolCertificate& top = *path_.back();
    const bool reached_before = std::exchange(reached_anchor_, top.is_anchor);
    if (top.is_anchor && offer()) {
        return true;
    }
    if (by_names_ && path_.size() > 1 && is_self_signed(top)) {
        return (*judge_)(path_);
    }
    // An anchor that was refused may have another above it.
    bool found_issuer = false;
    met_left_out_ = met_left_out_ || pool_.has_left_out(top.issuer());
    const std::vector<const PoolCertificate*> blocked_before = std::exchange(blocked_by_, {});
    for (PoolCertificate* issuer : ranked_issuers(top)) {
        if (const PoolCertificate* passed = on_path(*issuer)) {
            note_blocked({passed});
            continue;
        }
        if (!issuer->is_own() && !may_judge_foreign()) {
            cut_short_ = true;
            continue;
        }
        if (is_barred(*issuer)) {
            continue;
        }
        if (!may_step()) {
            break;
        }
        ++counts_.steps;
        const bool goes_on = leads_to(top, *issuer);
        found_issuer = found_issuer || goes_on;
        if (!goes_on) {
            continue;
        }
        if (const DeadEnd* dead = dead_end_at(*issuer)) {
            note_blocked(dead->blocked_by);
        } else if (climb_once(*issuer)) {
            return true;
        }
    }
    // No way up passes the top itself twice, wherever it stands.
    std::erase_if(blocked_by_, [&](const PoolCertificate* by) { return are_one(*by, top); });
    if (!reached_anchor_) {
        note_dead(top);
        if (!found_issuer) {
            note_end();
        }
    }
    note_blocked(blocked_before);
    reached_anchor_ = reached_anchor_ || reached_before;
    return false;
}

void PathSearch::note_blocked(const std::vector<const PoolCertificate*>& by) {
    for (const PoolCertificate* one : by) {
        if (std::none_of(blocked_by_.begin(), blocked_by_.end(),
                         [&](const PoolCertificate* known) { return are_one(*known, *one); })) {
            blocked_by_.push_back(one);
        }
    }
}

void PathSearch::note_dead(const PoolCertificate& top) {
    std::vector<DeadEnd>& known = dead_[&top];
    if (known.size() == kMostDeadEnds) {
        known.erase(known.begin());
    }
    known.push_back({kMaxPathLength - path_.size(), blocked_by_});
}

bool PathSearch::is_barred(PoolCertificate& issuer) {
    if (!bar_ || issuer.is_anchor) {
        return false;
    }
    const auto known = barred_.find(&issuer);
    if (known != barred_.end()) {
        return known->second;
    }
    if (pool_.prepare(issuer, budget_) != Prepared::yes) {
        return false; // that is told where it is tried
    }
    const Barred barred = bar_(issuer);
    went_around_ = went_around_ || barred == Barred::yes;
    cut_short_ = cut_short_ || barred == Barred::untold;
    return barred_[&issuer] = barred != Barred::no;
}

bool PathSearch::may_judge_foreign() const {
    return counts_.judged_paths < most_paths_.value_or(budget_.limits().judged_paths);
}

bool PathSearch::may_step() {
    const bool has_steps = counts_.steps < budget_.limits().steps;
    cut_short_ = cut_short_ || !has_steps;
    return has_steps && path_.size() < kMaxPathLength;
}

bool PathSearch::leads_to(PoolCertificate& top, PoolCertificate& issuer) {
    if (by_names_) {
        return pool_.prepare(issuer, budget_) == Prepared::yes;
    }
    const SignedBy is_signed = is_signed_by(pool_, budget_, top, issuer);
    cut_short_ = cut_short_ || is_signed == SignedBy::untold;
    return is_signed == SignedBy::yes;
}

// Copies of a certificate whose signatures hold are one: above them nothing is gone twice. One's
// own were gone by first, so that no bound on what is foreign has stood in the way.
bool PathSearch::climb_once(PoolCertificate& issuer) {
    Way way{{}, &issuer};
    for (PoolCertificate* passed : path_) {
        way.first.push_back(&pool_.first_copy(*passed));
    }
    if (!gone_.insert(std::move(way)).second) {
        return false;
    }
    path_.push_back(&issuer);
    const bool taken = climb();
    path_.pop_back();
    return taken;
}

bool PathSearch::offer() {
    unsigned& judged = judged_paths();
    const bool may_judge = &judged == &counts_.judged_paths
                               ? may_judge_foreign()
                               : judged < most_paths_.value_or(budget_.limits().own_judged_paths);
    if (!may_judge) {
        cut_short_ = true;
        return false;
    }
    ++judged;
    return (*judge_)(path_);
}

void PathSearch::note_end() {
    for (PoolCertificate* certificate : path_) {
        if (std::find(dead_ends_.begin(), dead_ends_.end(), certificate) == dead_ends_.end()) {
            dead_ends_.push_back(certificate);
        }
    }
    const bool better_end = is_self_signed(*path_.back()) && !is_self_signed(*longest_.back());
    const bool worse_end = !is_self_signed(*path_.back()) && is_self_signed(*longest_.back());
    if (better_end || (!worse_end && path_.size() > longest_.size())) {
        longest_ = path_;
    }
}

const PoolCertificate* PathSearch::on_path(const PoolCertificate& issuer) const {
    const auto found = std::find_if(path_.begin(), path_.end(), [&](const PoolCertificate* passed) {
        return are_one(*passed, issuer);
    });
    return found != path_.end() ? *found : nullptr;
}

// Null when something may lead from it to an anchor, as far as is known.
const PathSearch::DeadEnd* PathSearch::dead_end_at(const PoolCertificate& certificate) const {
    const auto known = dead_.find(&certificate);
    if (known == dead_.end()) {
        return nullptr;
    }
    const auto found =
        std::find_if(known->second.begin(), known->second.end(), [&](const DeadEnd& dead) {
            return dead.steps_left >= kMaxPathLength - path_.size() - 1 &&
                   std::all_of(dead.blocked_by.begin(), dead.blocked_by.end(),
                               [&](const PoolCertificate* by) { return on_path(*by) != nullptr; });
        });
    return found != known->second.end() ? &*found : nullptr;
}

// Once for all whose issuer has one name and key: very many may lie in the bag.
std::vector<PoolCertificate*> PathSearch::ranked_issuers(PoolCertificate& child) {
    const Bytes name = child.issuer();
    const WantedKey wanted = wanted_key(child.info());
    const auto known = std::find_if(issuers_.begin(), issuers_.end(), [&](const Issuers& one) {
        return same_bytes(one.name, name) && same_bytes(one.key.identifier, wanted.identifier) &&
               same_bytes(one.key.serial_number, wanted.serial_number);
    });
    if (known != issuers_.end()) {
        return known->ranked;
    }
    std::vector<PoolCertificate*> issuers = pool_.by_subject(name);
    if (among_ == SearchAmong::own) {
        std::erase_if(issuers, [](const PoolCertificate* issuer) { return !issuer->is_own(); });
    }
    // Own ones are few, and take nothing.
    if (among_ == SearchAmong::all && issuers.size() > 1 &&
        !budget_.take_comparisons(issuers.size() * kComparisonsToRank, true)) {
        cut_short_ = true;
        std::erase_if(issuers, [](const PoolCertificate* issuer) { return !issuer->is_own(); });
    }
    if (issuers.size() > 1) {
        put_likeliest_first(issuers, wanted, at_);
    }
    issuers_.push_back({name, wanted, issuers});
    return issuers;
}

} // namespace basalt
