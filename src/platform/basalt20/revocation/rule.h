// The rule of time: what statements about one certificate amount to. A pure function over plain
// data; no statement is looked at for its authenticity or its scope here, that has been done.
#pragma once

#include <basalt/coding/file_ticks.h>

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace basalt {

enum class Standing { good, revoked, unknown };

// Why a standing is unknown.
enum class UnknownCause {
    none,        // it isn't
    no_source,   // the certificate names none, and nothing lies at hand
    unreachable, // a source is named and nothing usable came from it, or it couldn't be asked
    too_old,     // there are statements, but none that is fresh enough, or made in time; or
                 // none that lifts a hold
    not_covered, // statements cover some reasons only
    exhausted,   // so much lay at hand that not all of it could be looked at
};

// CRLReason numbers (RFC 5280, 5.3.1).
namespace reason {
inline constexpr int kUnspecified = 0;
inline constexpr int kKeyCompromise = 1;
inline constexpr int kCaCompromise = 2;
inline constexpr int kAffiliationChanged = 3;
inline constexpr int kSuperseded = 4;
inline constexpr int kCessationOfOperation = 5;
inline constexpr int kCertificateHold = 6;
inline constexpr int kRemoveFromCrl = 8;
inline constexpr int kPrivilegeWithdrawn = 9;
inline constexpr int kAaCompromise = 10;
} // namespace reason

// ReasonFlags (RFC 5280, 4.2.1.13): bit n of the number is bit n of the BIT STRING. Bit 0 is
// unused.
using ReasonSet = std::uint16_t;
inline constexpr ReasonSet kAllReasons = 0x1FE;
inline constexpr ReasonSet kHoldReason = 1U << 6;

// How far another clock may be ahead.
inline constexpr FileTicks kClockTolerance = 300 * kTicksPerSecond;

// What one list, a delta with its base, or one entry of an answer says of the certificate.
struct Statement {
    FileTicks this_update = 0;
    std::optional<FileTicks> next_update;
    FileTicks signed_at = 0; // of an answer: when it was produced from what was known before
    bool revoked = false;
    std::optional<int> reason; // of a revoked one; nothing when not told
    FileTicks revoked_at = 0;
    ReasonSet reasons = kAllReasons; // that it speaks of
    bool complete = true;            // false for a delta alone: its silence means nothing
    // Who made it: 0 for the key that issued the certificate and its responders, one number for
    // each other key that signs lists. What one of these tells of a hold nobody but himself lifts,
    // or that key.
    unsigned signer = 0;
    // By such a key, and not from where the certificate's own lists are: he may not know of it.
    bool strange = false;
    // The certificates that expired since then are still listed (expiredCertsOnCRL, archiveCutoff).
    std::optional<FileTicks> reaches_back_to;
};

// How much a revocation for that reason voids: 0 for a hold, which isn't for good, 1 what comes
// after its date, 2 mostly what came before, too, and 3 everything that the key was for.
int gravity(std::optional<int> why);

// The moments of the question.
struct Moments {
    FileTicks stamp = 0; // at which the certificate has to have been good
    FileTicks end = 0;   // the last tick at which the certificate is valid
    FileTicks now = 0;   // by which the age of statements is judged
    bool is_signer = false;
};

struct Ruling {
    Standing standing = Standing::unknown;
    UnknownCause cause = UnknownCause::no_source; // never unreachable or exhausted
    bool revoked_later = false;                   // after the stamp, and voids it all the same
    bool may_be_lifted = false;                   // revoked by a hold: a newer word goes before it
    // Unknown for a hold that has run out, or that only those lift who may not: who may could tell
    // that it still is.
    bool is_hold_in_doubt = false;
    bool takes_strange = false;                  // good, and unknown without the strange statements
    std::vector<std::size_t> telling_compromise; // of the statements, whichever decided
    std::vector<std::size_t> deciding;           // indices of the statements that decided
};

// True when the statement can make the certificate good: while the certificate is valid by the
// statement's own term, afterwards if it was made in time or reaches back.
bool covers(const Statement& statement, const Moments& moments);

// For compromise of a key, whose owner can't be told from the thief at any time.
bool is_compromise(std::optional<int> reason);

Ruling rule(std::span<const Statement> statements, const Moments& moments);

} // namespace basalt
