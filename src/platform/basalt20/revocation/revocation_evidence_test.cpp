#include "basalt20/revocation/revocation_evidence.h"

#include <gtest/gtest.h>

namespace basalt {
namespace {

constexpr FileTicks kHour = FileTicks{3600} * kTicksPerSecond;
constexpr FileTicks kStamp = 1000 * kHour;

RevocationEvidence statement(FileTicks from, std::optional<FileTicks> until) {
    RevocationEvidence e;
    e.this_update = from;
    e.next_update = until;
    return e;
}

RevocationEvidence revoked(FileTicks at, std::optional<int> reason) {
    RevocationEvidence e = statement(kStamp + 10 * kHour, kStamp + 20 * kHour);
    e.revoked = true;
    e.revoked_at = at;
    e.reason = reason;
    return e;
}

TEST(RevocationEvidenceTest, AStatementCoversItsOwnTimeAndTheTimeBefore) {
    EXPECT_TRUE(statement(kStamp - kHour, kStamp + kHour).covers(kStamp));
    EXPECT_TRUE(statement(kStamp + kHour, kStamp + 2 * kHour).covers(kStamp)) << "made later";
    EXPECT_FALSE(statement(kStamp - 2 * kHour, kStamp - kHour).covers(kStamp)) << "past its time";
    EXPECT_TRUE(statement(kStamp - kHour, std::nullopt).covers(kStamp));
    EXPECT_FALSE(statement(kStamp - 25 * kHour, std::nullopt).covers(kStamp)) << "undated and old";
}

TEST(RevocationEvidenceTest, VerdictFollowsDateAndReason) {
    constexpr FileTicks kBefore = kStamp - kHour;
    constexpr FileTicks kAfter = kStamp + kHour;
    const struct {
        const char* name;
        FileTicks at;
        std::optional<int> reason;
        bool signer;
        RevocationStatus expected;
    } cases[] = {
        {"before, superseded", kBefore, 4, true, RevocationStatus::revoked},
        {"at the very moment", kStamp, 4, true, RevocationStatus::revoked},
        {"after, unspecified", kAfter, 0, true, RevocationStatus::good},
        {"after, affiliation changed", kAfter, 3, true, RevocationStatus::good},
        {"after, superseded", kAfter, 4, true, RevocationStatus::good},
        {"after, cessation", kAfter, 5, true, RevocationStatus::good},
        {"after, key compromise", kAfter, 1, true, RevocationStatus::revoked},
        {"after, CA compromise", kAfter, 2, false, RevocationStatus::revoked},
        {"after, AA compromise", kAfter, 10, true, RevocationStatus::revoked},
        {"after, no reason, signer", kAfter, std::nullopt, true, RevocationStatus::revoked},
        {"after, no reason, CA", kAfter, std::nullopt, false, RevocationStatus::good},
        {"after, hold, signer", kAfter, 6, true, RevocationStatus::revoked},
        {"after, hold, CA", kAfter, 6, false, RevocationStatus::good},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        RevocationFindings findings;
        findings.evidence = {revoked(c.at, c.reason)};
        EXPECT_EQ(findings.status_at(kStamp, c.signer), c.expected);
    }
}

TEST(RevocationEvidenceTest, ARevocationOutlivesItsStatementAndAHoldDoesNot) {
    RevocationEvidence old = statement(kStamp - 20 * kHour, kStamp - 10 * kHour);
    old.revoked = true;
    old.revoked_at = kStamp - 30 * kHour;
    RevocationFindings findings;
    findings.source_named = true;
    findings.evidence = {old};
    EXPECT_EQ(findings.status_at(kStamp, true), RevocationStatus::revoked);
    findings.evidence[0].reason = 6;
    EXPECT_EQ(findings.status_at(kStamp, true), RevocationStatus::offline);
}

TEST(RevocationEvidenceTest, WithoutStatementOnlyANamedSourceCounts) {
    RevocationFindings findings;
    EXPECT_EQ(findings.status_at(kStamp, true), RevocationStatus::no_source);
    findings.source_named = true;
    EXPECT_EQ(findings.status_at(kStamp, true), RevocationStatus::offline);
    findings.evidence = {statement(kStamp - 2 * kHour, kStamp - kHour)};
    EXPECT_EQ(findings.status_at(kStamp, true), RevocationStatus::offline);
    findings.evidence.push_back(statement(kStamp - kHour, kStamp + kHour));
    EXPECT_EQ(findings.status_at(kStamp, true), RevocationStatus::good);
}

} // namespace
} // namespace basalt
