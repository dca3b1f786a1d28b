// The rule of time by tables: statements and moments to a standing.
#include <basalt/revocation/rule.h>

#include <gtest/gtest.h>

#include <string>

namespace basalt {
namespace {

// Hours from the stamp, which stands far from the scale's end.
constexpr FileTicks kHour = FileTicks{3600} * kTicksPerSecond;
constexpr FileTicks kStamp = 100'000 * kHour;

constexpr FileTicks at(int hours) {
    return hours < 0 ? kStamp - static_cast<FileTicks>(-hours) * kHour
                     : kStamp + static_cast<FileTicks>(hours) * kHour;
}

constexpr int kNone = -1000;

Statement good(int made, int next, int reaches = kNone) {
    Statement s;
    s.this_update = at(made);
    if (next != kNone) {
        s.next_update = at(next);
    }
    if (reaches != kNone) {
        s.reaches_back_to = at(reaches);
    }
    return s;
}

Statement revoked(int made, int next, int since, std::optional<int> why) {
    Statement s = good(made, next);
    s.revoked = true;
    s.revoked_at = at(since);
    s.reason = why;
    return s;
}

Statement for_reasons(Statement s, ReasonSet reasons) {
    s.reasons = reasons;
    return s;
}

Statement delta_alone(Statement s) {
    s.complete = false;
    return s;
}

struct Case {
    const char* name;
    std::vector<Statement> statements;
    int end; // of the certificate
    int now;
    Standing expected;
    UnknownCause cause = UnknownCause::none;
};

void expect_ruling(const Case& c, bool is_signer) {
    SCOPED_TRACE(c.name);
    SCOPED_TRACE(is_signer ? "signer" : "authority");
    const Moments moments{kStamp, at(c.end), at(c.now), is_signer};
    const Ruling ruling = rule(c.statements, moments);
    EXPECT_EQ(ruling.standing, c.expected);
    EXPECT_EQ(ruling.cause, c.cause);
    if (ruling.standing != Standing::unknown || !c.statements.empty()) {
        EXPECT_FALSE(ruling.deciding.empty());
    }
}

constexpr Standing kGood = Standing::good;
constexpr Standing kRevoked = Standing::revoked;
constexpr Standing kUnknown = Standing::unknown;
constexpr UnknownCause kTooOld = UnknownCause::too_old;

TEST(RuleTest, AGoodStatementCountsByItsTermWhileTheCertificateIsValid) {
    const Case cases[] = {
        {"nothing", {}, 100, 10, kUnknown, UnknownCause::no_source},
        {"in force now", {good(5, 15)}, 100, 10, kGood},
        {"older than the stamp and in force now", {good(-5, 15)}, 100, 10, kGood},
        {"in force at the stamp alone", {good(-5, 5)}, 100, 10, kUnknown, kTooOld},
        {"runs out this moment", {good(5, 10)}, 100, 10, kGood},
        {"undated, of today", {good(-10, kNone)}, 100, 10, kGood},
        {"undated, a day old", {good(-14, kNone)}, 100, 10, kGood},
        {"undated, older", {good(-15, kNone)}, 100, 10, kUnknown, kTooOld},
        {"of the future", {good(11, 20)}, 100, 10, kUnknown, kTooOld},
        {"next before made", {good(10, 9)}, 100, 10, kUnknown, kTooOld},
        {"reaching back is no substitute", {good(2, 5, -50)}, 100, 10, kUnknown, kTooOld},
        {"one old, one fresh", {good(-5, 5), good(9, 20)}, 100, 10, kGood},
        {"the last moment of the certificate", {good(5, 15)}, 10, 10, kGood},
    };
    for (const Case& c : cases) {
        expect_ruling(c, true);
        expect_ruling(c, false);
    }
    Moments slow{kStamp, at(100), at(10) - 300 * kTicksPerSecond, true};
    EXPECT_TRUE(covers(good(10, 20), slow)) << "a clock may be five minutes slow";
    slow.now -= 1;
    EXPECT_FALSE(covers(good(10, 20), slow));
}

TEST(RuleTest, AnAnswerIsNotOlderThanItsSignature) {
    Statement s = good(5, 15);
    const Moments moments{kStamp, at(100), at(10), true};
    s.signed_at = at(9);
    EXPECT_TRUE(covers(s, moments));
    s.signed_at = at(11);
    EXPECT_FALSE(covers(s, moments));
    s.signed_at = at(4);
    EXPECT_FALSE(covers(s, moments)) << "nor does it speak of a later time than it was made at";
}

TEST(RuleTest, AfterTheCertificatesEndAStatementMustBeMadeInTimeOrReachBack) {
    const Case cases[] = {
        {"made between stamp and end", {good(5, 9)}, 10, 500, kGood},
        {"made at the stamp", {good(0, 9)}, 10, 500, kGood},
        {"made at the end", {good(10, 11)}, 10, 500, kGood},
        {"made before the stamp", {good(-1, 9)}, 10, 500, kUnknown, kTooOld},
        {"made before the stamp, in force now", {good(-1, 900)}, 10, 500, kUnknown, kTooOld},
        {"made after the end", {good(11, 900)}, 10, 500, kUnknown, kTooOld},
        {"made after the end, reaching back to it", {good(11, 900, 10)}, 10, 500, kGood},
        {"made after the end, reaching behind it", {good(11, 900, 3)}, 10, 500, kGood},
        {"made after the end, not reaching it", {good(12, 900, 11)}, 10, 500, kUnknown, kTooOld},
        {"reaching back, but of the future", {good(501, 900, 3)}, 10, 500, kUnknown, kTooOld},
        {"made before the stamp, reaching back", {good(-1, 900, -5)}, 10, 500, kUnknown, kTooOld},
        {"in time, next before made", {good(5, 4)}, 10, 500, kUnknown, kTooOld},
    };
    for (const Case& c : cases) {
        expect_ruling(c, true);
        expect_ruling(c, false);
    }
}

TEST(RuleTest, ARevocationCountsByDateAndReasonHoweverOldItsStatement) {
    const struct {
        const char* name;
        int since;
        std::optional<int> why;
        bool of_signer; // counts for the time-stamp's signer
        bool of_authority;
    } cases[] = {
        {"before, superseded", -1, 4, true, true},
        {"before, unspecified", -1, 0, true, true},
        {"before, no reason", -1, std::nullopt, true, true},
        {"at the very moment", 0, 4, true, true},
        {"after, unspecified", 1, 0, false, false},
        {"after, affiliation changed", 1, 3, false, false},
        {"after, superseded", 1, 4, false, false},
        {"after, cessation", 1, 5, false, false},
        {"after, privilege withdrawn", 1, 9, false, false},
        {"after, key compromise", 1, 1, true, true},
        {"after, CA compromise", 1, 2, true, true},
        {"after, AA compromise", 1, 10, true, true},
        {"after, no reason", 1, std::nullopt, true, false},
        {"after, a reason that doesn't exist", 1, 7, true, false},
        {"after, another one", 1, 77, true, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        for (const int now : {10, 500}) { // in force and long past, before the end and after it
            const Statement s = revoked(5, 15, c.since, c.why);
            for (const bool signer : {true, false}) {
                const Moments moments{kStamp, at(100), at(now), signer};
                const Ruling ruling = rule(std::span(&s, 1), moments);
                if (signer ? c.of_signer : c.of_authority) {
                    EXPECT_EQ(ruling.standing, kRevoked);
                    EXPECT_EQ(ruling.revoked_later, c.since > 0);
                } else {
                    EXPECT_EQ(ruling.standing, kGood) << "it tells that all was well at the stamp";
                }
            }
        }
    }
}

TEST(RuleTest, ARevocationBeatsWhateverElseIsSaid) {
    const Case cases[] = {
        {"an old one beats a fresh good one",
         {good(9, 20), revoked(-50, -40, -60, 4)},
         100,
         10,
         kRevoked},
        {"one of the future counts", {revoked(20, 30, -1, 1), good(9, 20)}, 100, 10, kRevoked},
        {"a compromise after the moment asked for doesn't",
         {revoked(20, 30, 18, 1), good(9, 20)},
         100,
         10,
         kGood},
        {"and leaves open what nothing else tells",
         {revoked(20, 30, 18, 1)},
         100,
         10,
         kUnknown,
         kTooOld},
        {"a compromise a moment before it does",
         {revoked(20, 30, 10, 1), good(9, 20)},
         100,
         10,
         kRevoked},
        {"in a delta without base", {delta_alone(revoked(5, 9, -1, 4))}, 100, 10, kRevoked},
        {"a delta alone makes nothing good",
         {delta_alone(good(5, 15))},
         100,
         10,
         kUnknown,
         kTooOld},
        {"harmless and out of date", {revoked(5, 8, 1, 4)}, 100, 10, kUnknown, kTooOld},
    };
    for (const Case& c : cases) {
        expect_ruling(c, true);
        expect_ruling(c, false);
    }
    // Of two that count, the report is about the one before the stamp.
    const Statement both[] = {revoked(5, 15, 2, 1), revoked(5, 15, -2, 4)};
    const Ruling ruling = rule(both, {kStamp, at(100), at(10), true});
    EXPECT_EQ(ruling.deciding, std::vector<std::size_t>{1});
    EXPECT_FALSE(ruling.revoked_later);
}

TEST(RuleTest, TheLatestWordOnAHoldCounts) {
    const Case both[] = {
        {"on hold", {revoked(5, 15, -1, 6)}, 100, 10, kRevoked},
        {"lifted since", {revoked(5, 15, -1, 6), good(6, 15)}, 100, 10, kGood},
        {"put on hold since", {revoked(6, 15, -1, 6), good(5, 15)}, 100, 10, kRevoked},
        {"two of one moment", {good(6, 15), revoked(6, 15, -1, 6)}, 100, 10, kRevoked},
        {"out of date", {revoked(2, 5, -1, 6)}, 100, 10, kUnknown, kTooOld},
        {"out of date, lifted since", {revoked(2, 5, -1, 6), good(6, 15)}, 100, 10, kGood},
        {"out of date, lifted by what has run out, too",
         {revoked(2, 5, -1, 6), good(4, 7)},
         100,
         10,
         kUnknown,
         kTooOld},
        {"out of date, and an older one in force",
         {revoked(2, 5, -1, 6), good(1, 15)},
         100,
         10,
         kUnknown,
         kTooOld},
        {"out of date, and one of its moment",
         {good(2, 15), revoked(2, 5, -1, 6)},
         100,
         10,
         kUnknown,
         kTooOld},
        {"in force, told again since by what has run out",
         {revoked(2, 15, -1, 6), revoked(4, 8, -1, 6)},
         100,
         10,
         kRevoked},
        {"out of date, told again since",
         {revoked(2, 5, -1, 6), revoked(6, 15, -1, 6)},
         100,
         10,
         kRevoked},
        {"out of date, beside one of its moment in force",
         {revoked(2, 5, -1, 6), revoked(2, 15, -1, 6)},
         100,
         10,
         kRevoked},
        {"by a delta alone, and an older list in force",
         {delta_alone(revoked(5, 9, -1, 6)), good(1, 15)},
         100,
         10,
         kUnknown,
         kTooOld},
        {"of the future", {revoked(11, 15, -1, 6), good(5, 15)}, 100, 10, kGood},
        {"before the certificate's end, last told before the stamp",
         {revoked(-3, 5, -4, 6)},
         8,
         500,
         kUnknown,
         kTooOld},
        {"last told before the stamp, lifted by the end",
         {revoked(-3, 5, -4, 6), good(2, 5)},
         8,
         500,
         kGood},
        {"put on hold after the certificate's end",
         {revoked(9, 20, -4, 6), good(2, 5)},
         8,
         500,
         kUnknown,
         kTooOld},
        {"lifted by one that is of other reasons",
         {revoked(5, 15, -1, 6), for_reasons(good(6, 15), 0x002)},
         100,
         10,
         kRevoked},
        {"on hold at the end", {revoked(5, 6, -1, 6)}, 8, 500, kRevoked},
        {"on hold, then revoked", {revoked(5, 15, -1, 6), revoked(6, 15, 1, 1)}, 100, 10, kRevoked},
    };
    for (const Case& c : both) {
        expect_ruling(c, true);
        expect_ruling(c, false);
    }
    const Case later{"put on hold after the stamp", {revoked(5, 15, 1, 6)}, 100, 10, kRevoked};
    expect_ruling(later, true);
    expect_ruling({later.name, later.statements, 100, 10, kGood}, false);
    const Case old{
        "the same, out of date", {revoked(5, 8, 1, 6), good(4, 15)}, 100, 10, kUnknown, kTooOld};
    expect_ruling(old, true);
    expect_ruling({old.name, old.statements, 100, 10, kGood}, false);
    const Statement held[] = {good(1, 15), revoked(2, 5, -1, 6)};
    const Ruling ruling = rule(held, {kStamp, at(100), at(10), true});
    EXPECT_TRUE(ruling.is_hold_in_doubt);
    EXPECT_EQ(ruling.deciding, std::vector<std::size_t>{1}) << "what tells the hold is reported";
}

TEST(RuleTest, OtherKeysRevokeAndLiftNothing) {
    const auto by = [](unsigned signer, Statement s) {
        s.signer = signer;
        return s;
    };
    const auto strange = [&](const Statement& of, unsigned signer = 1) {
        Statement s = by(signer, of);
        s.strange = true;
        return s;
    };
    const struct {
        Case of;
        bool is_hold_in_doubt;
        bool takes_strange;
    } cases[] = {
        {{"good by strangers", {strange(good(5, 15))}, 100, 10, kGood}, false, true},
        {{"good by others, too", {good(4, 15), strange(good(5, 15))}, 100, 10, kGood},
         false,
         false},
        {{"the others out of date", {good(4, 8), strange(good(5, 15))}, 100, 10, kGood},
         false,
         true},
        {{"revoked", {good(5, 15), strange(revoked(4, 8, -1, 4))}, 100, 10, kRevoked},
         false,
         false},
        {{"on hold", {good(5, 15), strange(revoked(6, 15, -1, 6))}, 100, 10, kRevoked},
         false,
         false},
        {{"on hold, lifted by others",
          {good(7, 15), strange(revoked(6, 15, -1, 6))},
          100,
          10,
          kGood},
         false,
         false},
        {{"a hold out of date",
          {good(5, 15), strange(revoked(6, 8, -1, 6))},
          100,
          10,
          kUnknown,
          kTooOld},
         true,
         false},
        {{"their own hold lifted",
          {strange(revoked(5, 15, -1, 6)), strange(good(6, 15))},
          100,
          10,
          kGood},
         false,
         true},
        {{"another's hold lifted",
          {revoked(5, 15, -1, 6), strange(good(6, 15))},
          100,
          10,
          kUnknown,
          kTooOld},
         true,
         false},
        {{"a stranger's hold lifted by another",
          {strange(revoked(5, 15, -1, 6)), strange(good(6, 15), 2)},
          100,
          10,
          kUnknown,
          kTooOld},
         true,
         false},
        {{"and an older word of others",
          {good(4, 15), strange(revoked(5, 15, -1, 6)), strange(good(6, 15), 2)},
          100,
          10,
          kUnknown,
          kTooOld},
         true,
         false},
        {{"and a newer word of others",
          {strange(revoked(5, 15, -1, 6)), strange(good(6, 15), 2), good(7, 15)},
          100,
          10,
          kGood},
         false,
         false},
        {{"another's newer word, and his own",
          {strange(revoked(5, 15, -1, 6), 2), strange(good(7, 15)), strange(good(6, 15), 2)},
          100,
          10,
          kGood},
         false,
         true},
        {{"lifted by another key at the certificate's own address",
          {revoked(5, 15, -1, 6), by(1, good(6, 15))},
          100,
          10,
          kUnknown,
          kTooOld},
         true,
         false},
        {{"told there by another key, and lifted by the issuer's",
          {by(1, revoked(5, 15, -1, 6)), good(6, 15)},
          100,
          10,
          kGood},
         false,
         false},
        {{"told by both",
          {revoked(5, 15, -1, 6), strange(revoked(6, 15, -1, 6))},
          100,
          10,
          kRevoked},
         false,
         false},
    };
    for (const auto& c : cases) {
        for (const bool is_signer : {true, false}) {
            expect_ruling(c.of, is_signer);
            const Ruling ruling =
                rule(c.of.statements, {kStamp, at(c.of.end), at(c.of.now), is_signer});
            SCOPED_TRACE(c.of.name);
            EXPECT_EQ(ruling.is_hold_in_doubt, c.is_hold_in_doubt);
            EXPECT_EQ(ruling.takes_strange, c.takes_strange);
        }
    }
}

TEST(RuleTest, GoodTakesAllReasons) {
    constexpr ReasonSet kSome = 0x01E;
    constexpr ReasonSet kOthers = kAllReasons & ~kSome;
    const Case cases[] = {
        {"some", {for_reasons(good(5, 15), kSome)}, 100, 10, kUnknown, UnknownCause::not_covered},
        {"all by two",
         {for_reasons(good(5, 15), kSome), for_reasons(good(4, 15), kOthers)},
         100,
         10,
         kGood},
        {"the second out of date",
         {for_reasons(good(5, 15), kSome), for_reasons(good(4, 5), kOthers)},
         100,
         10,
         kUnknown,
         UnknownCause::not_covered},
        {"revoked for one of them",
         {for_reasons(good(5, 15), kSome), for_reasons(revoked(4, 15, -3, 4), kOthers)},
         100,
         10,
         kRevoked},
    };
    for (const Case& c : cases) {
        expect_ruling(c, true);
        expect_ruling(c, false);
    }
    const Statement two[] = {for_reasons(good(5, 15), kSome), for_reasons(good(4, 15), kOthers),
                             for_reasons(good(3, 15), kOthers)};
    EXPECT_EQ(rule(two, {kStamp, at(100), at(10), true}).deciding,
              (std::vector<std::size_t>{0, 1}));
}

} // namespace
} // namespace basalt
