#include <basalt/chain/chain_session.h>

#include <basalt/certificate/body_cache.h>
#include <basalt/certificate/key_bits.h>
#include <basalt/certificate/reasonable_certificate.h>
#include <basalt/chain/constraint_cost.h>
#include <basalt/chain/issuer_rank.h>
#include <basalt/chain/name_key.h>

#include <openssl/x509_vfy.h>

#include <algorithm>
#include <functional>
#include <utility>

namespace basalt {

namespace {

StoreReference open_system_store(const char* name) {
    return StoreReference(CertOpenStore(CERT_STORE_PROV_SYSTEM_A, 0, 0,
                                        CERT_SYSTEM_STORE_CURRENT_USER | CERT_STORE_READONLY_FLAG,
                                        name));
}

BudgetLimits limits_for(const ChainSettings& settings) {
    BudgetLimits limits;
    limits.fetching_time = std::min(limits.fetching_time, settings.fetching_time);
    return limits;
}

Path path_of_judgement(const Judgement& judgement) {
    Path path;
    for (const JudgedElement& element : judgement.elements) {
        path.push_back(element.certificate);
    }
    return path;
}

bool any_wrong(const Judgement& judgement, bool (*is_wrong)(const JudgedElement&)) {
    return std::any_of(judgement.elements.begin(), judgement.elements.end(), is_wrong);
}

// Whatever is above it.
bool is_wrong_itself(const JudgedElement& end) {
    return end.out_of_time || end.misused;
}

// As far as it can be told before revocation.
JudgedTo judged_to(const Judgement& judgement) {
    if (!judgement.ends_in_anchor ||
        any_wrong(judgement, [](const JudgedElement& e) { return !e.errors.empty(); })) {
        return JudgedTo::structure;
    }
    if (any_wrong(judgement, [](const JudgedElement& e) { return e.out_of_time; })) {
        return JudgedTo::validity;
    }
    if (any_wrong(judgement, [](const JudgedElement& e) { return e.misused; })) {
        return JudgedTo::usage;
    }
    return JudgedTo::revocation;
}

bool all_pass(const Judgement& judgement) {
    return !any_wrong(judgement, [](const JudgedElement& e) { return !e.status_passes; });
}

// A hold of which nobody was asked whether it was lifted may be.
bool is_revoked(const JudgedElement& element) {
    return element.key_is_compromised ||
           (element.status && element.status->standing == Standing::revoked &&
            !element.status->may_be_lifted);
}

bool any_revoked(const Judgement& judgement) {
    return any_wrong(judgement, is_revoked);
}

// Whatever else is read or fetched.
bool is_beyond_doubt(const JudgedElement& element) {
    return is_revoked(element) && element.status && element.status->is_beyond_doubt;
}

bool is_revoked_or_held(const Judgement& judgement) {
    return any_wrong(judgement, [](const JudgedElement& e) {
        return e.key_is_compromised || (e.status && e.status->standing == Standing::revoked);
    });
}

bool any_open(const Judgement& judgement) {
    return any_wrong(judgement, [](const JudgedElement& e) {
        return e.is_accused || (e.status && is_open(*e.status));
    });
}

int weak_key_error(std::size_t index) {
    return index == 0 ? X509_V_ERR_EE_KEY_TOO_SMALL : X509_V_ERR_CA_KEY_TOO_SMALL;
}

} // namespace

ChainSession::ChainSession(ChainSettings settings, SessionRequest request)
    : settings_(std::move(settings)), request_(std::move(request)), pool_(settings_.anchors),
      budget_(limits_for(settings_), std::chrono::steady_clock::now, settings_.fetching),
      retrieval_(budget_), issuers_(pool_, retrieval_), end_(pool_.start(request_.end)) {
    if (settings_.revocation == RevocationMode::off) {
        request_.revocation = RevocationScope::none;
    }
    request_.may_fetch = request_.may_fetch && settings_.may_fetch;
    std::vector<HCERTSTORE> own;
    for (const auto& store : settings_.stores) {
        pool_.add_store(store.get(), PoolSource::machine);
        own.push_back(store.get());
    }
    pool_.add_store(request_.additional, PoolSource::given);
    if (request_.revocation != RevocationScope::none && !settings_.given_only) {
        authorities_ = open_system_store("CA");
        own.push_back(authorities_.get());
    }
    SignerPaths& paths = *this;
    status_ = std::make_unique<StatusCheck>(budget_, retrieval_, paths, own,
                                            std::vector{request_.additional});
}

ChainSession::~ChainSession() = default;

// Those of the system stores among them: who signs lists needn't be on the way to an anchor.
std::shared_ptr<const NamedCertificates> ChainSession::named(const ListMaker& maker) {
    const Bytes name = bytes_of(maker.subject);
    const Bytes key = maker.authority_key_identifier;
    std::shared_ptr<const NamedCertificates>& known =
        named_[{std::string(name.begin(), name.end()), std::string(key.begin(), key.end())}];
    if (known) {
        return known;
    }
    auto named = std::make_shared<NamedCertificates>();
    if (!maker.own && !budget_.take_comparisons(pool_.count_like_named(name), maker.given)) {
        named->complete = false;
        return named;
    }
    std::vector<PoolCertificate*> candidates = pool_.by_subject(name);
    if (pool_.is_full()) { // of thousands it isn't asked again which is likelier
        named->complete = std::erase_if(candidates, [](const PoolCertificate* c) {
                              return !c->entry && !c->left_out && !c->is_own();
                          }) == 0;
    }
    if (!maker.own &&
        !budget_.take_comparisons(candidates.size() * kComparisonsToRank, maker.given)) {
        named->complete = false;
        return named;
    }
    put_likeliest_first(candidates, wanted_key(key), now());
    for (PoolCertificate* certificate : candidates) {
        const Prepared prepared = pool_.prepare(*certificate, budget_);
        if (prepared == Prepared::yes) {
            named->found.push_back({certificate->entry, certificate->is_own()});
        }
        named->complete = named->complete && prepared != Prepared::refused;
    }
    if (!named->found.empty()) {
        known = named;
    }
    return named;
}

// Authorities that the question isn't for sign no lists, nor name who does.
bool ChainSession::is_of_use_for_evidence(const Path& path) const {
    const std::vector<bool> used_wrong = misused(path, asked_of_authorities(usage_));
    return std::none_of(used_wrong.begin(), used_wrong.end(), std::identity());
}

bool ChainSession::is_good_for_evidence(const Path& path, const PathErrors& structure,
                                        const EvidenceMaker& maker) {
    const auto is_weak = [&](Strength strength) { return !passes(strength, settings_.strength); };
    const auto is_late = [&](const PoolCertificate* c) { return !c->is_valid_at(maker.at); };
    const std::vector<Strength> found_strengths = strengths(path);
    return path.back()->entry == maker.anchor &&
           std::none_of(path.begin(), path.end() - 1, is_late) &&
           std::none_of(found_strengths.begin(), found_strengths.end(), is_weak) &&
           std::all_of(structure.begin(), structure.end(),
                       [](const auto& errors) { return errors.empty(); });
}

// What isn't foreign is looked for among one's own certificates first, which no foreign ones can
// bury: neither steps nor paths nor signatures are shared with them.
PathFound ChainSession::any_path(const EvidenceMaker& maker, const PathJudge& judge) {
    asked_for_other_paths_ = true;
    PoolCertificate& start = pool_.start(maker.signer);
    const EvidenceStart known{&start, maker.at, maker.anchor.get()};
    if (without_path_.contains(known)) {
        return PathFound::none;
    }
    std::set<Path> refused;
    bool cut_short = false;
    bool was_judged = false;
    const auto takes = [&](PathSearch& search, const Path& path) {
        if (!refused.insert(path).second) {
            search.uncount();
            return false;
        }
        if (was_judged_for_evidence(path)) {
            search.uncount();
            if (judged_again_ == budget_.limits().judged_again) {
                cut_short = true;
                return false;
            }
            ++judged_again_;
        }
        if (!take_comparisons(budget_, path, comparisons_for_usages(path))) {
            cut_short = true;
            return false;
        }
        const PathErrors* structure = structure_of(path);
        cut_short = cut_short || structure == nullptr;
        if (structure == nullptr || !is_of_use_for_evidence(path) ||
            !is_good_for_evidence(path, *structure, maker)) {
            return false;
        }
        was_judged = true;
        CertificatePath entries = entries_of(path);
        entries.front() = maker.signer;
        return judge(entries);
    };
    const PathSearch::Bar bar = bar_for(usage_, budget_);
    const auto is_taken = [&](SearchCounts& counts, SearchAmong among) {
        PathSearch search(pool_, budget_, counts, maker.at, among);
        search.go_around(bar);
        const bool taken = search.run(start, [&](const Path& path) { return takes(search, path); });
        cut_short = cut_short || search.was_cut_short();
        return taken;
    };
    SearchCounts own_counts;
    if ((maker.own && is_taken(own_counts, SearchAmong::own)) ||
        is_taken(counts_, SearchAmong::all)) {
        return PathFound::taken;
    }
    if (!cut_short && !was_judged) { // that hangs on nothing but what there is to choose from
        without_path_.insert(known);
    }
    return cut_short ? PathFound::untold : PathFound::none;
}

// It, or one of copies of its certificates. Who signs may have made very many lists.
bool ChainSession::was_judged_for_evidence(const Path& path) {
    std::vector<const PoolCertificate*> copies;
    for (PoolCertificate* certificate : path) {
        copies.push_back(&pool_.first_copy(*certificate));
    }
    return !judged_for_evidence_.insert(std::move(copies)).second;
}

KeyHeard ChainSession::hear_of_key(const CertificateEntry& of, const CertificateEntry& anchor) {
    Sha256 itself{};
    X509_digest(of->certificate.get(), EVP_sha256(), itself.data(), nullptr);
    const KeyHearing::Heard heard = hearing_->hear(key_bits_of(of->certificate.get()),
                                                   key_bits_of(anchor->certificate.get()), itself);
    return heard.compromised               ? KeyHeard::compromised
           : heard.cut_short || heard.open ? KeyHeard::untold
                                           : KeyHeard::nothing;
}

Judgement ChainSession::judge(FileTicks at, const UsageQuestion& usage) {
    const std::lock_guard lock(mutex_);
    if (!is_affordable(*end_.item->body) || !has_canonical_key(*end_.item->body)) {
        return unread();
    }
    const Question question{at, now(), usage};
    if (!asks_the_same_of_authorities(usage, std::exchange(usage_, usage)) &&
        std::exchange(asked_for_other_paths_, false)) {
        status_->forget_findings(); // who may sign lists hangs on it
        without_source_.clear();
    }
    counts_ = {};
    judged_again_ = 0;
    judged_for_evidence_.clear();
    without_path_.clear(); // what they may be used for hangs on what is asked
    considered_.clear();
    is_asking_ = false;
    hear_anew(question); // whom to believe hangs on what is asked
    good_.reset();
    best_refused_.reset();
    open_.clear();
    cut_short_ = false;
    const bool had_system_stores = system_stores_added_;
    std::optional<Judgement> found = search(question);
    if (!found && !had_system_stores) {
        // Where nobody looks at revocation the folders of the system stores are read only when the
        // rest doesn't do.
        add_system_stores();
        found = search(question);
    }
    if (!found) {
        found = ask_network(question);
    }
    const IssuerReach reach = request_.may_fetch ? settings_.issuers : IssuerReach::none;
    while (!found && !settings_.given_only && lacks_issuers() &&
           issuers_.fetch_for(in_want_of_issuers(), reach)) {
        look_anew(question);
        found = search(question);
        if (!found) {
            found = ask_network(question);
        }
    }
    cut_short_ = cut_short_ || issuers_.left_out();
    if (!found && !reached_anchor_ && went_around_) {
        found = look_at_barred(question);
    }
    if (!found) {
        found = best_refused_ ? std::move(best_refused_) : incomplete(question);
        found->condemned = is_condemned(*found);
        found->cut_short =
            cut_short_ && !found->condemned && !is_wrong_itself(found->elements.front());
    }
    keep_prepared(*found);
    return std::move(*found);
}

// Of a certificate that nobody looks into.
Judgement ChainSession::unread() const {
    Judgement judgement;
    judgement.elements.resize(1);
    judgement.elements[0].certificate = &end_;
    judgement.elements[0].errors = {X509_V_ERR_UNSPECIFIED};
    judgement.cut_short = true;
    return judgement;
}

std::optional<Judgement> ChainSession::search(const Question& question) {
    PathSearch search(pool_, budget_, counts_, question.at);
    search.go_around(bar_for(question.usage, budget_));
    const bool taken = search.run(end_, [&](const Path& path) {
        const bool is_known = !considered_.insert(path).second;
        if (is_known || hearing_->has_condemned(path)) {
            search.uncount();
            return false;
        }
        return consider(path, question);
    });
    // Of the stamp's own way up what was left out counts as not looked at: an honest authority may
    // be as large as that. On the ways of those who speak of others it would be anybody's junk.
    cut_short_ = cut_short_ || (!taken && (search.was_cut_short() || search.met_left_out()));
    note_ends(search);
    went_around_ = search.went_around();
    return std::exchange(good_, std::nullopt);
}

void ChainSession::note_ends(const PathSearch& search) {
    reached_anchor_ = search.reached_anchor() || best_refused_ || !open_.empty();
    longest_ = search.longest();
    dead_ends_ = search.dead_ends();
}

// None of these paths is right. One of them tells best what is wrong, if there is no other; how
// many there are, and what they would cost, is no matter.
std::optional<Judgement> ChainSession::look_at_barred(const Question& question) {
    constexpr unsigned kMostBarred = 2;
    const bool cut_short_before = cut_short_;
    SearchCounts counts;
    PathSearch search(pool_, budget_, counts, question.at);
    search.allow_paths(kMostBarred);
    search.run(end_, [&](const Path& path) { return consider(path, question); });
    note_ends(search);
    cut_short_ = cut_short_before;
    return std::exchange(good_, std::nullopt);
}

// One that calls itself so: anybody can, in the name and with the key of an authority that isn't at
// hand, but for the signature.
bool ChainSession::ends_in_unknown_root() {
    PoolCertificate& top = *longest_.back();
    return is_self_signed(top) && is_signed_by(pool_, budget_, top, top) == SignedBy::yes;
}

// Whether the way up lacks a certificate: what ends in an unknown root lacks none. What ends in an
// anchor does if something is wrong with one of its authorities, which may have another certificate
// by now, or have had one then; whoever handed the stamp in has chosen among them.
bool ChainSession::lacks_issuers() {
    if (!reached_anchor_) {
        return !ends_in_unknown_root();
    }
    if (!best_refused_) {
        return false;
    }
    const std::vector<JudgedElement>& elements = best_refused_->elements;
    const JudgedElement& end = elements.front();
    return !is_wrong_itself(end) && !is_revoked(end) &&
           (best_refused_->judged_to != JudgedTo::revocation ||
            std::any_of(elements.begin() + 1, elements.end(), [](const JudgedElement& authority) {
                return is_revoked(authority) || !authority.status_passes || authority.is_accused;
            }));
}

std::vector<PoolCertificate*> ChainSession::in_want_of_issuers() const {
    std::vector<PoolCertificate*> certificates = dead_ends_;
    if (reached_anchor_ && best_refused_) {
        const Path path = path_of_judgement(*best_refused_);
        certificates.insert(certificates.end(), path.begin(), path.end() - 1);
    }
    return certificates;
}

// Of two that came as far the one that isn't revoked: it could be the right one.
void ChainSession::refuse(Judgement judgement) {
    if (!best_refused_ || judgement.judged_to > best_refused_->judged_to ||
        (judgement.judged_to == best_refused_->judged_to && is_revoked_or_held(*best_refused_) &&
         !is_revoked_or_held(judgement))) {
        best_refused_ = std::move(judgement);
    }
}

bool ChainSession::consider(const Path& path, const Question& question) {
    Judgement judgement = judge_path(path, question);
    if (judgement.judged_to == JudgedTo::revocation) {
        judge_revocation(judgement, question, false);
        if (request_.may_fetch && any_open(judgement) && !any_revoked(judgement)) {
            open_.push_back(std::move(judgement));
            return false;
        }
    }
    if (judgement.good()) {
        good_ = std::move(judgement);
        return true;
    }
    refuse(std::move(judgement));
    return false;
}

const PathErrors* ChainSession::structure_of(const Path& path) {
    const auto found = structures_.find(path);
    if (found != structures_.end()) {
        return &found->second;
    }
    if (!take_comparisons(budget_, path, comparisons_for_constraints(path))) {
        return nullptr;
    }
    std::optional<PathErrors> errors = structure_errors(path, request_.policies);
    return errors ? &(structures_[path] = std::move(*errors)) : nullptr;
}

Judgement ChainSession::judge_path(const Path& path, const Question& question) {
    Judgement judgement;
    judgement.ends_in_anchor = path.back()->is_anchor;
    const bool affordable = take_comparisons(budget_, path, comparisons_for_usages(path));
    const PathErrors* structure = affordable ? structure_of(path) : nullptr;
    cut_short_ = cut_short_ || structure == nullptr;
    const PathErrors untold(structure == nullptr ? path.size() : 0, {X509_V_ERR_UNSPECIFIED});
    const PathErrors& errors = structure != nullptr ? *structure : untold;
    const std::vector<Strength> found_strengths = strengths(path);
    const std::vector<bool> late = out_of_time(path, question.at);
    const std::vector<bool> used_wrong =
        affordable ? misused(path, question.usage) : std::vector<bool>(path.size(), false);
    for (std::size_t i = 0; i < path.size(); ++i) {
        JudgedElement element;
        element.certificate = path[i];
        element.errors = errors[i];
        if (!passes(found_strengths[i], settings_.strength)) {
            element.errors.push_back(weak_key_error(i));
        }
        element.aged = found_strengths[i] == Strength::aged;
        element.out_of_time = late[i];
        element.misused = used_wrong[i];
        judgement.elements.push_back(std::move(element));
    }
    judgement.judged_to = judged_to(judgement);
    return judgement;
}

bool ChainSession::checks(const Judgement& judgement, std::size_t index) const {
    // The last one has no issuer here: an anchor is trusted by itself.
    return index + 1 < judgement.elements.size() &&
           (request_.revocation == RevocationScope::all_but_anchor ||
            (request_.revocation == RevocationScope::end_only && index == 0));
}

StatusFinding ChainSession::status_of(const Path& path, const CertificatePath& entries,
                                      std::size_t index, const StatusQuestion& question) {
    if (without_source_.contains({path, index})) {
        return {};
    }
    StatusFinding finding = status_->judge(entries, index, question);
    if (finding.standing == Standing::unknown && finding.cause == UnknownCause::no_source) {
        without_source_.emplace(path, index);
    }
    return finding;
}

// What is read or fetched for one certificate may speak of any other, and of whoever spoke for it:
// so all are looked at again until nothing more comes. Nobody is asked twice.
void ChainSession::judge_revocation(Judgement& judgement, const Question& question,
                                    bool may_fetch) {
    constexpr int kMostLooks = 8;
    if (request_.revocation != RevocationScope::none) {
        add_system_stores(); // before anybody is heard of
    }
    judgement.judged_to = JudgedTo::revocation;
    bool good = false;
    bool stands = false;
    for (int look = 0; !stands && look < kMostLooks; ++look) {
        forget_what_is_out_of_date(question);
        good = judge_elements(judgement, question, may_fetch) && hear_of_keys(judgement) &&
               all_pass(judgement);
        stands = status_->taken_in() == taken_in_ || any_wrong(judgement, is_beyond_doubt);
    }
    cut_short_ = cut_short_ || !stands;
    if (good && stands) {
        judgement.judged_to = JudgedTo::good;
    }
}

void ChainSession::forget_what_is_out_of_date(const Question& question) {
    if (std::exchange(taken_in_, status_->taken_in()) != status_->taken_in()) {
        without_source_.clear();
        hear_anew(question);
    }
}

// False when one is revoked. Goes on behind an unknown one: whether another is revoked is worth
// more. The network is asked from the anchor down: what a thief of an authority's key has made
// names servers of his own, which mustn't use up the time of those that could tell of him.
bool ChainSession::judge_elements(Judgement& judgement, const Question& question, bool may_fetch) {
    const Path path = path_of_judgement(judgement);
    const CertificatePath entries = entries_of(path);
    StatusQuestion status;
    status.stamp_time = question.at;
    status.now = question.now;
    status.mode = settings_.revocation;
    status.may_fetch = may_fetch;
    status.may_ask_later = request_.may_fetch && !may_fetch;
    status.strength = settings_.strength;
    status.may_use_cache = !settings_.given_only;
    const std::size_t count = judgement.elements.size();
    for (std::size_t place = 0; place < count; ++place) {
        const std::size_t i = may_fetch ? count - 1 - place : place;
        if (!checks(judgement, i)) {
            continue;
        }
        JudgedElement& element = judgement.elements[i];
        status.is_signer = i == 0;
        element.status = status_of(path, entries, i, status);
        element.status_passes = passes(*element.status, settings_.revocation);
        if (is_revoked(element)) {
            return false;
        }
    }
    return true;
}

void ChainSession::hear_anew(const Question& question) {
    hearing_.emplace(pool_, budget_, *status_,
                     KeyHearing::Question{question.at, question.now, question.usage,
                                          request_.policies, settings_.revocation,
                                          settings_.strength, !settings_.given_only, is_asking_,
                                          request_.may_fetch && !is_asking_, asked_about_});
}

// With more certificates: who may sign lists and answers hangs on those that there are, and so does
// whatever was found without them.
void ChainSession::look_anew(const Question& question) {
    named_.clear();
    without_path_.clear();
    without_source_.clear();
    status_->forget_findings();
    considered_.clear();
    open_.clear();
    best_refused_.reset();
    counts_ = {};
    hear_anew(question);
}

// A key in strange hands makes no path to that anchor good, whichever certificate says so. False
// when one is, or when there was more to hear of them than could be.
bool ChainSession::hear_of_keys(Judgement& judgement) {
    if (request_.revocation == RevocationScope::none) {
        return true;
    }
    bool good = true;
    for (std::size_t i = 0; i < judgement.elements.size(); ++i) {
        if (!checks(judgement, i)) {
            continue;
        }
        JudgedElement& element = judgement.elements[i];
        const KeyHearing::Heard heard =
            hearing_->hear(*element.certificate, *judgement.elements.back().certificate);
        element.key_is_compromised = heard.compromised;
        element.is_accused = heard.open;
        element.unreached = heard.unreached;
        cut_short_ = cut_short_ || heard.cut_short;
        good = good && !heard.compromised && !heard.cut_short && !heard.open;
    }
    return good;
}

// What was fetched for one path may decide the next, which then asks nobody. Of those that aren't
// asked for, since only so many may be, nothing is known: they stay open, whatever passes for good
// where nobody answers.
std::optional<Judgement> ChainSession::ask_network(const Question& question) {
    if (!open_.empty() && !std::exchange(is_asking_, true)) {
        hear_anew(question);
    }
    for (Judgement& judgement : open_) {
        judge_revocation(judgement, question, false);
        if (any_open(judgement) && !any_revoked(judgement)) {
            const Path path = path_of_judgement(judgement);
            if (was_asked_for(path) ||
                (!was_asked_in_vain(judgement) && budget_.take_fetching_path())) {
                asked_for_.insert(path);
                judge_revocation(judgement, question, true);
                note_asked_in_vain(judgement);
                if (any_revoked(judgement)) {
                    budget_.give_back_fetching_path();
                }
            } else if (!asked_for_.contains(path)) {
                leave_open(judgement);
            }
        }
        if (judgement.good()) {
            return std::move(judgement);
        }
        refuse(std::move(judgement));
    }
    open_.clear();
    return std::nullopt;
}

// Or one that has the same addresses: a certificate may come in several copies that differ in their
// signature alone, and those that it names are asked once.
bool ChainSession::was_asked_for(const Path& path) const {
    return std::any_of(asked_for_.begin(), asked_for_.end(), [&](const Path& other) {
        return std::equal(path.begin(), path.end(), other.begin(), other.end(),
                          [](const PoolCertificate* a, const PoolCertificate* b) {
                              return a == b || same_bytes(a->signed_part(), b->signed_part());
                          });
    });
}

// Of a way up that turned out to be revoked not all have been asked.
void ChainSession::note_asked_in_vain(const Judgement& judgement) {
    if (any_revoked(judgement)) {
        return;
    }
    for (const JudgedElement& element : judgement.elements) {
        if (element.status && is_open(*element.status) && !element.status_passes) {
            asked_in_vain_.insert(element.certificate);
        }
    }
}

// Of somebody on that way up: none through him becomes good, unless what was fetched since tells.
bool ChainSession::was_asked_in_vain(const Judgement& judgement) const {
    return std::any_of(judgement.elements.begin(), judgement.elements.end(),
                       [&](const JudgedElement& element) {
                           return element.status && is_open(*element.status) &&
                                  asked_in_vain_.contains(element.certificate);
                       });
}

void ChainSession::leave_open(Judgement& judgement) {
    judgement.judged_to = JudgedTo::revocation;
    for (JudgedElement& element : judgement.elements) {
        if (element.status && is_open(*element.status)) {
            element.status->standing = Standing::unknown;
            element.status->may_be_lifted = false;
            element.status->not_heard = true;
            element.status_passes = false;
        }
    }
}

// Whatever other ways up there are, since all end in the only anchor: the end itself is revoked,
// or its key, or that of its issuer, is in strange hands. Of several anchors one may speak where
// another one is the honest way's.
bool ChainSession::is_condemned(const Judgement& judgement) const {
    if (!settings_.anchors->is_one()) {
        return false;
    }
    const auto last =
        judgement.elements.begin() +
        static_cast<std::ptrdiff_t>(std::min<std::size_t>(2, judgement.elements.size()));
    const std::optional<StatusFinding>& end = judgement.elements.front().status;
    return (end && end->standing == Standing::revoked) ||
           std::any_of(judgement.elements.begin(), last, [](const JudgedElement& e) {
               return e.key_is_compromised || (e.status && e.status->key_is_compromised);
           });
}

// The longest way up, or one by names, so that a bad signature can be told from a missing issuer.
Judgement ChainSession::incomplete(const Question& question) {
    Path path = longest_;
    bool by_names = false;
    if (!is_self_signed(*path.back()) && !cut_short_) {
        PathSearch search(pool_, budget_, counts_, question.at);
        by_names = search.run_by_names(end_, [&](const Path& found) {
            path = found;
            return true;
        });
    }
    Judgement judgement = judge_path(path, question);
    judgement.judged_to = JudgedTo::structure;
    for (std::size_t i = 0; by_names && i + 1 < path.size(); ++i) {
        const SignedBy is_signed = is_signed_by(pool_, budget_, *path[i], *path[i + 1]);
        cut_short_ = cut_short_ || is_signed == SignedBy::untold;
        if (is_signed == SignedBy::no) {
            std::vector<int>& errors = judgement.elements[i].errors;
            errors.insert(errors.begin(), X509_V_ERR_CERT_SIGNATURE_FAILURE);
        }
    }
    if (!judgement.ends_in_anchor) {
        judgement.elements.back().errors.push_back(
            is_self_signed(*path.back()) && !cut_short_
                ? X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN
                : X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY);
    }
    return judgement;
}

void ChainSession::add_system_stores() {
    if (std::exchange(system_stores_added_, true) || !settings_.uses_system_stores) {
        return;
    }
    named_.clear();
    without_path_.clear();
    if (!authorities_) {
        authorities_ = open_system_store("CA");
    }
    pool_.add_store(authorities_.get(), PoolSource::machine);
    own_ = open_system_store("My");
    pool_.add_store(own_.get(), PoolSource::machine);
}

// What ended in an anchor will be seen again, and can't have been made to fill the cache.
void ChainSession::keep_prepared(const Judgement& judgement) {
    if (!judgement.ends_in_anchor || judgement.judged_to == JudgedTo::structure) {
        return;
    }
    for (const JudgedElement& element : judgement.elements) {
        keep_x509(element.certificate->digest(), element.certificate->entry);
        keep_body(element.certificate->item->body);
    }
    if (judgement.good()) {
        issuers_.keep_for(path_of_judgement(judgement));
    }
}

} // namespace basalt
