#include <basalt/revocation/inquiry.h>

#include <basalt/certificate/key_bits.h>

#include <openssl/err.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace basalt {

namespace {

// In the budget's comparisons: what it takes to find one object of many its place and its turn,
// what a statement takes to be weighed against others, and how many octets are compared for one.
constexpr std::size_t kToPutInOrder = 8;
constexpr std::size_t kToState = 2;
constexpr std::size_t kOctetsCompared = 512;

constexpr int kFewEntries = 16;
constexpr std::size_t kMostOfAnAnswer = std::size_t{256} << 10; // that is kept

constexpr char kRequestType[] = "application/ocsp-request";

// The last tick at which it is valid: the end is told in whole seconds.
FileTicks end_of(const X509* certificate) {
    const std::optional<FileTicks> end = ticks_of(X509_get0_notAfter(certificate));
    return end ? *end + kTicksPerSecond - 1 : 0;
}

void take(const Revocation& revocation, Statement& statement) {
    statement.revoked = true;
    statement.revoked_at = revocation.at;
    statement.reason = revocation.reason;
}

Statement statement_of(const CrlFacts& facts, ReasonSet reasons) {
    Statement statement;
    statement.this_update = facts.this_update;
    statement.next_update = facts.next_update;
    statement.reasons = reasons;
    statement.reaches_back_to = facts.reaches_back_to;
    return statement;
}

} // namespace

Inquiry::Inquiry(EvidenceSession& session, CertificatePathView path, std::size_t index,
                 const StatusQuestion& question)
    : session_(session), left_out_before_(session.signatures.left_out()), question_(question),
      certificate_(path[index]->certificate.get()), issuer_(path[index + 1]->certificate.get()),
      identity_(certificate_, issuer_), sources_(session.sources_of(certificate_)),
      signer_(session, path, index, question, sources_.scope),
      keeper_(certificate_, issuer_, identity_, question.now, session.budget),
      addresses_(sources_.addresses), moments_{question.stamp_time, end_of(certificate_),
                                               question.now, question.is_signer} {
    if (!addresses_.ocsp.empty()) {
        request_ = make_ocsp_request(certificate_, issuer_);
    }
    if (request_.empty()) {
        addresses_.ocsp.clear();
    }
    if (!sources_.scope.complete()) {
        own_left_out_ = true;
        session.signatures.note_left_out();
    }
}

StatusFinding Inquiry::run() {
    static_cast<void>(ask_given() || (question_.may_use_cache && ask_cache()) ||
                      (question_.may_fetch && ask_network()));
    if (!contradicting_.empty()) {
        dispute(*contradicting_.front());
    }
    keep_for_good();
    ERR_clear_error();
    session_.good_but_for_foreign =
        ruling_.standing == Standing::good && !is_all_heard() && !own_left_out_;
    return finding();
}

bool Inquiry::ask_given() {
    Items items = session_.given.about(
        identity_, sources_.scope.list_issuers(),
        [&](const EvidenceItem& item, std::size_t count) { return affords(item, count); });
    const Items fetched = fetched_before();
    items.insert(items.end(), fetched.begin(), fetched.end());
    something_at_hand_ = !items.empty();
    const bool is_decided = consider(items);
    // Nobody has put his own there to have it passed over.
    not_heard_ = not_heard_ || session_.given.has_garbled_own();
    for (const EvidenceItem* item : items) {
        not_heard_ = not_heard_ || (item->own && !is_accepted(*item) &&
                                    (!item->usable() || may_speak_against(*item)));
    }
    return is_decided;
}

bool Inquiry::is_by_list_issuer(const CrlFacts& list) const {
    const std::vector<const X509_NAME*>& issuers = sources_.scope.list_issuers();
    return std::any_of(issuers.begin(), issuers.end(), [&](const X509_NAME* name) {
        return X509_NAME_cmp(name, list.issuer()) == 0;
    });
}

// What was asked for another certificate's sake speaks of this one as well.
Inquiry::Items Inquiry::fetched_before() {
    Items items;
    for (const auto& [key, objects] : session_.fetched) {
        for (const EvidenceItem& item : objects) {
            if (item.list ? is_by_list_issuer(*item.list)
                          : item.answer && is_about(*item.answer, identity_)) {
                items.push_back(&item);
            }
        }
    }
    return items;
}

// All of it, also when what was given makes it good: one may know better than another.
bool Inquiry::ask_cache() {
    for (const auto& [kind, urls] : {std::pair(EvidenceKind::ocsp, &addresses_.ocsp),
                                     std::pair(EvidenceKind::crl, &addresses_.crl)}) {
        for (const std::string& url : *urls) {
            if (consider_cached(keeper_.key_of_revocation(kind, url), url, kind) ||
                consider_cached(keeper_.key_of(kind, url), url, kind)) {
                return true;
            }
        }
    }
    cache_was_asked_ = true;
    return ends_search();
}

bool Inquiry::ask_network() {
    for (const std::string& url : addresses_.ocsp) {
        if (ask_network(url, EvidenceKind::ocsp)) {
            return true;
        }
    }
    for (const std::string& url : addresses_.crl) {
        if (ask_network(url, EvidenceKind::crl)) {
            return true;
        }
    }
    not_heard_ = not_heard_ || addresses_.left_out;
    return false;
}

bool Inquiry::consider_cached(const std::string& key, const std::string& url, EvidenceKind kind) {
    if (!session_.fetched.contains(key)) {
        for (std::vector<BYTE>& object : kept_objects(key)) {
            session_.take_in(key,
                             fetched_item(EvidenceSource::cache, url, kind, std::move(object)));
        }
    }
    const auto found = session_.fetched.find(key);
    if (found == session_.fetched.end()) {
        return false;
    }
    Items items;
    for (const EvidenceItem& item : found->second) {
        if (!is_heard_already(item)) {
            items.push_back(&item);
        }
    }
    const bool decided = consider(items);
    // What is cached was verified when it was kept: that its signer isn't at hand now, or that it
    // is about others than this one, doesn't undo it. What has come since may.
    const auto is_superseded = [&](const EvidenceItem& old) {
        return std::any_of(items.begin(), items.end(), [&](const EvidenceItem* other) {
            return is_accepted(*other) && supersedes(*other, old);
        });
    };
    std::copy_if(items.begin(), items.end(), std::back_inserter(contradicting_),
                 [&](const EvidenceItem* item) {
                     return item->source == EvidenceSource::cache && item->usable() &&
                            !is_accepted(*item) && is_for_us(*item) && may_speak_against(*item) &&
                            !is_superseded(*item);
                 });
    return decided && contradicting_.empty();
}

bool Inquiry::ask_network(const std::string& url, EvidenceKind kind) {
    const std::string key = keeper_.key_of(kind, url);
    if (const auto known = session_.fetched.find(key);
        known != session_.fetched.end() && known->second.back().source == EvidenceSource::network) {
        note_unheard(known->second.back());
        return false; // it was asked before, and what it said has been considered
    }
    const unsigned not_asked_before = session_.retrieval.not_asked();
    std::optional<std::vector<BYTE>> bytes =
        kind == EvidenceKind::ocsp ? session_.retrieval.post(url, kRequestType, request_)
                                   : session_.retrieval.get(url);
    if (!bytes) {
        unreached_ = unreached_.empty() ? url : unreached_;
        not_heard_ = not_heard_ || session_.retrieval.not_asked() != not_asked_before;
        return false;
    }
    EvidenceItem fetched;
    if (session_.budget.take_reading(bytes->size())) {
        fetched = fetched_item(EvidenceSource::network, url, kind, std::move(*bytes));
    } else {
        fetched.source = EvidenceSource::network;
        fetched.url = url;
        fetched.leave_unread();
    }
    const EvidenceItem* item = session_.take_in(key, std::move(fetched));
    static_cast<void>(consider({item}));
    note_unheard(*item);
    if (is_worth_keeping(*item)) {
        keep(*item);
    }
    return ends_search();
}

void Inquiry::keep(const EvidenceItem& item) {
    const List* list = accepted_list(item);
    const X509* signer = list != nullptr ? list->signer->certificate.get() : nullptr;
    // Of whose signer nothing is known mustn't take the place of what is sure.
    if (std::find(doubtful_.begin(), doubtful_.end(), &item) == doubtful_.end()) {
        keeper_.keep(item, keeper_.key_of(item.kind(), item.url), signer);
    }
    if (keeper_.revokes_for_good(item)) {
        keeper_.keep(item, keeper_.key_of_revocation(item.kind(), item.url), signer);
    }
}

// What was fetched for another one's sake, now or once, lies where his evidence pushes it out.
void Inquiry::keep_for_good() {
    if (ruling_.standing != Standing::revoked) {
        return;
    }
    for (const std::size_t index : ruling_.deciding) {
        for (const EvidenceItem* item : origins_[index]) {
            if (item->source != EvidenceSource::given && keeper_.revokes_for_good(*item)) {
                const List* list = accepted_list(*item);
                keeper_.keep(*item, keeper_.key_of_revocation(item->kind(), item->url),
                             list != nullptr ? list->signer->certificate.get() : nullptr);
            }
        }
    }
}

// Whether what was accepted undoes what was kept. The issuer's key lifts whatever hold was told.
bool Inquiry::supersedes(const EvidenceItem& newer, const EvidenceItem& kept) {
    const List* list = accepted_list(newer);
    return keeper_.supersedes(newer, kept) &&
           (list == nullptr || list->by_issuer ||
            session_.signatures.good(*kept.list, *list->signer, question_.strength, kept.given(),
                                     kept.octets_to_pay()));
}

void Inquiry::note_unheard(const EvidenceItem& fetched) {
    if (fetched.too_large || fetched.is_garbled) {
        unreached_ = unreached_.empty() ? fetched.url : unreached_;
        not_heard_ = true;
    }
    if (fetched.usable() && !is_accepted(fetched)) {
        const bool is_ours = is_for_us(fetched);
        // A list that says that it isn't about this one may name it all the same.
        const bool is_against = (is_ours || (fetched.list && is_by_list_issuer(*fetched.list))) &&
                                may_speak_against(fetched);
        is_contested_ = is_contested_ || is_ours || is_against;
        not_heard_ = not_heard_ || is_against;
    }
}

// A list of which that can't be told may be.
bool Inquiry::is_for_us(const EvidenceItem& item) {
    return item.list ? sources_.scope.reasons(*item.list) != ReasonSet{0}
                     : item.answer && is_about(*item.answer, identity_);
}

bool Inquiry::affords(const EvidenceItem& item, std::size_t comparisons) {
    const bool affordable = session_.affords(item, comparisons);
    own_left_out_ = own_left_out_ || (!affordable && !item.given());
    return affordable;
}

void Inquiry::leave_out(const EvidenceItem& item) {
    session_.signatures.note_left_out();
    own_left_out_ = own_left_out_ || !item.given();
}

// It is heard neither for nor against the certificate.
void Inquiry::dispute(const EvidenceItem& item) {
    leave_out(item);
    ++disputed_;
}

// By its own word: nobody has looked who signed it. Of an answer about very many it isn't looked
// for.
bool Inquiry::speaks_against(const EvidenceItem& item) {
    if (item.list) {
        return !affords(item, comparisons_for_number(item)) ||
               session_.has_entry(item, certificate_);
    }
    if (OCSP_resp_count(item.answer->basic.get()) > kFewEntries) {
        return false;
    }
    return revokes(*item.answer, identity_);
}

bool Inquiry::may_speak_against(const EvidenceItem& item) {
    return speaks_against(item) ||
           (item.answer && OCSP_resp_count(item.answer->basic.get()) > kFewEntries);
}

// One's own first, then by their size: what it takes to look at a large one is taken from none of
// the others. The bytes settle the rest, so that the order in which they came shows nowhere.
void Inquiry::put_in_order(Items& items) {
    std::sort(items.begin(), items.end(), [](const EvidenceItem* a, const EvidenceItem* b) {
        const auto head = [](const EvidenceItem* item) {
            return std::pair(item->given(), item->encoded.size());
        };
        return head(a) != head(b)
                   ? head(a) < head(b)
                   : std::lexicographical_compare(a->encoded.begin(), a->encoded.end(),
                                                  b->encoded.begin(), b->encoded.end());
    });
}

// Where there may be more than can be heard what revokes goes first. The entries of a list that was
// just fetched aren't read for that: nobody may have signed it.
void Inquiry::put_weightiest_first(Items& items) {
    constexpr std::size_t kFew = 8;
    if (items.size() <= kFew) {
        return;
    }
    Items weighty[2][2]; // by whether they were given, and speak against
    for (const EvidenceItem* item : items) {
        const bool is_unread = item->list && item->source == EvidenceSource::network;
        weighty[item->given() ? 1 : 0][!is_unread && speaks_against(*item) ? 0 : 1].push_back(item);
    }
    items.clear();
    for (const auto& [against, others] : weighty) {
        items.insert(items.end(), against.begin(), against.end());
        items.insert(items.end(), others.begin(), others.end());
    }
}

// What was signed by whom it had to be is heard, if it can be read for what there is.
void Inquiry::accept(const EvidenceItem& item) {
    if (item.answer) {
        if (affords(item, comparisons_for_statements(*item.answer))) {
            answers_.push_back({&item, statements_of(*item.answer, identity_)});
            if (revokes_in_other_words(*item.answer, identity_)) {
                leave_out(item);
            }
        }
        return;
    }
    const std::optional<ReasonSet> reasons = sources_.scope.reasons(*item.list);
    const Listing* listing = reasons ? session_.listing_of(item, certificate_) : nullptr;
    if (listing == nullptr) {
        leave_out(item);
    } else if (listing->is_readable) {
        const bool by_issuer = signer_.is_beyond_doubt() || item.own;
        lists_.push_back({&item, *reasons, listing, signer_.list_signer(), by_issuer,
                          by_issuer || is_from_own_address(item)});
    }
}

bool Inquiry::is_accepted(const EvidenceItem& item) const {
    return accepted_list(item) != nullptr ||
           std::any_of(answers_.begin(), answers_.end(),
                       [&](const Answer& answer) { return answer.item == &item; });
}

const Inquiry::List* Inquiry::accepted_list(const EvidenceItem& item) const {
    const auto found = std::find_if(lists_.begin(), lists_.end(),
                                    [&](const List& list) { return list.item == &item; });
    return found == lists_.end() ? nullptr : &*found;
}

// What was kept twice is heard once.
bool Inquiry::is_heard_already(const EvidenceItem& item) const {
    const auto is_same = [&](const auto& heard) {
        return heard.item != &item && same_bytes(heard.item->encoded, item.encoded);
    };
    return std::any_of(answers_.begin(), answers_.end(), is_same) ||
           std::any_of(lists_.begin(), lists_.end(), is_same);
}

// What tells nothing now needn't be kept: a stale list, an authentic "unknown". What was made ahead
// of the real time would stay for years. What is beside the word of an answer nobody signs: it
// would push everything else out, but mustn't keep a revocation from being kept.
bool Inquiry::is_worth_keeping(const EvidenceItem& item) {
    if (!item.usable() || keeper_.is_made_ahead(item) ||
        (item.answer && item.encoded.size() > kMostOfAnAnswer && !keeper_.revokes_for_good(item))) {
        return false;
    }
    for (std::size_t i = 0; i < statements_.size(); ++i) {
        const Items& origin = origins_[i];
        if (std::find(origin.begin(), origin.end(), &item) != origin.end() &&
            (statements_[i].revoked || covers(statements_[i], moments_))) {
            return true;
        }
    }
    return false;
}

bool Inquiry::hears(const EvidenceItem& item,
                    bool (EvidenceSigner::*has_signed)(const EvidenceItem&)) {
    const unsigned before = session_.signatures.left_out();
    const bool heard = (signer_.*has_signed)(item);
    const bool left_out = session_.signatures.left_out() != before;
    own_left_out_ = own_left_out_ || (left_out && !item.given());
    if (heard && signer_.is_beyond_doubt()) {
        beyond_doubt_.push_back(&item);
    }
    if (heard && signer_.is_doubtful()) {
        doubtful_.push_back(&item);
    }
    // Its signer can make nothing good; but that it can't revoke either would suit a thief.
    if (!heard && signer_.is_distrusted() && may_speak_against(item)) {
        dispute(item);
    }
    return heard;
}

bool Inquiry::is_from_own_address(const EvidenceItem& list) const {
    return std::find(addresses_.crl.begin(), addresses_.crl.end(), list.url) !=
           addresses_.crl.end();
}

// By another key than the issuer's, and from elsewhere than where the certificate's own lists are,
// a list is strange. It may be of all that the name has issued; or each key has a list of what it
// has issued itself, and anybody can add another one's.
// Who signed each list, by number. Who has signed one that isn't strange is no stranger in the
// others either.
void Inquiry::number_signers() {
    std::vector<const List*> known; // one by each
    for (List& list : lists_) {
        const auto same = std::find_if(known.begin(), known.end(), [&](const List* other) {
            return have_same_signer(list, *other);
        });
        list.number = static_cast<unsigned>(same - known.begin()) + 1;
        if (same == known.end()) {
            known.push_back(&list);
        }
    }
    for (unsigned number = 1; number <= known.size(); ++number) {
        const auto any = [&](bool List::*is) {
            return std::any_of(lists_.begin(), lists_.end(),
                               [&](const List& list) { return list.number == number && list.*is; });
        };
        const bool is_by_issuer = any(&List::by_issuer);
        const bool is_known = any(&List::known);
        for (List& list : lists_) {
            if (list.number == number) {
                list.strange = !is_known;
                list.number = is_by_issuer ? 0 : number;
            }
        }
    }
}

// What strange lists make good its own sources may know better, as long as these speak of it: of an
// ended certificate they needn't any more.
bool Inquiry::is_provisional() const {
    return ruling_.takes_strange && moments_.now <= moments_.end &&
           !(addresses_.ocsp.empty() && addresses_.crl.empty());
}

bool Inquiry::is_beyond_doubt(const Items& origin) const {
    return std::all_of(origin.begin(), origin.end(), [&](const EvidenceItem* item) {
        return std::find(beyond_doubt_.begin(), beyond_doubt_.end(), item) != beyond_doubt_.end();
    });
}

// To look whether it is about the certificate.
std::size_t Inquiry::comparisons_for(const EvidenceItem& item) const {
    return kToPutInOrder +
           (item.list ? sources_.scope.comparisons_with(*item.list)
                      : static_cast<std::size_t>(OCSP_resp_count(item.answer->basic.get())));
}

bool Inquiry::consider(Items items) {
    put_in_order(items);
    std::erase_if(items, [&](const EvidenceItem* item) {
        return !item->usable() || is_accepted(*item) || !affords(*item, comparisons_for(*item)) ||
               !is_for_us(*item);
    });
    put_weightiest_first(items);
    Items open;
    for (const EvidenceItem* item : items) {
        if (hears(*item, &EvidenceSigner::is_on_path)) {
            accept(*item);
        } else {
            open.push_back(item);
        }
    }
    // What is at hand is at hand at once: a revocation beats whatever else is said.
    if (decide() && ruling_.standing == Standing::revoked) {
        return true;
    }
    for (const EvidenceItem* item : open) {
        if (hears(*item, &EvidenceSigner::is_beside_path)) {
            accept(*item);
        }
    }
    return decide();
}

void Inquiry::state(const Statement& statement, Items origin) {
    statements_.push_back(statement);
    origins_.push_back(std::move(origin));
}

bool Inquiry::is_in_force(const List& list) const {
    return covers(statement_of(*list.item->list, list.reasons), moments_);
}

std::vector<const Inquiry::List*> Inquiry::deltas_newest_first() const {
    std::vector<const List*> deltas;
    for (const List& list : lists_) {
        if (list.item->list->is_delta() && is_in_force(list)) {
            deltas.push_back(&list);
        }
    }
    std::stable_sort(deltas.begin(), deltas.end(), [](const List* a, const List* b) {
        return ASN1_INTEGER_cmp(a->item->list->number.get(), b->item->list->number.get()) > 0;
    });
    return deltas;
}

// Of two keys of one name each may have a delta to its own list.
bool Inquiry::have_same_signer(const List& a, const List& b) {
    return same_key_bits(key_bits_of(a.signer->certificate.get()),
                         key_bits_of(b.signer->certificate.get()));
}

// Of deltas that are about something else there may be very many.
const Inquiry::List* Inquiry::newest_delta_of(const List& base,
                                              const std::vector<const List*>& deltas) {
    const std::size_t comparisons = 1 + base.item->list->point_bytes.size() / kOctetsCompared;
    for (const List* delta : deltas) {
        if (continues(*delta->item->list, *base.item->list) && have_same_signer(*delta, base)) {
            return delta;
        }
        if (!affords(base.item->own ? *delta->item : *base.item, comparisons)) {
            return nullptr;
        }
    }
    return nullptr;
}

void Inquiry::state_list(const List& list, const std::vector<const List*>& deltas) {
    const CrlFacts& facts = *list.item->list;
    Statement own = statement_of(facts, list.reasons);
    own.complete = !facts.is_delta();
    own.signer = list.number;
    own.strange = list.strange;
    for (const Revocation& entry : list.listing->entries) {
        if (own.revoked) { // it is repeated: each counts
            state(own, {list.item});
        }
        take(entry, own);
    }
    const List* delta = facts.is_delta() ? nullptr : newest_delta_of(list, deltas);
    if (delta != nullptr) {
        state_with_delta(list, own, *delta);
    } else if (own.complete || own.revoked) {
        state(own, {list.item});
    }
}

void Inquiry::state_with_delta(const List& base, const Statement& own, const List& delta) {
    Statement joint = own;
    joint.this_update = delta.item->list->this_update;
    joint.next_update = delta.item->list->next_update;
    const Listing& changed = *delta.listing;
    const bool lifted =
        changed.removed && changed.entries.empty() && own.reason == reason::kCertificateHold;
    if (!lifted) {
        state(own, {base.item});
    }
    for (const Revocation& entry : changed.entries) {
        take(entry, joint);
        state(joint, {delta.item, base.item});
    }
    if (changed.entries.empty()) {
        joint.revoked = joint.revoked && !lifted;
        state(joint, {delta.item, base.item});
    }
}

// What can't be weighed any more for what there is is left out. Of two that say the same, what was
// given goes before what was fetched: it stays with the stamp.
void Inquiry::state_all() {
    number_signers();
    const std::vector<const List*> deltas = deltas_newest_first();
    for (const bool was_given : {true, false}) {
        for (const List& list : lists_) {
            if ((list.item->source == EvidenceSource::given) == was_given &&
                affords(*list.item, kToState * (1 + list.listing->entries.size()))) {
                state_list(list, deltas);
            }
        }
        for (const Answer& answer : answers_) {
            if ((answer.item->source == EvidenceSource::given) != was_given ||
                !affords(*answer.item, kToState * answer.statements.size())) {
                continue;
            }
            for (const Statement& statement : answer.statements) {
                state(statement, {answer.item});
            }
        }
    }
}

bool Inquiry::decide() {
    const std::size_t accepted = lists_.size() + answers_.size();
    if (accepted == 0 || accepted != stated_) {
        statements_.clear();
        origins_.clear();
        state_all();
        ruling_ = rule(statements_, moments_);
        stated_ = accepted;
    }
    return ends_search();
}

// Of whom the authority itself says nothing yet what others revoke may be revoked itself: that
// could lie in the cache.
bool Inquiry::ends_search() const {
    const bool is_beyond_doubt =
        std::all_of(ruling_.deciding.begin(), ruling_.deciding.end(),
                    [&](std::size_t index) { return this->is_beyond_doubt(origins_[index]); });
    return is_final() && (ruling_.standing != Standing::revoked || is_beyond_doubt ||
                          cache_was_asked_ || !question_.may_use_cache);
}

bool Inquiry::is_final() const {
    if (question_.is_about_key) {
        return false; // whoever said it again later may not have been entitled to any more
    }
    // What was left out may revoke; so may what the next source says. A newer word lifts a hold.
    return (ruling_.standing == Standing::revoked && !ruling_.may_be_lifted) ||
           (ruling_.standing == Standing::good && is_all_heard() && contradicting_.empty() &&
            (cache_was_asked_ || !question_.may_use_cache) &&
            !(is_provisional() && question_.may_fetch));
}

bool Inquiry::may_still_be_lifted() const {
    return ruling_.may_be_lifted && !question_.may_fetch &&
           !(addresses_.ocsp.empty() && addresses_.crl.empty());
}

DecidingEvidence Inquiry::deciding_evidence(const EvidenceItem& item, const Statement& of) const {
    DecidingEvidence evidence;
    evidence.kind = item.kind();
    evidence.source = item.source;
    evidence.url = item.url;
    evidence.this_update = item.list ? item.list->this_update : of.this_update;
    evidence.next_update = item.list ? item.list->next_update : of.next_update;
    evidence.encoded = item.encoded;
    evidence.keeper = item.keeper;
    return evidence;
}

// Behind what decided, so that the first one is still that.
void Inquiry::add_support(StatusFinding& finding) const {
    for (const std::size_t index : ruling_.deciding) {
        for (const EvidenceItem* item : origins_[index]) {
            if (const auto found = session_.support.find(item); found != session_.support.end()) {
                add_unknown(finding.evidence, found->second);
            }
        }
    }
}

std::vector<FileTicks> Inquiry::compromise_was_said() const {
    std::vector<FileTicks> said;
    for (const std::size_t index : ruling_.telling_compromise) {
        said.push_back(statements_[index].this_update);
    }
    std::sort(said.begin(), said.end());
    return said;
}

StatusFinding Inquiry::finding() const {
    StatusFinding finding;
    finding.said = compromise_was_said();
    finding.standing = ruling_.standing;
    finding.cause = ruling_.cause;
    finding.revoked_later = ruling_.revoked_later;
    finding.key_is_compromised = !finding.said.empty();
    finding.heard_revoked = ruling_.standing == Standing::revoked || ruling_.is_hold_in_doubt;
    for (const std::size_t index : ruling_.deciding) {
        const Statement& statement = statements_[index];
        if (finding.heard_revoked) {
            finding.reason = statement.reason;
            finding.revoked_at = statement.revoked_at;
            finding.is_beyond_doubt = is_beyond_doubt(origins_[index]);
        }
        for (const EvidenceItem* item : origins_[index]) {
            finding.evidence.push_back(deciding_evidence(*item, statement));
        }
    }
    if (!is_final() && !is_all_heard()) {
        finding.standing = Standing::unknown;
    }
    if (is_provisional() && (question_.may_ask_later || not_heard_ || is_contested_)) {
        finding.standing = Standing::unknown;
        finding.cause = UnknownCause::unreachable;
    }
    if (finding.standing != Standing::unknown) {
        finding.may_be_lifted = may_still_be_lifted();
        add_support(finding);
        return finding;
    }
    finding.unreached = unreached_;
    finding.not_heard = not_heard_ || ruling_.is_hold_in_doubt;
    if (!is_all_heard()) {
        finding.cause = UnknownCause::exhausted;
        finding.is_disputed = session_.signatures.left_out() == left_out_before_ + disputed_;
    } else if (finding.cause == UnknownCause::no_source &&
               (addresses_.any_named || something_at_hand_)) {
        // Something speaks of certificates like this one; that it can't be used is no licence.
        finding.cause = UnknownCause::unreachable;
    }
    return finding;
}

} // namespace basalt
