// How much evidence a verdict bears: the honest of many years, by dear keys and by one responder;
// and what lies beyond the bounds, which leaves the question open and is neither good nor bad.
#include <basalt/revocation/status_check.h>
#include <basalt/revocation/test_authority.h>
#include <basalt/store/certificate_reference.h>

#include <gtest/gtest.h>

namespace basalt::test {
namespace {

constexpr int kNow = 100;
constexpr int kMade = 90;
constexpr int kNext = 110;

class EvidenceLoadTest : public testing::Test {
protected:
    using PartyOwner = std::unique_ptr<Party>;

    EvidenceLoadTest() { paths_.add(*root_); }

    void forget() {
        given_.reset(new_store());
        own_.reset(new_store());
    }

    static void put(const StoreReference& store, const std::string& list) {
        ASSERT_TRUE(CertAddEncodedCRLToStore(
            store.get(), X509_ASN_ENCODING, reinterpret_cast<const BYTE*>(list.data()),
            static_cast<DWORD>(list.size()), CERT_STORE_ADD_ALWAYS, nullptr));
    }

    void give_answer(const AnswerSpec& spec) {
        const std::string answer = make_answer(spec);
        ASSERT_TRUE(BasaltAddOcspResponseToStore(given_.get(),
                                                 reinterpret_cast<const BYTE*>(answer.data()),
                                                 static_cast<DWORD>(answer.size())));
    }

    PartyOwner authority(const char* curve) const {
        const EvpKey key(EVP_EC_gen(curve));
        return make_party(
            {.name = "ca", .issuer = root_.get(), .extensions = kAuthority, .key = key.get()});
    }

    ListSpec list(const Party& signer, int week = 0) const {
        return {.signer = &signer, .made = kMade - 7 * week, .next = kNext};
    }

    Standing judge(const Party& certificate, const Party& ca, const BudgetLimits& limits = {}) {
        Budget budget(limits);
        Retrieval retrieval(budget);
        StatusCheck check(budget, retrieval, paths_, {own_.get()}, {given_.get()});
        StatusQuestion question;
        question.stamp_time = ticks_at(0);
        question.now = ticks_at(kNow);
        question.is_signer = true;
        const CertificatePath path{certificate.entry, ca.entry, root_->entry};
        finding_ = check.judge(path, 0, question);
        signatures_ = budget.evidence_signatures();
        responders_ = budget.responders();
        comparisons_ = budget.comparisons();
        return finding_.standing;
    }

    static HCERTSTORE new_store() {
        return CertOpenStore(CERT_STORE_PROV_MEMORY, 0, 0, 0, nullptr);
    }

    PartyOwner root_ = make_party({.name = "root", .extensions = kAuthority});
    StoreReference given_{new_store()};
    StoreReference own_{new_store()};
    FewPaths paths_;
    StatusFinding finding_;
    unsigned signatures_ = 0;
    unsigned responders_ = 0;
    std::size_t comparisons_ = 0;
};

TEST_F(EvidenceLoadTest, ListsOfYearsByDearKeysAreAllLookedAt) {
    for (const char* curve : {"P-256", "P-384", "P-521"}) {
        SCOPED_TRACE(curve);
        const PartyOwner ca = authority(curve);
        const PartyOwner certificate = make_party({.name = "stamps", .issuer = ca.get()});
        for (const bool own : {false, true}) {
            forget();
            for (int week = 0; week < 40; ++week) {
                put(own ? own_ : given_, make_list(list(*ca, week)));
            }
            EXPECT_EQ(judge(*certificate, *ca), Standing::good) << own;
            EXPECT_EQ(signatures_, 40 * signature_cost(ca->private_key.get()));
        }
    }
}

// Forged lists that would take more comparisons than there are, around one that revokes.
TEST_F(EvidenceLoadTest, WhatIsDearToCompareTakesNothingFromWhatIsCheap) {
    const PartyOwner ca = authority("P-256");
    const PartyOwner forger = make_party({.name = "ca", .extensions = kAuthority});
    const PartyOwner certificate = make_party({.name = "stamps", .issuer = ca.get()});
    ListSpec honest = list(*ca);
    honest.entries = {{certificate.get(), -5, 1}};
    const std::string indirect = "issuingDistributionPoint=critical,@p\n[p]\nindirectCRL=TRUE";
    BudgetLimits limits;
    limits.given_comparisons = 1000;
    constexpr int kForged = 10;
    for (const int place : {0, 5, kForged}) {
        forget();
        for (int i = 0; i <= kForged; ++i) {
            ListSpec forged = list(*forger, i);
            forged.extensions = indirect;
            forged.strangers = 100;
            put(given_, make_list(i == place ? honest : forged));
        }
        EXPECT_EQ(judge(*certificate, *ca, limits), Standing::revoked) << place;
    }
}

TEST_F(EvidenceLoadTest, ToLookIntoListsThatNobodySignedTakesWhatItCosts) {
    const PartyOwner ca = authority("P-256");
    const PartyOwner forger = make_party({.name = "ca", .extensions = kAuthority});
    const PartyOwner certificate = make_party({.name = "stamps", .issuer = ca.get()});
    std::size_t octets = 0;
    for (int i = 0; i < 12; ++i) {
        ListSpec forged = list(*forger, i);
        forged.strangers = 200;
        const std::string bytes = make_list(forged);
        octets += bytes.size();
        put(given_, bytes);
    }
    put(given_, make_list(list(*ca)));
    EXPECT_EQ(judge(*certificate, *ca), Standing::good);
    EXPECT_GE(comparisons_, octets / 128);
}

TEST_F(EvidenceLoadTest, AResponderThatComesWithEachAnswerIsReadOnce) {
    for (const char* curve : {"P-256", "P-384"}) {
        SCOPED_TRACE(curve);
        forget();
        const PartyOwner ca = authority(curve);
        const PartyOwner certificate = make_party({.name = "stamps", .issuer = ca.get()});
        const EvpKey key(EVP_EC_gen(curve));
        const PartyOwner responder =
            make_party({.name = "responder",
                        .issuer = ca.get(),
                        .extensions = "extendedKeyUsage=OCSPSigning\nnoCheck=ignored",
                        .key = key.get()});
        for (int week = 0; week < 64; ++week) {
            give_answer({.signer = responder.get(),
                         .entries = {{.certificate = certificate.get(),
                                      .issuer = ca.get(),
                                      .made = kMade - 7 * week,
                                      .next = kNext}},
                         .certificates = {ca.get(), root_.get()}});
        }
        EXPECT_EQ(judge(*certificate, *ca), Standing::good);
        EXPECT_EQ(responders_, 1u);
        EXPECT_EQ(signatures_, 65 * signature_cost(key.get())) << "its own certificate's is one";
    }
}

// For each base the delta that follows it is looked for; there may be none among very many.
TEST_F(EvidenceLoadTest, DeltasAreTriedForWhatThereIs) {
    const PartyOwner ca = authority("P-256");
    const PartyOwner certificate = make_party({.name = "stamps", .issuer = ca.get()});
    const auto numbered = [&](int number, const std::string& more = "") {
        ListSpec spec = list(*ca);
        spec.extensions = "2.5.29.20=ASN1:INTEGER:" + std::to_string(number) + more;
        return make_list(spec);
    };
    constexpr int kBases = 40;
    constexpr int kDeltas = 40;
    BudgetLimits few;
    few.given_comparisons = 2000;
    for (const bool follow : {true, false}) {
        SCOPED_TRACE(follow);
        forget();
        for (int i = 0; i < kBases; ++i) {
            put(given_, numbered(i));
        }
        for (int i = 0; i < kDeltas; ++i) {
            put(given_, numbered(200 + i, follow ? "\n2.5.29.27=critical,ASN1:INTEGER:0"
                                                 : "\n2.5.29.27=critical,ASN1:INTEGER:100"));
        }
        const std::size_t tried = follow ? 0 : kBases * kDeltas;
        EXPECT_EQ(judge(*certificate, *ca), Standing::good);
        EXPECT_GE(comparisons_, tried);
        EXPECT_LE(comparisons_, tried + 2000);
        EXPECT_EQ(judge(*certificate, *ca, few), follow ? Standing::good : Standing::unknown);
        EXPECT_EQ(finding_.cause, follow ? UnknownCause::none : UnknownCause::exhausted);
    }
}

// The responder of an ended certificate has to have been good when each answer was made, and at
// each of these moments all lists may speak of it.
TEST_F(EvidenceLoadTest, EachMomentOfAResponderTakesWhatItCosts) {
    const PartyOwner ca = authority("P-256");
    const PartyOwner ended = make_party({.name = "stamps", .issuer = ca.get(), .end = 80});
    const PartyOwner responder = make_party(
        {.name = "responder", .issuer = ca.get(), .extensions = "extendedKeyUsage=OCSPSigning"});
    constexpr int kAnswers = 40;
    constexpr int kLists = 30;
    for (int i = 0; i < kAnswers; ++i) {
        give_answer(
            {.signer = responder.get(),
             .entries = {{.certificate = ended.get(), .issuer = ca.get(), .made = 10 + i}}});
    }
    for (int i = 0; i < kLists; ++i) {
        put(given_, make_list(list(*ca, i)));
    }
    EXPECT_EQ(judge(*ended, *ca), Standing::good) << "what an honest archive has";
    EXPECT_GE(comparisons_, std::size_t{kAnswers * kLists * 10});
    EXPECT_LE(comparisons_, std::size_t{kAnswers * kLists * 30});
    BudgetLimits few;
    few.given_comparisons = 5000;
    EXPECT_EQ(judge(*ended, *ca, few), Standing::unknown);
    EXPECT_EQ(finding_.cause, UnknownCause::exhausted);
}

// Each question looks through all entries for those that are about its certificate.
TEST_F(EvidenceLoadTest, EntriesAboutOthersTakeWhatTheyCost) {
    const PartyOwner ca = authority("P-256");
    const PartyOwner certificate = make_party({.name = "stamps", .issuer = ca.get()});
    const PartyOwner other = make_party({.name = "other", .issuer = ca.get()});
    constexpr std::size_t kEntries = 3000;
    const AnswerEntry entry{
        .certificate = other.get(), .issuer = ca.get(), .made = kMade, .next = kNext};
    give_answer({.signer = other.get(), .entries = std::vector(kEntries, entry)});
    put(given_, make_list(list(*ca)));
    EXPECT_EQ(judge(*certificate, *ca), Standing::good);
    EXPECT_GE(comparisons_, kEntries);
    EXPECT_LE(comparisons_, kEntries + 100);
    BudgetLimits few;
    few.given_comparisons = 2000;
    EXPECT_EQ(judge(*certificate, *ca, few), Standing::unknown);
    EXPECT_EQ(finding_.cause, UnknownCause::exhausted);
}

// Whatever was signed with more points and names than honest authorities write may be about the
// certificate or not; what wasn't signed has nothing to say.
TEST_F(EvidenceLoadTest, MorePointsAndNamesThanAreReadLeaveTheQuestionOpen) {
    const auto points = [](int count) {
        std::string names = "crlDistributionPoints=";
        for (int i = 0; i < count; ++i) {
            names += (i > 0 ? ",URI:http://a/" : "URI:http://a/") + std::to_string(i);
        }
        return names;
    };
    const auto names = [](int count) {
        std::string text = "fullname=URI:http://a/1";
        for (int i = 1; i < count; ++i) {
            text += ",URI:http://b/" + std::to_string(i);
        }
        return text;
    };
    const std::string point = "crlDistributionPoints=p\n[p]\n";
    const std::string of_list = "issuingDistributionPoint=critical,@p\n[p]\n";
    const PartyOwner ca = authority("P-256");
    const PartyOwner impostor = make_party({.name = "ca", .extensions = kAuthority});
    const struct {
        const char* name;
        std::string of_certificate;
        std::string of_list;
        bool is_read;
    } cases[] = {
        {"32 points", points(32), of_list + names(1), true},
        {"33 points", points(33), of_list + names(1), false},
        {"256 names of a point", point + names(256), of_list + names(1), true},
        {"257 names of a point", point + names(257), of_list + names(1), false},
        {"256 names of a list", points(2), of_list + names(256), true},
        {"257 names of a list", points(2), of_list + names(257), false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const PartyOwner certificate =
            make_party({.name = "stamps", .issuer = ca.get(), .extensions = c.of_certificate});
        forget();
        ListSpec spec = list(*ca);
        spec.extensions = c.of_list;
        put(given_, make_list(spec));
        EXPECT_EQ(judge(*certificate, *ca), c.is_read ? Standing::good : Standing::unknown);
        EXPECT_EQ(finding_.cause == UnknownCause::exhausted, !c.is_read);
        EXPECT_EQ(passes(finding_, RevocationMode::available), c.is_read);

        const bool is_of_the_list = c.of_list.size() > 1000;
        put(own_, make_list(list(*ca)));
        EXPECT_EQ(judge(*certificate, *ca), c.is_read ? Standing::good : Standing::unknown)
            << "another list doesn't tell what that one may";
        forget();
        spec.signer = impostor.get();
        put(given_, make_list(spec));
        put(own_, make_list(list(*ca)));
        EXPECT_EQ(judge(*certificate, *ca),
                  c.is_read || is_of_the_list ? Standing::good : Standing::unknown)
            << "forged";
    }
}

TEST_F(EvidenceLoadTest, JunkUsesUpItsOwnShareAlone) {
    const PartyOwner ca = authority("P-384");
    const PartyOwner certificate = make_party({.name = "stamps", .issuer = ca.get()});
    const PartyOwner impostor = make_party({.name = "ca", .extensions = kAuthority});
    const unsigned most =
        BudgetLimits().given_evidence_signatures / signature_cost(ca->private_key.get());
    for (unsigned i = 0; i < most + 20; ++i) {
        ListSpec spec = list(*impostor);
        spec.made = static_cast<int>(i) - 100;
        put(given_, make_list(spec));
    }
    EXPECT_EQ(judge(*certificate, *ca), Standing::unknown);
    EXPECT_EQ(finding_.cause, UnknownCause::exhausted);
    EXPECT_EQ(signatures_, most * signature_cost(ca->private_key.get()));
    EXPECT_FALSE(passes(finding_, RevocationMode::available))
        << "a revocation may be buried under it";
    put(given_, make_list(list(*ca, 1)));
    put(own_, make_list(list(*ca)));
    EXPECT_EQ(judge(*certificate, *ca), Standing::unknown) << "and a good one is no better for it";
    EXPECT_EQ(finding_.cause, UnknownCause::exhausted);
}

} // namespace
} // namespace basalt::test
