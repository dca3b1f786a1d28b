#include <basalt/revocation/rule.h>

#include <algorithm>
#include <numeric>
#include <set>
#include <utility>

namespace basalt {

namespace {

// For a statement that doesn't say when the next one comes.
constexpr FileTicks kUndatedLife = FileTicks{24} * 3600 * kTicksPerSecond;

bool is_hold(const Statement& statement) {
    return statement.revoked && statement.reason == reason::kCertificateHold;
}

// Only a change of business leaves good what was signed before it (RFC 3161, 4, item 1).
bool counts_from_its_date_on(std::optional<int> why) {
    if (!why) {
        return false;
    }
    switch (*why) {
    case reason::kUnspecified:
    case reason::kAffiliationChanged:
    case reason::kSuperseded:
    case reason::kCessationOfOperation:
    case reason::kPrivilegeWithdrawn:
        return true;
    default:
        return false;
    }
}

bool voids_earlier_stamps(const Statement& statement, bool is_signer) {
    return is_compromise(statement.reason) ||
           (is_signer && !counts_from_its_date_on(statement.reason));
}

// A revocation before the stamp decides rather than one after it, of either kind the first.
bool decides_rather(const Statement& a, const Statement& b) {
    return a.revoked_at < b.revoked_at;
}

// What was revoked after the moment that is asked for was not revoked by then: a stamp that another
// one renewed is judged as of that one's time, and outlives what happened to its keys later. What
// was said by then counts, though, whatever date it gives (RFC 5280, 6.3.3: none is compared).
bool is_known_by(const Statement& statement, FileTicks now) {
    return std::min(statement.revoked_at, statement.this_update) <= now + kClockTolerance;
}

std::optional<std::size_t> deciding_revocation(std::span<const Statement> statements,
                                               const Moments& moments) {
    std::optional<std::size_t> found;
    for (std::size_t i = 0; i < statements.size(); ++i) {
        const Statement& s = statements[i];
        const bool counts =
            s.revoked && !is_hold(s) && is_known_by(s, moments.now) &&
            (s.revoked_at <= moments.stamp || voids_earlier_stamps(s, moments.is_signer));
        if (counts && (!found || decides_rather(s, statements[*found]))) {
            found = i;
        }
    }
    return found;
}

// A revocation that isn't for good voids what was signed since it, and with a signer's key before.
bool is_hold_that_counts(const Statement& statement, const Moments& moments) {
    return is_hold(statement) && statement.this_update <= moments.now + kClockTolerance &&
           (statement.revoked_at <= moments.stamp || moments.is_signer);
}

// The newest of those that `hears` takes in, if that tells a hold and not one that lifts it; that a
// hold's statement has run out lifts nothing. Of one moment a hold goes before what lifts it.
template <typename Hears>
std::optional<std::size_t> last_word_on_hold(std::span<const Statement> statements,
                                             const Moments& moments, const Hears& hears) {
    const auto weight = [&](const Statement& s) {
        return std::pair(s.this_update, is_hold_that_counts(s, moments));
    };
    std::optional<std::size_t> found;
    for (std::size_t i = 0; i < statements.size(); ++i) {
        const Statement& s = statements[i];
        const bool lifts = (s.reasons & kHoldReason) != 0 && covers(s, moments);
        if (hears(s) && (lifts || is_hold_that_counts(s, moments)) &&
            (!found || weight(s) > weight(statements[*found]))) {
            found = i;
        }
    }
    return found && is_hold_that_counts(statements[*found], moments) ? found : std::nullopt;
}

// One that has run out, or that neither its teller nor the issuer's key has lifted.
std::optional<std::size_t> doubtful_hold(std::span<const Statement> statements,
                                         const Moments& moments) {
    std::set<unsigned> tellers;
    for (const Statement& s : statements) {
        if (is_hold_that_counts(s, moments)) {
            tellers.insert(s.signer);
        }
    }
    for (const unsigned teller : tellers) {
        const auto found = last_word_on_hold(statements, moments, [&](const Statement& s) {
            return s.signer == 0 || s.signer == teller;
        });
        if (found) {
            return found;
        }
    }
    return std::nullopt;
}

// Covering statements, newest first, until they speak of every reason together.
Ruling sum_of_reasons(std::span<const Statement> statements, const Moments& moments,
                      bool with_strange) {
    std::vector<std::size_t> order(statements.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        return statements[a].this_update > statements[b].this_update;
    });
    Ruling ruling;
    ReasonSet sum = 0;
    for (const std::size_t i : order) {
        const Statement& s = statements[i];
        if ((with_strange || !s.strange) && covers(s, moments) && (s.reasons & ~sum) != 0) {
            sum |= s.reasons;
            ruling.deciding.push_back(i);
        }
    }
    if (sum == kAllReasons) {
        ruling.standing = Standing::good;
        ruling.cause = UnknownCause::none;
        return ruling;
    }
    ruling.cause = sum != 0             ? UnknownCause::not_covered
                   : statements.empty() ? UnknownCause::no_source
                                        : UnknownCause::too_old;
    if (ruling.deciding.empty() && !order.empty()) {
        ruling.deciding.push_back(order.front());
    }
    return ruling;
}

} // namespace

bool is_compromise(std::optional<int> why) {
    return why == reason::kKeyCompromise || why == reason::kCaCompromise ||
           why == reason::kAaCompromise;
}

int gravity(std::optional<int> why) {
    if (why == reason::kCertificateHold) {
        return 0;
    }
    return is_compromise(why) ? 3 : counts_from_its_date_on(why) ? 1 : 2;
}

bool covers(const Statement& statement, const Moments& moments) {
    const FileTicks made = statement.this_update;
    const FileTicks next = statement.next_update.value_or(made + kUndatedLife);
    const FileTicks known = std::max(made, statement.signed_at);
    const bool ahead_of_itself =
        statement.signed_at != 0 && made > statement.signed_at + kClockTolerance;
    if (!statement.complete || ahead_of_itself || known > moments.now + kClockTolerance ||
        next < made) {
        return false;
    }
    if (moments.now <= moments.end) {
        return next >= moments.now;
    }
    // Lists drop what has expired, so silence afterwards means nothing by itself.
    const bool reaches =
        statement.reaches_back_to.has_value() && *statement.reaches_back_to <= moments.end;
    return made >= moments.stamp && (made <= moments.end || reaches);
}

Ruling rule(std::span<const Statement> statements, const Moments& moments) {
    Ruling ruling;
    ruling.standing = Standing::revoked;
    ruling.cause = UnknownCause::none;
    for (std::size_t i = 0; i < statements.size(); ++i) {
        const Statement& s = statements[i];
        if (s.revoked && is_compromise(s.reason) && is_known_by(s, moments.now)) {
            ruling.telling_compromise.push_back(i);
        }
    }
    if (const auto found = deciding_revocation(statements, moments)) {
        ruling.revoked_later = statements[*found].revoked_at > moments.stamp;
        ruling.deciding = {*found};
        return ruling;
    }
    if (const auto hold = last_word_on_hold(
            statements, moments, [&](const Statement& s) { return covers(s, moments); })) {
        ruling.revoked_later = statements[*hold].revoked_at > moments.stamp;
        ruling.may_be_lifted = true;
        ruling.deciding = {*hold};
        return ruling;
    }
    if (const auto hold = doubtful_hold(statements, moments)) {
        ruling.standing = Standing::unknown;
        ruling.cause = UnknownCause::too_old;
        ruling.is_hold_in_doubt = true;
        ruling.deciding = {*hold};
        return ruling;
    }
    Ruling sum = sum_of_reasons(statements, moments, true);
    sum.takes_strange = sum.standing == Standing::good &&
                        sum_of_reasons(statements, moments, false).standing == Standing::unknown;
    return sum;
}

} // namespace basalt
