#include <basalt/chain/key_hearing.h>

#include <basalt/chain/constraint_cost.h>

#include <openssl/x509_vfy.h>

#include <algorithm>
#include <functional>
#include <set>

namespace basalt {

namespace {

// Those whose right to speak is looked into: it takes a judgement of their whole way up.
constexpr unsigned kMostSpeakers = 16;
constexpr std::size_t kMostAskedAbout = 4; // over the network

// Of the first certificate of a path: whoever is above it has no say about that name.
bool tells_of_issuers(int error) {
    return is_about_names(error) || error == X509_V_ERR_UNSPECIFIED; // nothing was found out
}

} // namespace

bool KeyHearing::has_condemned(const Path& path) const {
    const Bytes anchor = path.back()->key_bits();
    return std::any_of(path.begin(), path.end(), [&](const PoolCertificate* certificate) {
        return std::any_of(known_.begin(), known_.end(), [&](const Known& one) {
            return one.heard.compromised && same_bytes(one.key, certificate->key_bits()) &&
                   same_bytes(one.anchor, anchor);
        });
    });
}

// Who says it may be asked of in turn. What comes back to a key that is being asked about tells
// nothing, and what was found with the help of that is kept for nobody else.
KeyHearing::Heard KeyHearing::hear(Bytes key, Bytes anchor, const Sha256& itself) {
    const auto found = std::find_if(known_.begin(), known_.end(), [&](const Known& one) {
        return same_bytes(one.key, key) && same_bytes(one.anchor, anchor) &&
               (!one.only || *one.only == itself);
    });
    if (found != known_.end()) {
        circles_ += found->under_way ? 1 : 0;
        return found->heard;
    }
    const std::vector<PoolCertificate*> like_keyed = pool_.like_keyed(key);
    const bool is_alone = std::all_of(like_keyed.begin(), like_keyed.end(),
                                      [&](const auto* one) { return one->digest() == itself; });
    Known& known = known_.emplace_back();
    known.key = {key.begin(), key.end()};
    known.anchor = {anchor.begin(), anchor.end()};
    if (is_alone) {
        known.only = itself;
        return {};
    }
    known.under_way = true;
    const unsigned circles_before = circles();
    known.heard = ask_all(like_keyed, known.anchor);
    known.under_way = false;
    Heard heard = known.heard; // before it may go
    if (!heard.compromised && circles_before != circles()) {
        known_.remove_if([&](const Known& one) { return &one == &known; });
    }
    return heard;
}

// What isn't foreign is looked for among one's own first, where nothing can bury it.
KeyHearing::Heard KeyHearing::ask_all(const std::vector<PoolCertificate*>& like_keyed,
                                      Bytes anchor) {
    Heard heard;
    std::set<const PoolCertificate*> asked; // of these copies tell nothing more
    for (PoolCertificate* certificate : like_keyed) {
        const PoolCertificate* copy = &pool_.first_copy(*certificate);
        if (asked.contains(copy)) {
            continue;
        }
        const Prepared prepared = pool_.prepare(*certificate, budget_);
        heard.cut_short = heard.cut_short || prepared == Prepared::refused;
        if (prepared == Prepared::yes &&
            ((certificate->is_own() && ask(*certificate, anchor, SearchAmong::own, heard)) ||
             ask(*certificate, anchor, SearchAmong::all, heard))) {
            asked.insert(copy);
        }
        if (heard.compromised) {
            return {true, false, false, {}};
        }
    }
    return heard;
}

bool KeyHearing::ask(PoolCertificate& certificate, Bytes anchor, SearchAmong among, Heard& heard) {
    PathSearch search(pool_, budget_, counts_, question_.at, among);
    search.allow_paths(budget_.limits().heard_paths);
    search.go_around(bar_for(question_.usage, budget_));
    const bool was_asked = search.run(certificate, [&](const Path& path) {
        if (path.size() < 2 || !same_bytes(path.back()->key_bits(), anchor)) {
            search.uncount();
            return false;
        }
        // By whichever way up, the same issuer says the same.
        const StatusFinding finding = status_of(path, 0, question_.at, {.about_key = true});
        if (!finding.key_is_compromised) {
            heard.cut_short = heard.cut_short || finding.cause == UnknownCause::exhausted;
            return true;
        }
        if (!take_comparisons(budget_, path, comparisons_for_usages(path))) {
            heard.cut_short = true;
            return true;
        }
        if (!is_for_use(path)) {
            return false;
        }
        if (speakers_ == kMostSpeakers ||
            !take_comparisons(budget_, path, comparisons_for_constraints(path))) {
            heard.cut_short = true;
            return true;
        }
        const std::optional<PathErrors> structure = structure_errors(path, question_.policies);
        if (!structure) {
            heard.cut_short = true;
            return true;
        }
        ++speakers_;
        // Who is believed for want of word of him mustn't be the one who is asked about.
        const unsigned circles_before = circles();
        Doubt doubt;
        const bool speaks = may_speak(path, *structure, finding, doubt);
        const bool is_untold = doubt.untold || circles_before != circles();
        heard.compromised = speaks && !is_untold && !doubt.open;
        heard.cut_short = heard.cut_short || (speaks && is_untold);
        if (speaks && doubt.open) {
            heard.open = true;
            heard.unreached = heard.unreached.empty() ? doubt.unreached : heard.unreached;
        }
        return speaks;
    });
    heard.cut_short = heard.cut_short || (!was_asked && search.was_cut_short());
    return was_asked;
}

StatusFinding KeyHearing::status_of(const Path& path, std::size_t index, FileTicks at,
                                    const Asking& asking) {
    StatusQuestion question;
    question.stamp_time = at;
    question.now = question_.now;
    question.mode = question_.mode;
    question.strength = question_.strength;
    question.may_use_cache = question_.may_use_cache;
    question.may_fetch = asking.now;
    question.may_ask_later = asking.later || question_.may_ask_later;
    question.is_about_key = asking.about_key;
    return status_.judge(entries_of(path), index, question);
}

bool KeyHearing::is_for_use(const Path& path) const {
    const std::vector<bool> used_wrong = misused(path, question_.usage);
    return std::none_of(used_wrong.begin() + 1, used_wrong.end(), std::identity());
}

bool KeyHearing::may_speak(const Path& path, const PathErrors& errors, const StatusFinding& finding,
                           Doubt& doubt) {
    if (std::any_of(errors[0].begin(), errors[0].end(), tells_of_issuers)) {
        return false;
    }
    const std::vector<Strength> found_strengths = strengths(path);
    for (std::size_t i = 1; i < path.size(); ++i) {
        if (!errors[i].empty() || !passes(found_strengths[i], question_.strength)) {
            return false;
        }
    }
    // Of the one that is spoken of it is enough that nobody could have made it up.
    const std::optional<FileTicks> said = said_in_time(path, finding);
    return passes(found_strengths[0], StrengthLevel::floor) && said &&
           is_in_good_standing(path, *said, doubt);
}

// When it was said by whom that was in force: the earliest such moment, since nobody gains the
// right to speak by being taken back. Who has ended may have spoken before, and who has begun since
// may speak of what was before.
std::optional<FileTicks> KeyHearing::said_in_time(const Path& path,
                                                  const StatusFinding& finding) const {
    const auto all_valid_at = [&](FileTicks at) {
        return std::all_of(path.begin() + 1, path.end() - 1,
                           [&](const PoolCertificate* c) { return c->is_valid_at(at); });
    };
    const bool is_valid = all_valid_at(question_.at) || all_valid_at(question_.now);
    const auto said = std::find_if(finding.said.begin(), finding.said.end(),
                                   [&](FileTicks at) { return is_valid || all_valid_at(at); });
    return said != finding.said.end() ? std::optional(*said) : std::nullopt;
}

// Whoever could sign a stamp by what is known of him is believed once those were asked who could
// tell; that he was revoked for good must be told. From the anchor down: whoever stands below one
// who was has no say.
bool KeyHearing::is_in_good_standing(const Path& path, FileTicks said, Doubt& doubt) {
    for (std::size_t i = path.size() - 1; i-- > 1;) {
        const bool may_ask = question_.may_fetch && !question_.asked_about.contains(path[i]);
        StatusFinding speaker = status_of(path, i, said, {.later = may_ask});
        if (is_open(speaker) && may_ask) {
            if (question_.asked_about.size() == kMostAskedAbout) {
                doubt.untold = true;
                continue;
            }
            question_.asked_about.insert(path[i]);
            speaker = status_of(path, i, said, {.now = true});
        }
        if (speaker.heard_revoked && !speaker.is_on_hold()) {
            return false;
        }
        doubt.untold = doubt.untold || speaker.cause == UnknownCause::exhausted;
        // A hold may have been lifted: by a stranger's choice of lists nobody falls silent.
        if (speaker.is_on_hold() ||
            (is_open(speaker) && (question_.may_ask_later || !passes(speaker, question_.mode)))) {
            doubt.open = true;
            doubt.unreached = doubt.unreached.empty() ? speaker.unreached : doubt.unreached;
        }
    }
    return true;
}

} // namespace basalt
