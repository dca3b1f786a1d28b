// Time and source: what lies where, made when, asked when, to a standing, the requests that it took
// and the time on the responder's clock.
#include <basalt/revocation/live_responder.h>
#include <basalt/revocation/status_check.h>
#include <basalt/revocation/test_authority.h>
#include <basalt/store/certificate_reference.h>

#include <gtest/gtest.h>

#include <fstream>

namespace basalt::test {
namespace {

enum class Where { given, cache, responder, list, second_list };

enum class Fault { none, forged, silent, missing, garbage, slow, trailing };

struct Content {
    EvidenceKind kind;
    int made;
    int next;
    int since = kNever; // revoked since then
    int reason = -1;
    int reaches = kNever;
    bool unknown = false; // an answer that knows nothing
    Fault fault = Fault::none;
};

struct Source {
    Where where;
    Content content;
};

constexpr Content list(int made, int next) {
    return {EvidenceKind::crl, made, next};
}
constexpr Content answer(int made, int next) {
    return {EvidenceKind::ocsp, made, next};
}
constexpr Content revoked(Content c, int since, int reason = -1) {
    c.since = since;
    c.reason = reason;
    return c;
}
constexpr Content reaching(Content c, int hours) {
    c.reaches = hours;
    return c;
}
constexpr Content unknowing(Content c) {
    c.unknown = true;
    return c;
}
constexpr Content with(Fault fault, Content c) {
    c.fault = fault;
    return c;
}

constexpr Source given(Content c) {
    return {Where::given, c};
}
constexpr Source cached(Content c) {
    return {Where::cache, c};
}
// Where the certificate says that it is.
constexpr Source at_its_place(Content c) {
    return {c.kind == EvidenceKind::ocsp ? Where::responder : Where::list, c};
}
constexpr Source at_second_place(Content c) {
    return {Where::second_list, c};
}

struct Scenario {
    const char* name;
    int end; // of the certificate
    int now;
    std::vector<Source> sources;
    Standing expected;
    UnknownCause cause;
    std::size_t requests;
    int seconds;
    bool fetch;
};

Scenario row(const char* name, int end, int now, std::vector<Source> sources, Standing expected,
             UnknownCause cause, std::size_t requests, int seconds = 0, bool fetch = true) {
    return {name, end, now, std::move(sources), expected, cause, requests, seconds, fetch};
}

constexpr int kSlowSeconds = 8;
constexpr int kSilentSeconds = 5;

class StatusScenarios : public testing::Test {
protected:
    StatusScenarios() {
        root_ = make_party({.name = "root", .extensions = kAuthority});
        impostor_ = make_party({.name = "root", .extensions = kAuthority});
    }

    void make_leaf(int end) {
        leaf_ =
            make_party({.name = "stamps",
                        .issuer = root_.get(),
                        .extensions = "authorityInfoAccess=OCSP;URI:" + responder_.url("/ocsp") +
                                      "\ncrlDistributionPoints=URI:" + responder_.url("/list") +
                                      ",URI:" + responder_.url("/second"),
                        .end = end});
    }

    std::string make(const Content& c) const {
        const Party* signer = c.fault == Fault::forged ? impostor_.get() : root_.get();
        if (c.fault == Fault::garbage) {
            return "no list at all";
        }
        const std::string behind = c.fault == Fault::trailing ? "!" : "";
        if (c.kind == EvidenceKind::crl) {
            ListSpec spec{.signer = signer, .made = c.made, .next = c.next, .reaches = c.reaches};
            if (c.since != kNever) {
                spec.entries.push_back(
                    {leaf_.get(), c.since,
                     c.reason >= 0 ? std::optional<int>(c.reason) : std::nullopt});
            }
            return make_list(spec) + behind;
        }
        AnswerEntry entry{.certificate = leaf_.get(),
                          .issuer = root_.get(),
                          .made = c.made,
                          .next = c.next,
                          .reaches = c.reaches};
        if (c.unknown) {
            entry.status = V_OCSP_CERTSTATUS_UNKNOWN;
        } else if (c.since != kNever) {
            entry.status = V_OCSP_CERTSTATUS_REVOKED;
            entry.since = c.since;
            entry.reason = c.reason;
        }
        return make_answer({.signer = signer, .entries = {entry}, .behind = behind});
    }

    void publish(const std::string& path, const Content& c) {
        Served served{make(c)};
        served.seconds = c.fault == Fault::slow     ? kSlowSeconds
                         : c.fault == Fault::silent ? kSilentSeconds
                                                    : 0;
        served.broken = c.fault == Fault::silent;
        served.status = c.fault == Fault::missing ? 404 : 200;
        responder_.serve(path, served);
    }

    StatusFinding judge(const std::vector<HCERTSTORE>& stores, int now, bool fetch,
                        const BudgetLimits& limits = {}) {
        Budget budget(limits, responder_.clock());
        Retrieval retrieval(budget);
        FewPaths paths;
        StatusCheck check(budget, retrieval, paths, {}, stores);
        const CertificatePath path{leaf_->entry, root_->entry};
        StatusQuestion question;
        question.stamp_time = ticks_at(0);
        question.now = ticks_at(now);
        question.is_signer = true;
        question.may_fetch = fetch;
        return check.judge(path, 0, question);
    }

    // Has it fetched at the time it was made, and takes it off the network again.
    void fill_cache(const Content& c) {
        const std::string path = c.kind == EvidenceKind::ocsp ? "/ocsp" : "/list";
        publish(path, c);
        judge({}, c.made, true);
        responder_.serve(path, {"", 404});
    }

    StatusFinding run(const Scenario& scenario) {
        make_leaf(scenario.end);
        const StoreReference store(CertOpenStore(CERT_STORE_PROV_MEMORY, 0, 0, 0, nullptr));
        for (const Source& source : scenario.sources) {
            if (source.where == Where::cache) {
                fill_cache(source.content);
            }
        }
        for (const Source& source : scenario.sources) {
            const std::string bytes = make(source.content);
            switch (source.where) {
            case Where::given:
                add(store.get(), source.content.kind, bytes);
                break;
            case Where::responder:
                publish("/ocsp", source.content);
                break;
            case Where::list:
                publish("/list", source.content);
                break;
            case Where::second_list:
                publish("/second", source.content);
                break;
            case Where::cache:
                break;
            }
        }
        const std::size_t before = responder_.requests();
        const int clock = responder_.seconds();
        StatusFinding finding = judge({store.get()}, scenario.now, scenario.fetch);
        requests_ = responder_.requests() - before;
        seconds_ = responder_.seconds() - clock;
        return finding;
    }

    static void add(HCERTSTORE store, EvidenceKind kind, const std::string& bytes) {
        const auto* data = reinterpret_cast<const BYTE*>(bytes.data());
        const auto size = static_cast<DWORD>(bytes.size());
        if (kind == EvidenceKind::crl) {
            CertAddEncodedCRLToStore(store, X509_ASN_ENCODING, data, size, CERT_STORE_ADD_ALWAYS,
                                     nullptr);
        } else {
            BasaltAddOcspResponseToStore(store, data, size);
        }
    }

    LiveResponder responder_;
    std::unique_ptr<Party> root_;
    std::unique_ptr<Party> impostor_;
    std::unique_ptr<Party> leaf_;
    std::size_t requests_ = 0;
    int seconds_ = 0;
};

constexpr Standing kGood = Standing::good;
constexpr Standing kRevoked = Standing::revoked;
constexpr Standing kUnknown = Standing::unknown;
constexpr UnknownCause kNone = UnknownCause::none;
constexpr UnknownCause kUnreachable = UnknownCause::unreachable;
constexpr UnknownCause kTooOld = UnknownCause::too_old;
constexpr int kEnd = 1000;   // of a certificate that is valid still
constexpr int kEnded = 50;   // of one that has ended
constexpr int kLater = 2000; // when that one is asked about
constexpr int kNow = 100;

const Scenario kScenarios[] = {
    // One source.
    row("given list", kEnd, kNow, {given(list(90, 110))}, kGood, kNone, 0),
    row("given answer", kEnd, kNow, {given(answer(90, 110))}, kGood, kNone, 0),
    row("fetched answer", kEnd, kNow, {at_its_place(answer(99, 110))}, kGood, kNone, 1),
    row("fetched list", kEnd, kNow, {at_its_place(list(90, 110))}, kGood, kNone, 2),
    row("list at the second place", kEnd, kNow, {at_second_place(list(90, 110))}, kGood, kNone, 3),
    row("nothing anywhere", kEnd, kNow, {}, kUnknown, kUnreachable, 3),
    row("nothing may be fetched", kEnd, kNow,
        {at_its_place(list(90, 110)), at_its_place(answer(99, 110))}, kUnknown, kUnreachable, 0, 0,
        false),
    row("cached list", kEnd, kNow, {cached(list(90, 110))}, kGood, kNone, 0),
    row("cached answer", kEnd, kNow, {cached(answer(90, 110))}, kGood, kNone, 0),
    row("cached list, nothing may be fetched", kEnd, kNow, {cached(list(90, 110))}, kGood, kNone, 0,
        0, false),
    // What doesn't cover is asked for again elsewhere.
    row("given list has run out, fetched one is fresh", kEnd, kNow,
        {given(list(-10, 10)), at_its_place(list(90, 110))}, kGood, kNone, 2),
    row("cached list has run out, fetched one is fresh", kEnd, kNow,
        {cached(list(-10, 10)), at_its_place(list(90, 110))}, kGood, kNone, 2),
    row("cached answer has run out, fetched one is fresh", kEnd, kNow,
        {cached(answer(-10, 10)), at_its_place(answer(99, 101))}, kGood, kNone, 1),
    row("all have run out", kEnd, kNow,
        {given(list(-10, 10)), at_its_place(answer(5, 9)), at_its_place(list(1, 20))}, kUnknown,
        kTooOld, 3),
    row("in force at the stamp alone", kEnd, kNow, {given(list(-10, 10)), given(answer(-1, 1))},
        kUnknown, kTooOld, 3),
    row("of the future", kEnd, kNow, {given(list(101, 200))}, kUnknown, kTooOld, 3),
    row("next before made", kEnd, kNow, {given(list(99, 98))}, kUnknown, kTooOld, 3),
    row("undated answer of today", kEnd, kNow, {given(answer(80, kNever))}, kGood, kNone, 0),
    row("undated answer of before", kEnd, kNow, {given(answer(70, kNever))}, kUnknown, kTooOld, 3),
    row("answer has run out, list is fresh", kEnd, kNow,
        {at_its_place(answer(0, 50)), at_its_place(list(90, 110))}, kGood, kNone, 2),
    row("authentic unknown, then the list", kEnd, kNow,
        {at_its_place(unknowing(answer(99, 110))), at_its_place(list(90, 110))}, kGood, kNone, 2),
    row("authentic unknown alone", kEnd, kNow, {at_its_place(unknowing(answer(99, 110)))}, kUnknown,
        kUnreachable, 3),
    row("asked as of a time that has been", kEnd, 10, {given(list(5, 15))}, kGood, kNone, 0),
    // What isn't authentic doesn't count, wherever it lies.
    row("forged list given, true one fetched", kEnd, kNow,
        {given(with(Fault::forged, list(90, 110))), at_its_place(revoked(list(90, 110), -5, 1))},
        kRevoked, kNone, 2),
    row("forged answer, true list", kEnd, kNow,
        {at_its_place(with(Fault::forged, answer(99, 110))),
         at_its_place(revoked(list(90, 110), -5))},
        kRevoked, kNone, 2),
    row("forged revocation", kEnd, kNow,
        {given(with(Fault::forged, revoked(list(90, 110), -5, 1))), at_its_place(answer(99, 110))},
        kGood, kNone, 1),
    row("forged everywhere", kEnd, kNow,
        {at_its_place(with(Fault::forged, answer(99, 110))),
         at_its_place(with(Fault::forged, list(90, 110)))},
        kUnknown, kUnreachable, 3),
    row("bytes behind the answer", kEnd, kNow,
        {at_its_place(with(Fault::trailing, answer(99, 110)))}, kUnknown, kUnreachable, 3),
    row("garbage, then a true list", kEnd, kNow,
        {at_its_place(with(Fault::garbage, answer(99, 110))), at_its_place(list(90, 110))}, kGood,
        kNone, 2),
    // Revoked, however old.
    row("revoked in a list that has run out, a fresh good one beside it", kEnd, kNow,
        {given(revoked(list(-10, 10), -20, 4)), given(list(90, 110))}, kRevoked, kNone, 0),
    row("revoked in the cache long ago", kEnd, kNow,
        {cached(revoked(list(2, 5), 1, 1)), at_its_place(list(90, 110))}, kRevoked, kNone, 0),
    row("a stolen key, told after the stamp", kEnd, kNow, {given(revoked(list(90, 110), 50, 1))},
        kRevoked, kNone, 0),
    row("revoked after the stamp, no reason told", kEnd, kNow, {given(revoked(list(90, 110), 50))},
        kRevoked, kNone, 0),
    row("ceased after the stamp", kEnd, kNow, {given(revoked(list(90, 110), 50, 5))}, kGood, kNone,
        0),
    row("ceased after the stamp, an old list: a fresh one could tell more", kEnd, kNow,
        {given(revoked(list(55, 60), 50, 5)), at_its_place(revoked(answer(99, 110), 50, 1))},
        kRevoked, kNone, 1),
    row("ceased before the stamp", kEnd, kNow, {at_its_place(revoked(answer(99, 110), -50, 5))},
        kRevoked, kNone, 1),
    row("on hold, lifted by a newer answer", kEnd, kNow,
        {given(revoked(list(90, 110), -5, 6)), given(answer(95, 110))}, kGood, kNone, 0),
    row("on hold since the list", kEnd, kNow,
        {given(list(90, 110)), given(revoked(answer(95, 110), -5, 6))}, kRevoked, kNone, 3),
    row("on hold, lifted since as the responder tells", kEnd, kNow,
        {given(revoked(list(90, 110), -5, 6)), at_its_place(answer(99, 110))}, kGood, kNone, 1),
    row("on hold, and nobody tells otherwise", kEnd, kNow,
        {cached(revoked(list(90, 110), -5, 6)), at_its_place(with(Fault::forged, answer(99, 110)))},
        kRevoked, kNone, 3),
    row("revoked by what the cache has, whatever was given", kEnd, kNow,
        {given(list(90, 110)), cached(revoked(answer(95, 110), -5, 1))}, kRevoked, kNone, 0),
    // The certificate has ended.
    row("made in time", kEnded, kLater, {given(list(10, 20))}, kGood, kNone, 0),
    row("made in time, cached", kEnded, kLater, {cached(answer(10, 20))}, kGood, kNone, 0),
    row("made before the stamp", kEnded, kLater, {given(list(-1, 20))}, kUnknown, kTooOld, 3),
    row("made afterwards", kEnded, kLater,
        {at_its_place(list(1990, 2010)), at_its_place(answer(1999, 2010))}, kUnknown, kTooOld, 3),
    row("made afterwards, expired ones kept", kEnded, kLater,
        {at_its_place(reaching(list(1990, 2010), 0))}, kGood, kNone, 2),
    row("made afterwards, archive cut off in time", kEnded, kLater,
        {at_its_place(reaching(answer(1999, 2010), 50))}, kGood, kNone, 1),
    row("made afterwards, archive cut off too late", kEnded, kLater,
        {at_its_place(reaching(answer(1999, 2010), 51))}, kUnknown, kTooOld, 3),
    row("revoked, told afterwards", kEnded, kLater,
        {at_its_place(revoked(list(1990, 2010), 20, 1))}, kRevoked, kNone, 2),
    // Time.
    row("a slow answer, and it is in time", kEnd, kNow,
        {at_its_place(with(Fault::slow, answer(99, 110)))}, kGood, kNone, 1, 8),
    row("a silent responder, then the list", kEnd, kNow,
        {at_its_place(with(Fault::silent, answer(99, 110))), at_its_place(list(90, 110))}, kGood,
        kNone, 2, 5),
    row("two slow ones that are useless leave no time for the third", kEnd, kNow,
        {at_its_place(with(Fault::slow, answer(0, 1))), at_its_place(with(Fault::slow, list(0, 1))),
         at_second_place(list(90, 110))},
        kUnknown, kTooOld, 2, 16),
};

TEST_F(StatusScenarios, GiveTheStandingByTheRule) {
    EXPECT_EQ(std::size(kScenarios), 52u);
    for (const Scenario& scenario : kScenarios) {
        SCOPED_TRACE(scenario.name);
        responder_.forget();
        const StatusFinding finding = run(scenario);
        EXPECT_EQ(finding.standing, scenario.expected);
        EXPECT_EQ(finding.cause, scenario.cause);
        EXPECT_EQ(requests_, scenario.requests);
        EXPECT_EQ(seconds_, scenario.seconds);
        EXPECT_EQ(finding.not_heard, scenario.seconds >= 15 ||
                                         scenario.name == std::string("bytes behind the answer"));
        EXPECT_EQ(finding.evidence.empty(), finding.cause == kUnreachable);
    }
}

TEST_F(StatusScenarios, OnlyWhatIsAuthenticAndTellsSomethingIsCached) {
    const struct {
        const char* name;
        Content content;
        std::size_t files;
    } cases[] = {
        {"good list", list(90, 110), 1},
        {"good answer", answer(99, 110), 1},
        {"revoked", revoked(answer(99, 110), -5, 1), 2}, // and apart, for itself
        {"forged list", with(Fault::forged, list(90, 100'000)), 0},
        {"forged answer", with(Fault::forged, answer(90, 100'000)), 0},
        {"forged revocation", with(Fault::forged, revoked(list(90, 110), -5, 1)), 0},
        {"authentic unknown", unknowing(answer(99, 110)), 0},
        {"a list that has run out", list(0, 10), 0},
        {"garbage", with(Fault::garbage, list(90, 110)), 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        responder_.forget();
        run(row(c.name, kEnd, kNow, {at_its_place(c.content)}, kGood, kNone, 0));
        EXPECT_EQ(responder_.cached().size(), c.files);
    }
}

// What can't be verified may have a signer that isn't at hand now: it stays until there is a newer
// one.
TEST_F(StatusScenarios, WhatLiesInTheCacheIsVerifiedAndReplacedByWhatIsNewer) {
    make_leaf(kEnd);
    fill_cache(list(90, 110));
    ASSERT_EQ(responder_.cached().size(), 1u);
    const std::filesystem::path file = responder_.cached()[0];
    const struct {
        Content planted;
        bool is_dropped;
    } cases[] = {{with(Fault::forged, list(90, 100'000)), false},
                 {with(Fault::garbage, list(90, 110)), true}};
    for (const auto& c : cases) {
        const std::string bytes = make(c.planted);
        std::ofstream(file, std::ios::binary) << bytes;
        EXPECT_EQ(judge({}, kNow, false).standing, kUnknown);
        EXPECT_EQ(responder_.cached().empty(), c.is_dropped);
        publish("/list", list(90, 110));
        EXPECT_EQ(judge({}, kNow, true).standing, kGood);
        EXPECT_EQ(judge({}, kNow, false).standing, kGood);
        publish("/list", list(91, 110));
        EXPECT_EQ(judge({}, kNow, true).standing, kGood);
        responder_.serve("/list", {"", 404});
        EXPECT_EQ(judge({}, kNow, false).standing, kGood);
    }
}

TEST_F(StatusScenarios, AnOlderOneTakesNoPlaceInTheCache) {
    make_leaf(kEnd);
    publish("/list", revoked(list(80, 90), -5, 1)); // has run out, and revokes
    EXPECT_EQ(judge({}, kNow, true).standing, kRevoked);
    publish("/list", list(70, 110));
    EXPECT_EQ(judge({}, kNow, true).standing, kRevoked);
    EXPECT_EQ(judge({}, kNow, false).standing, kRevoked) << "it is still there";
}

TEST_F(StatusScenarios, NoSourceIsAskedAgainInTheSameVerdict) {
    make_leaf(kEnd);
    publish("/ocsp", unknowing(answer(99, 110)));
    publish("/list", list(0, 10));
    Budget budget({}, responder_.clock());
    Retrieval retrieval(budget);
    FewPaths paths;
    StatusCheck check(budget, retrieval, paths, {}, {});
    const CertificatePath path{leaf_->entry, root_->entry};
    StatusQuestion question;
    question.now = ticks_at(kNow);
    question.may_fetch = true;
    for (const int stamp : {0, 1, 2}) {
        question.stamp_time = ticks_at(stamp);
        EXPECT_EQ(check.judge(path, 0, question).standing, kUnknown);
    }
    EXPECT_EQ(responder_.requests(), 3u);
    EXPECT_EQ(retrieval.exchanges(), 3u);
}

TEST_F(StatusScenarios, WhatIsMoreThanMayBeKeptIsNotHeard) {
    make_leaf(kEnd);
    const std::string content = make(revoked(list(90, 110), -5, 1));
    responder_.serve("/list", {content});
    BudgetLimits limits;
    limits.fetched_octets = content.size() - 1;
    const StatusFinding finding = judge({}, kNow, true, limits);
    EXPECT_EQ(finding.standing, kUnknown);
    EXPECT_TRUE(finding.not_heard);
    EXPECT_TRUE(responder_.cached().empty());
    ++limits.fetched_octets;
    EXPECT_EQ(judge({}, kNow, true, limits).standing, kRevoked);
}

TEST_F(StatusScenarios, ModesTellWhatPasses) {
    StatusFinding finding;
    const auto passing = [&](Standing standing, UnknownCause cause) {
        finding.standing = standing;
        finding.cause = cause;
        std::string modes;
        for (const RevocationMode mode :
             {RevocationMode::require, RevocationMode::available, RevocationMode::off}) {
            modes += passes(finding, mode) ? '+' : '-';
        }
        return modes;
    };
    EXPECT_EQ(passing(kGood, kNone), "+++");
    EXPECT_EQ(passing(kRevoked, kNone), "--+");
    EXPECT_EQ(passing(kUnknown, UnknownCause::no_source), "+++");
    EXPECT_EQ(passing(kUnknown, UnknownCause::unreachable), "-++");
    EXPECT_EQ(passing(kUnknown, UnknownCause::too_old), "-++");
    EXPECT_EQ(passing(kUnknown, UnknownCause::not_covered), "-++");
    EXPECT_EQ(passing(kUnknown, UnknownCause::exhausted), "--+");
    finding.not_heard = true;
    EXPECT_EQ(passing(kUnknown, UnknownCause::unreachable), "--+");
}

} // namespace
} // namespace basalt::test
