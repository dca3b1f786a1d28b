// Extending stamps, what it leaves untouched, and how long what was put in speaks.
#include <algorithm>

#include <chronoseal/seal/outlook.h>
#include <chronoseal/seal/signed_data_parts.h>
#include <chronoseal/seal/testing/seal_fixture.h>
#include <chronoseal/seal/testing/status_statements.h>

namespace chronoseal::testing {
namespace {

using tsp::Signing;
using tsp::TstInfo;

Time day(int year, unsigned month, unsigned day_of_month) {
    return std::chrono::sys_days(std::chrono::year_month_day{
        std::chrono::year(year), std::chrono::month(month), std::chrono::day(day_of_month)});
}

bool contains(ByteView whole, const Bytes& part) {
    return std::search(whole.begin(), whole.end(), part.begin(), part.end()) != whole.end();
}

// The stamps are of 2024-06-01, the signer's certificate ends with 2029-12-31; lists come by HTTP.
class ExtensionTest : public SealTest {
protected:
    ExtensionTest()
        : server([this](const std::string&) { return http_reply(200, served); }),
          authority("20200101000000Z", "20291231000000Z", utf8(server.url()) + "x.crl") {
        ::setenv("XDG_CACHE_HOME", (folder.path() / "cache").c_str(), 1);
    }

    std::string list(const char* from, const char* to) const {
        return list_by(authority, "", -1, from, to);
    }
    Trust as_of(Time time, bool offline = false) const {
        return {.roots = {to_bytes(authority.root_der())},
                .revocation = Revocation::require,
                .as_of = time,
                .offline = offline};
    }
    Stamp stamp(const Signing& signing = {}) const {
        return Stamp::read(to_bytes(authority.token(TstInfo(), signing)));
    }
    Verdict verify(const Stamp& one, Time time) const {
        return Verifier(as_of(time, true)).verify(one, bytes_of("data"));
    }

    std::string served;
    LoopbackServer server;
    tsp::Authority authority;
};

TEST_F(ExtensionTest, AnExtendedStampNeedsNothingElseAndKeepsEveryOctetThatWasSigned) {
    served = list("20240602000000Z", "20240609000000Z");
    const Stamp before = stamp();
    const Extension extension = extend(before, as_of(day(2024, 6, 3)));
    EXPECT_EQ(extension.certificates, 1U); // the root
    EXPECT_EQ(extension.revocation_lists, 1U);
    EXPECT_EQ(extension.ocsp_answers, 0U);
    EXPECT_TRUE(extension.remarks.empty());
    EXPECT_TRUE(extension.verdict.good());
    EXPECT_TRUE(extension.verdict.stamp.token) << "a verdict holds what it is about";
    const Bytes& token = extension.stamp.token();
    EXPECT_TRUE(contains(token, to_bytes(served)));
    EXPECT_TRUE(contains(token, to_bytes(authority.root_der())));
    const SignedDataParts old_parts(before.token());
    for (const ByteView certificate : old_parts.certificates()) {
        EXPECT_TRUE(contains(token, Bytes(certificate.begin(), certificate.end())));
    }
    EXPECT_EQ(extension.stamp.info().token->signature.value, before.info().token->signature.value);

    const std::size_t asked = server.requests().size();
    EXPECT_EQ(asked, 1U);
    EXPECT_TRUE(verify(extension.stamp, day(2024, 6, 3)).good());
    const Extension again = extend(extension.stamp, as_of(day(2024, 6, 3), true));
    EXPECT_FALSE(again.changed());
    EXPECT_EQ(again.stamp.token(), token);
    EXPECT_EQ(server.requests().size(), asked);
}

// A list about a responder that is older than its answer tells nothing of later.
TEST(OutlookTest, WhatSpeaksForASignerHasToSpeakAsWell) {
    const struct {
        Time made, next;
        std::optional<Time> until, again;
    } rows[] = {
        {day(2024, 6, 2), day(2024, 7, 1), day(2024, 6, 9), day(2029, 12, 31)},
        {day(2024, 6, 3), day(2024, 6, 5), day(2024, 6, 5), day(2029, 12, 31)},
        {day(2024, 6, 1), day(2024, 7, 1), day(2024, 6, 9), {}},
        {day(2024, 6, 1), day(2024, 6, 5), day(2024, 6, 5), {}},
        // It has run out, and isn't needed any more.
        {day(2024, 6, 1), day(2024, 6, 3), day(2024, 6, 9), day(2029, 12, 31)},
    };
    for (const auto& row : rows) {
        Verdict verdict;
        verdict.judged_at = day(2024, 6, 1);
        verdict.as_of = day(2024, 6, 4);
        ChainLink& link = verdict.chain.emplace_back();
        link.certificate.not_after = day(2029, 12, 31) - std::chrono::seconds(1);
        link.revocation = RevocationState::good;
        link.evidence.resize(2);
        link.evidence[0].this_update = day(2024, 6, 2);
        link.evidence[0].next_update = day(2024, 6, 9);
        link.evidence[1].this_update = row.made;
        link.evidence[1].next_update = row.next;
        const Outlook outlook = outlook_of(verdict, {});
        EXPECT_EQ(outlook.evidence_until, row.until);
        EXPECT_EQ(outlook.evidence_again, row.again);
    }
}

// Made after the stamp, evidence speaks until its next update, and again once the certificate has
// ended; made before it, never again.
TEST_F(ExtensionTest, EvidenceSpeaksOfItsOwnTime) {
    served = list("20240602000000Z", "20240609000000Z");
    const Stamp later = extend(stamp(), as_of(day(2024, 6, 3))).stamp;
    served = list("20240530000000Z", "20240608000000Z");
    std::filesystem::remove_all(folder.path() / "cache");
    const Extension early = extend(stamp(), as_of(day(2024, 6, 3)));
    ASSERT_EQ(early.remarks.size(), 1U);
    EXPECT_EQ(early.remarks[0].word, "evidence_early");
    EXPECT_NE(early.remarks[0].text.find("after 2024-06-08T00:00:00Z"), std::string::npos);
    struct Row {
        const char* name;
        const Stamp& stamp;
        Time as_of;
        bool good;
        EvidenceStrength strength;
        std::optional<Time> until, again;
    };
    const Time end = day(2029, 12, 31) + std::chrono::seconds(1);
    const Row rows[] = {
        {"in its time", later, day(2024, 6, 8), true, EvidenceStrength::fresh, day(2024, 6, 9),
         end},
        {"in the gap", later, day(2025, 1, 1), false, EvidenceStrength::fresh, day(2024, 6, 9),
         end},
        {"afterwards", later, day(2034, 1, 1), true, EvidenceStrength::aged, {}, {}},
        {"early, in its time",
         early.stamp,
         day(2024, 6, 7),
         true,
         EvidenceStrength::fresh,
         day(2024, 6, 8),
         {}},
        {"early, afterwards",
         early.stamp,
         day(2034, 1, 1),
         false,
         EvidenceStrength::aged,
         day(2024, 6, 8),
         {}},
    };
    for (const Row& row : rows) {
        const Verdict verdict = verify(row.stamp, row.as_of);
        EXPECT_EQ(verdict.good(), row.good) << row.name;
        EXPECT_EQ(verdict.indeterminate(), !row.good) << row.name;
        EXPECT_EQ(verdict.outlook.strength, row.strength) << row.name;
        EXPECT_EQ(verdict.outlook.evidence_until, row.until) << row.name;
        EXPECT_EQ(verdict.outlook.evidence_again, row.again) << row.name;
        EXPECT_TRUE(verdict.outlook.evidence_stored) << row.name;
        if (!row.good && row.until) {
            EXPECT_NE(verdict.deciding().text.find(utc_text(*row.until)), std::string::npos)
                << row.name << ": " << verdict.deciding().text;
        }
    }
    const Verdict refused = verify(early.stamp, day(2034, 1, 1));
    EXPECT_NE(refused.deciding().advice.find("extend"), std::string::npos);
}

// An answer tells when it was made, which OpenSSL writes itself: so these are of the present.
TEST_F(ExtensionTest, AnswersGoIntoTheAttributeOnceAndOldOnesStay) {
    const tsp::Authority plain;
    const auto hours_from_now = [](int hours) {
        return generalized(std::chrono::system_clock::now() + std::chrono::hours(hours));
    };
    const auto answer = [&](int from) {
        return to_bytes(status_answer_by(plain, "", -1, hours_from_now(from).c_str(),
                                         hours_from_now(from + 48).c_str()));
    };
    Trust trust{.roots = {to_bytes(plain.root_der())}, .evidence = {answer(-2)}, .offline = true};
    const Extension one = extend(Stamp::read(to_bytes(plain.token())), trust);
    EXPECT_EQ(one.ocsp_answers, 1U);
    EXPECT_EQ(one.revocation_lists, 0U);
    EXPECT_FALSE(extend(one.stamp, trust).changed());
    trust.evidence = {answer(-1)};
    const Extension two = extend(one.stamp, trust);
    EXPECT_EQ(two.ocsp_answers, 1U);
    const SignedDataParts parts(two.stamp.token());
    EXPECT_EQ(parts.unsigned_attributes(0).size(), 1U);
    trust.evidence = {};
    const Verdict verdict = Verifier(trust).verify(two.stamp, bytes_of("data"));
    ASSERT_TRUE(verdict.good());
    EXPECT_EQ(verdict.chain[0].evidence.size(), 1U);
}

TEST_F(ExtensionTest, AResponseStaysOne) {
    served = list("20240602000000Z", "20240609000000Z");
    const Stamp before = Stamp::read(to_bytes(tsp::response(0, authority.token())));
    const Stamp after = extend(before, as_of(day(2024, 6, 3))).stamp;
    ASSERT_FALSE(after.response().empty());
    EXPECT_EQ(after.info().status, before.info().status);
    EXPECT_TRUE(verify(after, day(2024, 6, 3)).good());
}

TEST_F(ExtensionTest, WhatCannotBeExtendedIsRefused) {
    served = list_by(authority, "20240501000000Z", 4, "20240602000000Z", "20240609000000Z");
    EXPECT_WORD("revoked", extend(stamp(), as_of(day(2024, 6, 3))));
    Trust off = as_of(day(2024, 6, 3));
    off.revocation = Revocation::off;
    EXPECT_WORD("revocation_off", extend(stamp(), off));
    EXPECT_WORD("no_token",
                extend(Stamp::read(to_bytes(tsp::response(2, ""))), as_of(day(2024, 6, 3))));
    served = "no list";
    std::filesystem::remove_all(folder.path() / "cache");
    EXPECT_WORD("revocation_offline", extend(stamp(), as_of(day(2024, 6, 3))));
}

// What is too old to count isn't worth keeping, even where the mode lets the stamp pass.
TEST_F(ExtensionTest, StaleEvidenceIsNotPutIn) {
    served = list("20240501000000Z", "20240508000000Z");
    Trust trust = as_of(day(2024, 6, 3));
    trust.revocation = Revocation::available;
    const Extension extension = extend(stamp(), trust);
    EXPECT_EQ(extension.certificates, 1U);
    EXPECT_EQ(extension.revocation_lists, 0U);
    ASSERT_EQ(extension.remarks.size(), 1U);
    EXPECT_EQ(extension.remarks[0].word, "no_evidence");
}

// An attribute revocationValues that can't be read can't be added to.
TEST_F(ExtensionTest, ValuesThatMeanNothingAreNotWrittenOver) {
    SignedDataParts parts(stamp().token());
    parts.add_unsigned_attribute(0, "1.2.840.113549.1.9.16.2.24",
                                 to_bytes(tsp::element(0x04, "junk")));
    served = list("20240602000000Z", "20240609000000Z");
    EXPECT_WORD("malformed", extend(Stamp::read(parts.encode()), as_of(day(2024, 6, 3))));
}

// Indefinite lengths become definite, and nothing else changes.
TEST_F(ExtensionTest, AStampInBerIsExtended) {
    const std::string der = authority.token();
    const std::string outer = der.substr(4); // OID and content
    ASSERT_EQ(static_cast<unsigned char>(der[1]), 0x82U);
    const std::string ber = std::string("\x30\x80", 2) + outer + std::string(2, '\0');
    served = list("20240602000000Z", "20240609000000Z");
    const Extension extension = extend(Stamp::read(to_bytes(ber)), as_of(day(2024, 6, 3)));
    EXPECT_EQ(extension.stamp.token(),
              extend(Stamp::read(to_bytes(der)), as_of(day(2024, 6, 3))).stamp.token());
}

TEST_F(ExtensionTest, AgeAndSunsetAreRemarkedAndTold) {
    const tsp::Authority plain("20200101000000Z", "20291231000000Z"); // names no source
    Trust trust{.roots = {to_bytes(plain.root_der())}, .as_of = day(2026, 1, 1)};
    const auto verdict = [&](const Signing& signing) {
        return Verifier(trust).verify(Stamp::read(to_bytes(plain.token(TstInfo(), signing))),
                                      bytes_of("data"));
    };
    const auto remarked = [](const Verdict& one, std::string_view word) {
        return std::ranges::count_if(one.findings, [&](const Finding& finding) {
            return std::ranges::count(finding.remarks, word, &Remark::word) != 0;
        });
    };
    const Verdict fresh = verdict({});
    EXPECT_EQ(fresh.outlook.renew_before, day(2029, 12, 31));
    EXPECT_EQ(remarked(fresh, "aged") + remarked(fresh, "algorithm_sunset"), 0);
    const Signing sha1{.digest = EVP_sha1()};
    EXPECT_EQ(remarked(verdict(sha1), "algorithm_sunset"), 1);
    EXPECT_EQ(verdict(sha1).outlook.renew_before, day(2012, 8, 1));
    tsp::Configuration::instance().set("", "[config.chronoseal.sunset]\nSHA-1 = \"2027-03-04\"\n");
    EXPECT_EQ(verdict(sha1).outlook.renew_before, day(2027, 3, 4));
    EXPECT_EQ(remarked(verdict(sha1), "algorithm_sunset"), 0);
    tsp::Configuration::instance().set("", "[config.chronoseal.sunset]\nSHA-1 = \"never\"\n");
    EXPECT_EQ(verdict(sha1).outlook.renew_before, day(2029, 12, 31));
    tsp::Configuration::instance().set("", "[config.chronoseal.sunset]\nSHA-1 = \"soon\"\n");
    EXPECT_EQ(verdict(sha1).outlook.renew_before, day(2012, 8, 1));
    trust.as_of = day(2036, 1, 1);
    const Verdict aged = verdict({});
    EXPECT_TRUE(aged.good());
    EXPECT_EQ(aged.outlook.strength, EvidenceStrength::aged);
    EXPECT_EQ(aged.outlook.aged_since, day(2029, 12, 31));
    EXPECT_EQ(remarked(aged, "aged"), 1);
}

} // namespace
} // namespace chronoseal::testing
