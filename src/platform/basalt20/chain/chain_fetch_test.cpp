// When a chain goes to the network, and when not: counted at a server on loopback.
#include <basalt/chain/chain_session.h>
#include <basalt/chain/judged_chain.h>
#include <basalt/revocation/live_responder.h>

#include <basalt/store/record.h>

#include <openssl/pkcs7.h>

#include <thread>

namespace basalt::test {
namespace {

class ChainFetchTest : public ::testing::Test {
protected:
    LiveResponder server_;
    std::unique_ptr<Party> root_ = make_party({"root", nullptr, kAuthority});
    std::unique_ptr<Party> middle_ = make_party({"middle", root_.get(), kAuthority});
    Setting setting_{{encoded(root_.get())}, BASALT_REVOCATION_REQUIRE};

    std::unique_ptr<Party> stamper_with_list(const Party* issuer,
                                             const std::string& path = "/list") const {
        return make_party(
            {"stamper", issuer, kStamper + ("crlDistributionPoints=URI:" + server_.url(path))});
    }

    std::string sources() const {
        return "crlDistributionPoints=URI:" + server_.url("/list") +
               "\nauthorityInfoAccess=OCSP;URI:" + server_.url("/ocsp") +
               ",caIssuers;URI:" + server_.url("/issuer") + "\n";
    }
};

TEST_F(ChainFetchTest, ATokenUnderAnUnknownRootMakesNoConnection) {
    const auto rogue_root = make_party({"rogue root", nullptr, kAuthority});
    const auto rogue =
        make_party({"rogue", rogue_root.get(), std::string(kAuthority) + "\n" + sources()});
    const auto stamper = make_party({"stamper", rogue.get(), kStamper + sources()});
    EXPECT_EQ(stamp_verdict(setting_,
                            {encoded(stamper.get()), encoded_all({rogue.get(), rogue_root.get()})}),
              CERT_E_UNTRUSTEDROOT);
    EXPECT_EQ(server_.requests(), 0u);
}

// But for another certificate of an authority that isn't right.
TEST_F(ChainFetchTest, APathThatIsBadAnywayHasNoEvidenceFetched) {
    const auto serving = make_party({"middle", root_.get(),
                                     std::string(kAuthority) +
                                         "\npolicyConstraints=critical,"
                                         "requireExplicitPolicy:0\ncertificatePolicies=1.2.3.4\n" +
                                         sources()});
    const auto stamper = make_party({"stamper", serving.get(), kStamper + sources()});
    EXPECT_EQ(stamp_verdict(setting_, {encoded(stamper.get()), {encoded(serving.get())}}),
              CERT_E_INVALID_POLICY);
    EXPECT_EQ(server_.requests(), 1u);
    EXPECT_NE(server_.last_request().find("GET /issuer"), std::string::npos);
    const auto expired =
        make_party({"stamper", middle_.get(), kStamper + sources(), -9'000, -8'000});
    EXPECT_EQ(stamp_verdict(setting_, {encoded(expired.get()), {encoded(middle_.get())}}),
              CERT_E_EXPIRED);
    EXPECT_EQ(server_.requests(), 1u);
}

TEST_F(ChainFetchTest, AGoodPathAsksOnceForChainAndVerdictTogether) {
    const auto stamper = stamper_with_list(middle_.get());
    server_.serve("/list", {make_list({middle_.get(), -1, 100})});
    const ChainReference chain =
        build(make_engine(setting_), {encoded(stamper.get()), {encoded(middle_.get())}});
    for (int again = 0; again < 4; ++again) {
        EXPECT_EQ(stamp_verdict(chain), 0u);
    }
    EXPECT_EQ(server_.requests(), 1u);
    const auto* evidence = static_cast<const BASALT_REVOCATION_EVIDENCE*>(
        chain->rgpChain[0]->rgpElement[0]->pRevocationInfo->pvOidSpecificInfo);
    ASSERT_NE(evidence, nullptr);
    EXPECT_EQ(evidence->dwSource, BASALT_EVIDENCE_FROM_NETWORK);
    EXPECT_EQ(std::string(evidence->pszUrl), server_.url("/list"));
    // The next chain finds it in the cache, with or without the network.
    setting_.flags = CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL;
    EXPECT_EQ(stamp_verdict(setting_, {encoded(stamper.get()), {encoded(middle_.get())}}), 0u);
    EXPECT_EQ(server_.requests(), 1u);
}

TEST_F(ChainFetchTest, WhereUnknownPassesTheSourcesAreAskedAllTheSame) {
    setting_.revocation = BASALT_REVOCATION_AVAILABLE;
    const auto stamper = stamper_with_list(middle_.get());
    const Given given{encoded(stamper.get()), {encoded(middle_.get())}};
    EXPECT_EQ(stamp_verdict(setting_, given), 0U) << "nobody answers";
    EXPECT_EQ(server_.requests(), 1U);
    server_.serve("/list", {make_list({middle_.get(), -1, 100, {{stamper.get(), -10, 1}}})});
    EXPECT_EQ(stamp_verdict(setting_, given), CRYPT_E_REVOKED);
    EXPECT_EQ(server_.requests(), 2U);
}

std::string in_pem(const std::string& list) {
    std::string digits(list.size() * 2, '\0');
    digits.resize(static_cast<std::size_t>(EVP_EncodeBlock(
        reinterpret_cast<unsigned char*>(digits.data()),
        reinterpret_cast<const unsigned char*>(list.data()), static_cast<int>(list.size()))));
    return "-----BEGIN X509 CRL-----\n" + digits + "\n-----END X509 CRL-----\n";
}

// What an authority says in words that can't be used isn't silence, where it is fetched or given.
TEST_F(ChainFetchTest, WhoSaysWhatCannotBeUsedIsNotSilent) {
    constexpr char kScope[] = "issuingDistributionPoint=critical,@p\n[p]\n";
    const auto as_it_is = [](const std::string& list) { return list; };
    const auto with_more = [](const std::string& list) { return list + '\n'; };
    const struct {
        const char* name;
        std::string extensions;
        std::string (*served)(const std::string& list);
        bool is_read; // so that it is known whom it names
    } rows[] = {
        {"another address", kScope + std::string("fullname=URI:http://elsewhere.example/list"),
         as_it_is, true},
        {"authorities", kScope + std::string("onlyCA=TRUE"), as_it_is, true},
        {"attribute certificates", kScope + std::string("onlyAA=TRUE"), as_it_is, true},
        {"critical extension", "1.2.3.4=critical,ASN1:NULL", as_it_is, false},
        {"more behind", "", with_more, false},
        {"PEM", "", in_pem, false},
    };
    const auto stamper = stamper_with_list(middle_.get());
    const auto other = make_party({"other", middle_.get(), kStamper});
    const Given given{encoded(stamper.get()), {encoded(middle_.get())}};
    setting_.revocation = BASALT_REVOCATION_AVAILABLE;
    for (const auto& row : rows) {
        for (const Party* named : {stamper.get(), other.get()}) {
            const std::string list =
                make_list({middle_.get(), -1, 100, {{named, -10, 1}}, row.extensions});
            const bool is_silence = row.is_read && named == other.get();
            server_.forget();
            server_.serve("/list", {row.served(list)});
            EXPECT_EQ(stamp_verdict(setting_, given) == 0, is_silence) << row.name;
            if (row.is_read) {
                server_.serve("/list", {"", 404});
                Setting setting = setting_;
                setting.own_lists = {list};
                EXPECT_EQ(stamp_verdict(setting, given) == 0, is_silence) << row.name;
                const Given foreign{given.end, given.bag, {list}};
                EXPECT_EQ(stamp_verdict(setting_, foreign), 0U) << row.name;
            }
        }
    }
    for (const std::string& page :
         {std::string(), std::string("<html>0-----</html>"), encoded(middle_.get()),
          "-----BEGIN CERTIFICATE-----\n" + encoded(middle_.get()), std::string("\x30\x03\x0A\1\6"),
          make_list({root_.get(), -1, 100, {{stamper.get(), -10, 1}}})}) {
        server_.serve("/list", {page});
        EXPECT_EQ(stamp_verdict(setting_, given), 0U) << page;
    }
    const auto answered =
        make_party({"stamper", middle_.get(),
                    kStamper + ("authorityInfoAccess=OCSP;URI:" + server_.url("/ocsp"))});
    const std::string status = "\x30\x03\x0A\x01";
    for (const bool is_successful : {false, true}) {
        server_.forget();
        server_.serve("/ocsp", {status + (is_successful ? '\0' : '\3')});
        EXPECT_EQ(stamp_verdict(setting_, {encoded(answered.get()), given.bag}) == 0,
                  !is_successful);
    }
    // Whatever it says besides, it isn't good.
    AnswerEntry entry{answered.get(), middle_.get(), V_OCSP_CERTSTATUS_REVOKED, -1, 100};
    entry.since = -10;
    for (const bool is_whole : {false, true}) {
        entry.critical_unknown = !is_whole;
        const std::string answer = make_answer(
            {.signer = middle_.get(), .entries = {entry}, .critical_unknown = is_whole});
        server_.forget();
        server_.serve("/ocsp", {answer});
        EXPECT_NE(stamp_verdict(setting_, {encoded(answered.get()), given.bag}), 0U) << is_whole;
        server_.serve("/ocsp", {"", 404});
        Setting setting = setting_;
        setting.own_answers = {answer};
        EXPECT_NE(stamp_verdict(setting, {encoded(answered.get()), given.bag}), 0U) << is_whole;
    }
}

// The new certificate of a re-keyed authority names where its lists are; the stamper names none.
TEST_F(ChainFetchTest, AListThatIsFetchedForOneSpeaksOfThoseBelowIt) {
    const auto rekeyed = make_party(
        {"middle", middle_.get(),
         std::string(kAuthority) + "\ncrlDistributionPoints=URI:" + server_.url("/list")});
    const auto stamper = make_party({"stamper", rekeyed.get(), kStamper});
    const Given given{encoded(stamper.get()), encoded_all({rekeyed.get(), middle_.get()})};
    for (const DWORD mode : {BASALT_REVOCATION_REQUIRE, BASALT_REVOCATION_AVAILABLE}) {
        setting_.revocation = mode;
        for (const bool revokes : {false, true}) {
            server_.forget();
            ListSpec list{middle_.get(), -1, 100};
            if (revokes) {
                list.entries = {{stamper.get(), -10, 1}};
            }
            server_.serve("/list", {make_list(list)});
            for (int again = 0; again < 2; ++again) { // then by the cache
                EXPECT_EQ(stamp_verdict(setting_, given), revokes ? CRYPT_E_REVOKED : 0U)
                    << mode << again;
            }
        }
    }
    EXPECT_EQ(server_.requests(), 4U);
}

// A certificate that names no source: a list of its issuer that isn't for it is no licence, whether
// it was given or fetched for another one.
TEST_F(ChainFetchTest, AListThatIsNotForItLeavesACertificateOpen) {
    const auto rekeyed = make_party(
        {"middle", middle_.get(),
         std::string(kAuthority) + "\ncrlDistributionPoints=URI:" + server_.url("/list")});
    const auto stamper = make_party({"stamper", rekeyed.get(), kStamper});
    const std::string list =
        make_list({.signer = middle_.get(),
                   .made = -1,
                   .next = 100,
                   .extensions = "issuingDistributionPoint=critical,@point\n[point]\nonlyCA=TRUE"});
    server_.serve("/list", {list});
    Given given{encoded(stamper.get()), encoded_all({rekeyed.get(), middle_.get()})};
    for (const bool is_given : {false, true}) {
        given.lists = is_given ? std::vector{list} : std::vector<std::string>{};
        EXPECT_EQ(stamp_verdict(setting_, given), CRYPT_E_REVOCATION_OFFLINE) << is_given;
    }
}

// By a list in the bag, and one in the cache, that are in force; and there may be a path beside it.
TEST_F(ChainFetchTest, OfAHoldItIsAskedWhetherItWasLifted) {
    constexpr int kHold = 6;
    const auto stamper = stamper_with_list(middle_.get());
    const std::string hold = make_list({middle_.get(), -2, 100, {{stamper.get(), -10, kHold}}});
    Given given{encoded(stamper.get()), {encoded(middle_.get())}};
    server_.serve("/list", {hold});
    EXPECT_EQ(stamp_verdict(setting_, given), CRYPT_E_REVOKED);
    server_.serve("/list", {"nothing that could be read"});
    EXPECT_EQ(stamp_verdict(setting_, given), CRYPT_E_REVOKED) << "and nobody tells otherwise";
    setting_.flags = CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL;
    EXPECT_EQ(stamp_verdict(setting_, given), CRYPT_E_REVOKED);
    setting_.flags = 0;
    server_.serve("/list", {make_list({middle_.get(), -1, 100})});
    EXPECT_EQ(stamp_verdict(setting_, given), 0U);
    given.lists = {hold};
    EXPECT_EQ(stamp_verdict(setting_, given), 0U) << "by what the cache has now";
    // Nobody is asked where an authority is revoked anyway.
    const auto gone = make_party({"middle", root_.get(), kAuthority});
    const auto below = make_party(
        {"stamper", gone.get(), kStamper + ("crlDistributionPoints=URI:" + server_.url("/list"))});
    const std::size_t before = server_.requests();
    given = {encoded(below.get()),
             {encoded(gone.get())},
             {make_list({gone.get(), -2, 100, {{below.get(), -10, kHold}}}),
              make_list({root_.get(), -1, 100, {{gone.get(), -10, 4}}})}};
    EXPECT_EQ(stamp_verdict(setting_, given), CRYPT_E_REVOKED);
    EXPECT_EQ(server_.requests(), before);
}

// A list by another key of the authority's name makes the stamper good, until it is fetched that
// the other key was stolen: for the authority's sake, or for that of the other key.
TEST_F(ChainFetchTest, WhatSpokeForOneIsHeldAgainstWhatCameSince) {
    for (const bool authority_names_it : {true, false}) {
        const std::string with_source =
            std::string(kAuthority) + "\ncrlDistributionPoints=URI:" + server_.url("/root");
        const auto authority =
            make_party({"middle", root_.get(), authority_names_it ? with_source : kAuthority});
        const auto stolen =
            make_party({"middle", root_.get(), authority_names_it ? kAuthority : with_source});
        const auto stamper = stamper_with_list(authority.get());
        const Given given{encoded(stamper.get()),
                          encoded_all({authority.get(), stolen.get()}),
                          {make_list({stolen.get(), -1, 100})}};
        for (const DWORD mode : {BASALT_REVOCATION_REQUIRE, BASALT_REVOCATION_AVAILABLE}) {
            setting_.revocation = mode;
            server_.forget();
            server_.serve("/root", {make_list({root_.get(), -1, 100, {{stolen.get(), -10, 1}}})});
            server_.serve("/list",
                          {make_list({authority.get(), -1, 100, {{stamper.get(), -10, 1}}})});
            for (int again = 0; again < 2; ++again) { // then by the cache
                EXPECT_EQ(stamp_verdict(setting_, given), CRYPT_E_REVOKED)
                    << authority_names_it << mode << again;
            }
        }
    }
}

// The answer about one is kept, then the list for another one, which knows better.
TEST_F(ChainFetchTest, AllThatIsCachedCounts) {
    const std::string list = "crlDistributionPoints=URI:" + server_.url("/list");
    const auto stamper =
        make_party({"stamper", middle_.get(),
                    kStamper + list + "\nauthorityInfoAccess=OCSP;URI:" + server_.url("/ocsp")});
    const auto other = make_party({"other", middle_.get(), kStamper + list});
    server_.serve("/ocsp", {make_answer({.signer = middle_.get(),
                                         .entries = {{.certificate = stamper.get(),
                                                      .issuer = middle_.get(),
                                                      .made = -2,
                                                      .next = 100}}})});
    server_.serve("/list", {make_list({middle_.get(), -1, 100, {{stamper.get(), -10, 1}}})});
    const std::vector<std::string> bag{encoded(middle_.get())};
    EXPECT_EQ(stamp_verdict(setting_, {encoded(stamper.get()), bag}), 0U);
    EXPECT_EQ(stamp_verdict(setting_, {encoded(other.get()), bag}), 0U);
    EXPECT_EQ(stamp_verdict(setting_, {encoded(stamper.get()), bag}), CRYPT_E_REVOKED);
}

// What an older delta tells may stand in its successor's base already, which isn't at hand.
TEST_F(ChainFetchTest, ADeltaGivesWayToNoneThatBeginsLater) {
    constexpr int kCompromised = 1;
    constexpr int kHold = 6;
    const std::vector<std::string> bag{encoded(middle_.get())};
    for (const int reason : {kCompromised, kHold}) {
        for (const bool judged_before : {false, true}) {
            const std::string place = std::to_string(reason) + (judged_before ? "/a" : "/b");
            const std::string sources = "crlDistributionPoints=URI:" + server_.url("/l" + place) +
                                        "\nfreshestCRL=URI:" + server_.url("/d" + place);
            const auto stamper = make_party({"stamper", middle_.get(), kStamper + sources});
            const auto other = make_party({"other", middle_.get(), kStamper + sources});
            const auto serve = [&](int number, int base, const Party& who, int why) {
                ListSpec list{middle_.get(), number - 20, 100, {{&who, -10, why}}};
                list.extensions = "2.5.29.20=ASN1:INTEGER:" + std::to_string(number);
                if (base != 0) {
                    list.extensions += "\n2.5.29.27=critical,ASN1:INTEGER:" + std::to_string(base);
                }
                server_.serve((base != 0 ? "/d" : "/l") + place, {make_list(list)});
            };
            const auto verdict = [&](const Party& of) {
                return stamp_verdict(setting_, {encoded(&of), bag});
            };
            serve(10, 0, *other, kHold);
            serve(11, 10, *stamper, reason);
            EXPECT_EQ(verdict(*other), CRYPT_E_REVOKED);
            if (judged_before) {
                EXPECT_EQ(verdict(*stamper), CRYPT_E_REVOKED);
            }
            server_.serve("/l" + place, {"", 404});
            // Of very many the first isn't kept any more, but for him whom it revokes for good.
            const int last = judged_before && reason == kCompromised ? 18 : 12;
            for (int number = 12; number <= last; ++number) {
                serve(number, number - 1, *other, kHold);
                EXPECT_NE(verdict(*other), 0U);
            }
            if (reason == kCompromised) {
                EXPECT_EQ(verdict(*stamper), CRYPT_E_REVOKED) << place;
            } else { // that could have been lifted
                EXPECT_NE(verdict(*stamper), 0U) << place;
            }
        }
    }
}

// It was verified when it was kept: a stranger who leaves its signer out makes nothing good.
TEST_F(ChainFetchTest, ACachedRevocationOutlivesItsSignersAbsence) {
    const auto rekeyed = make_party({"middle", root_.get(), kAuthority});
    const auto stamper = stamper_with_list(middle_.get());
    server_.serve("/list", {make_list({rekeyed.get(), -1, 100, {{stamper.get(), -10, 1}}})});
    const Given whole{encoded(stamper.get()), encoded_all({middle_.get(), rekeyed.get()})};
    const Given without{
        encoded(stamper.get()), {encoded(middle_.get())}, {make_list({middle_.get(), -3, 100})}};
    EXPECT_EQ(stamp_verdict(setting_, whole), CRYPT_E_REVOKED);
    setting_.flags = CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL;
    EXPECT_EQ(stamp_verdict(setting_, without), CRYPT_E_NO_REVOCATION_CHECK);
    EXPECT_EQ(stamp_verdict(setting_, whole), CRYPT_E_REVOKED);
}

// The cached list is read for another certificate of the stamper's key.
TEST_F(ChainFetchTest, WhatIsReadWhenAKeyIsHeardOfSpeaksOfThePathToo) {
    const auto other = stamper_with_list(middle_.get());
    const auto stamper = make_twin(*other, {"stamper", middle_.get(), kStamper});
    server_.serve("/list", {make_list({middle_.get(), -1, 100, {{stamper.get(), -10, 4}}})});
    EXPECT_EQ(stamp_verdict(setting_, {encoded(other.get()), {encoded(middle_.get())}}), 0U);
    const Given given{encoded(stamper.get()), encoded_all({middle_.get(), other.get()})};
    EXPECT_EQ(stamp_verdict(setting_, given), CRYPT_E_REVOKED);
}

TEST_F(ChainFetchTest, ChainsThatShareTheirFetchingAskOnceForWhatFails) {
    const auto stamper = stamper_with_list(middle_.get(), "/missing");
    const CertificateReference end = context_of(encoded(stamper.get()));
    const StoreReference bag = store_of({encoded(middle_.get())});
    const EngineReference engine = make_engine(setting_);
    const auto ask = [&](HBASALT_FETCHING fetching) {
        BASALT_FETCHING_CHAIN_PARA para{};
        para.Base.Base.cbSize = sizeof para;
        para.hFetching = fetching;
        PCCERT_CHAIN_CONTEXT chain = nullptr;
        const BOOL built = CertGetCertificateChain(
            engine.get(), end.get(), nullptr, bag.get(), &para.Base.Base,
            CERT_CHAIN_REVOCATION_CHECK_CHAIN_EXCLUDE_ROOT, nullptr, &chain);
        const ChainReference owned(chain);
        return built ? stamp_verdict(owned) : GetLastError();
    };
    HBASALT_FETCHING shared = nullptr;
    ASSERT_TRUE(BasaltCreateFetching(&shared));
    EXPECT_EQ(ask(shared), CRYPT_E_REVOCATION_OFFLINE);
    EXPECT_EQ(ask(shared), CRYPT_E_REVOCATION_OFFLINE);
    EXPECT_EQ(server_.requests(), 1u);
    EXPECT_EQ(ask(nullptr), CRYPT_E_REVOCATION_OFFLINE);
    EXPECT_EQ(server_.requests(), 2u) << "one that stands alone asks for itself";
    BasaltFreeFetching(shared);
    BasaltFreeFetching(nullptr);
    EXPECT_EQ(ask(shared), ERROR_INVALID_HANDLE);
    EXPECT_FALSE(BasaltCreateFetching(nullptr));
}

// The authority's key is one of the dearest there are.
TEST_F(ChainFetchTest, ChainsThatShareTheirFetchingShareTheWork) {
    const EvpKey dear(EVP_EC_gen("sect571r1"));
    CertificateSpec spec{"dear", root_.get(), kAuthority};
    spec.key = dear.get();
    const auto authority = make_party(spec);
    const auto stamper = make_party({"stamper", authority.get(), kStamper});
    const Given given{encoded(stamper.get()),
                      {encoded(authority.get())},
                      {make_list({root_.get(), -1, 100}), make_list({authority.get(), -1, 100})}};
    const EngineReference engine = make_engine(setting_);
    HBASALT_FETCHING shared = nullptr;
    ASSERT_TRUE(BasaltCreateFetching(&shared));
    const auto verdict = [&] {
        BASALT_FETCHING_CHAIN_PARA para{};
        para.Base.Base.cbSize = sizeof para;
        para.hFetching = shared;
        PCCERT_CHAIN_CONTEXT chain = nullptr;
        EXPECT_TRUE(CertGetCertificateChain(engine.get(), context_of(given.end).get(), nullptr,
                                            store_of(given.bag, given.lists).get(), &para.Base.Base,
                                            CERT_CHAIN_REVOCATION_CHECK_CHAIN_EXCLUDE_ROOT, nullptr,
                                            &chain));
        return stamp_verdict(ChainReference(chain));
    };
    EXPECT_EQ(verdict(), 0u);
    const CertificateReference signer = context_of(encoded(authority.get()));
    unsigned signatures = 0;
    while (BasaltTakeSignature(shared, signer.get()) && signatures < 10'000) {
        ++signatures;
    }
    EXPECT_EQ(GetLastError(), TRUST_E_SYSTEM_ERROR);
    EXPECT_GE(signatures, 150u);
    EXPECT_LE(signatures, 250u) << "some 1.5 seconds of six milliseconds";
    EXPECT_EQ(verdict(), TRUST_E_SYSTEM_ERROR) << "neither good nor bad";
    BasaltFreeFetching(shared);
    shared = nullptr;
    EXPECT_EQ(verdict(), 0u) << "one that stands alone";
    EXPECT_FALSE(BasaltTakeSignature(shared, signer.get()));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    EXPECT_FALSE(BasaltTakeSignature(shared, nullptr));
}

// One engine, one cache folder, one cache of prepared certificates, and one chain that several
// threads judge: each gets its own right verdict.
TEST_F(ChainFetchTest, ManyThreadsShareAnEngineAChainAndTheCaches) {
    const std::string lists = "crlDistributionPoints=URI:" + server_.url("/list");
    const auto good = make_party({"stamper", middle_.get(), kStamper + lists});
    const auto bad = make_party({"stamper", middle_.get(), kStamper + lists});
    server_.serve("/list", {make_list({middle_.get(), -1, 100, {{bad.get(), -5, 4}}})});
    const std::vector<std::string> bag{encoded(middle_.get())};
    const EngineReference engine = make_engine(setting_);
    const ChainReference shared = build(engine, {encoded(good.get()), bag});
    const auto work = [&](bool is_bad) {
        const Party& end = is_bad ? *bad : *good;
        for (int round = 0; round < 10; ++round) {
            EXPECT_EQ(stamp_verdict(build(engine, {encoded(&end), bag})),
                      is_bad ? CRYPT_E_REVOKED : 0u);
            EXPECT_EQ(stamp_verdict(shared, ticks_at(round - 5)), 0u);
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 6; ++i) {
        threads.emplace_back(work, i % 2 == 1);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_LE(server_.requests(), 1 + threads.size()) << "one at first, then from the cache";
}

TEST_F(ChainFetchTest, CacheOnlyFlagsKeepOffTheNetwork) {
    const auto stamper = make_party({"stamper", middle_.get(), kStamper + sources()});
    const Given given{encoded(stamper.get()), {encoded(middle_.get())}};
    for (const DWORD flag :
         {CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL, CERT_CHAIN_REVOCATION_CHECK_CACHE_ONLY}) {
        const ChainReference chain = build(make_engine(setting_), given, flag);
        EXPECT_EQ(stamp_verdict(chain), CRYPT_E_REVOCATION_OFFLINE);
        const ChainReference without_issuer =
            build(make_engine(setting_), {encoded(stamper.get())}, flag);
        EXPECT_EQ(stamp_verdict(without_issuer), CERT_E_CHAINING);
    }
    EXPECT_EQ(server_.requests(), 0u);
}

TEST_F(ChainFetchTest, NoMoreThanTwoPathsGoToTheNetworkUnlessTheyAreRevoked) {
    // Seven certificates of one authority, each with an address of its own that doesn't answer.
    constexpr int kHold = 6;
    std::vector<std::unique_ptr<Party>> twins;
    std::vector<ListEntry> holds;
    Given given;
    for (int i = 0; i < 7; ++i) {
        twins.push_back(
            make_twin(*middle_, {"middle", root_.get(),
                                 std::string(kAuthority) + "\ncrlDistributionPoints=URI:" +
                                     server_.url("/none" + std::to_string(i))}));
        given.bag.push_back(encoded(twins.back().get()));
        holds.push_back({twins.back().get(), -10, kHold});
    }
    const auto stamper = make_party({"stamper", middle_.get(), kStamper});
    given.end = encoded(stamper.get());
    EXPECT_EQ(stamp_verdict(setting_, given), CRYPT_E_REVOCATION_OFFLINE);
    EXPECT_EQ(server_.requests(), 2u);
    given.lists = {make_list({root_.get(), -2, 100, holds})};
    EXPECT_EQ(stamp_verdict(setting_, given), CRYPT_E_REVOCATION_OFFLINE)
        << "the last one may have been lifted";
    EXPECT_EQ(server_.requests(), 2u + 6u) << "what is on hold gives back its turn";
    given.bag.pop_back();
    EXPECT_EQ(stamp_verdict(setting_, given), CRYPT_E_REVOKED);
}

// Another authority has certified the middle's key once; its list is gone, and there are two ways
// up through it, which are tried first.
TEST_F(ChainFetchTest, AListThatIsGoneTakesNoMoreThanOneTurn) {
    const auto with_list = [&](const char* path) {
        return std::string(kAuthority) + "\ncrlDistributionPoints=URI:" + server_.url(path);
    };
    const auto listed = make_twin(*middle_, {"middle", root_.get(), with_list("/list")});
    const auto side = make_party({"side", root_.get(), kAuthority});
    const auto again = make_twin(*side, {"side", root_.get(), kAuthority});
    std::unique_ptr<Party> dead;
    do {
        dead = make_twin(*middle_, {"middle", side.get(), with_list("/gone")});
    } while (digest_of(*listed) < digest_of(*dead));
    const auto stamper = make_party({"stamper", middle_.get(), kStamper});
    server_.serve("/list", {make_list({root_.get(), -1, 100})});
    const Given given{encoded(stamper.get()),
                      encoded_all({listed.get(), side.get(), again.get(), dead.get()}),
                      {make_list({middle_.get(), -1, 100})}};
    EXPECT_EQ(stamp_verdict(setting_, given), 0U);
    EXPECT_EQ(server_.requests(), 2U);
}

// Whoever has an authority's key in his hands chooses the sources below it.
TEST_F(ChainFetchTest, WhoIsAboveIsAskedFirst) {
    constexpr int kCompromised = 1;
    const auto authority = make_party(
        {"authority", root_.get(),
         std::string(kAuthority) + "\ncrlDistributionPoints=URI:" + server_.url("/root")});
    const auto stamper = stamper_with_list(authority.get(), "/own");
    server_.serve("/root",
                  {make_list({root_.get(), -1, 100, {{authority.get(), -10, kCompromised}}})});
    setting_.revocation = BASALT_REVOCATION_AVAILABLE;
    EXPECT_EQ(stamp_verdict(setting_, {encoded(stamper.get()), {encoded(authority.get())}}),
              CRYPT_E_REVOKED);
    EXPECT_EQ(server_.requests(), 1U) << "nobody's own servers were asked";
}

// Whoever is above a certificate that turns out to be superseded hasn't been asked for that.
TEST_F(ChainFetchTest, AWayThatIsRevokedAsksNobodyInVainForAnother) {
    constexpr int kSuperseded = 4;
    const auto names = [&](const char* path) {
        return std::string("\ncrlDistributionPoints=URI:") + server_.url(path);
    };
    for (const bool comes_first : {true, false}) {
        server_.forget();
        const auto upper = make_party({"upper", root_.get(), kAuthority + names("/root")});
        const auto lower = make_party({"lower", upper.get(), kAuthority + names("/upper")});
        std::unique_ptr<Party> superseded;
        do {
            superseded = make_twin(*lower, {"lower", upper.get(), kAuthority + names("/upper")});
        } while ((digest_of(*superseded) < digest_of(*lower)) != comes_first);
        const auto stamper =
            make_party({"stamper", lower.get(), kStamper + names("/lower").substr(1)});
        server_.serve("/root", {make_list({root_.get(), -1, 100})});
        server_.serve("/upper",
                      {make_list({upper.get(), -1, 100, {{superseded.get(), -10, kSuperseded}}})});
        server_.serve("/lower", {make_list({lower.get(), -1, 100})});
        EXPECT_EQ(
            stamp_verdict(setting_, {encoded(stamper.get()),
                                     encoded_all({lower.get(), superseded.get(), upper.get()})}),
            0U)
            << comes_first;
    }
}

// Three certificates of the authority's key with one address for the root's list.
class LikeKeyedFetchTest : public ChainFetchTest {
protected:
    LikeKeyedFetchTest() {
        const std::string address = "\ncrlDistributionPoints=URI:" + server_.url("/list");
        for (int i = 0; i < 3; ++i) {
            twins_.push_back(make_twin(*middle_, {"middle", root_.get(), kAuthority + address}));
            bag_.push_back(encoded(twins_.back().get()));
        }
        stamper_ = make_party({"stamper", middle_.get(), kStamper});
    }

    // With what the server has, with what it left in the cache, and with the same list given.
    std::vector<DWORD> verdicts(const std::vector<ListEntry>& revoked) {
        server_.forget();
        const std::string list = make_list({root_.get(), -1, 100, revoked});
        server_.serve("/list", {list});
        const Given given{encoded(stamper_.get()), bag_};
        std::vector<DWORD> all{stamp_verdict(setting_, given)};
        Setting offline = setting_;
        offline.flags = CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL;
        all.push_back(stamp_verdict(offline, given));
        server_.forget();
        all.push_back(stamp_verdict(offline, {given.end, bag_, {list}}));
        return all;
    }

    // Those whose lists don't tell that they are good tell the reason.
    std::vector<std::string> twins_of_which_is_good(std::size_t count, std::size_t good,
                                                    int reason = reason::kSuperseded) {
        std::vector<std::string> bag;
        for (std::size_t i = 0; i < count; ++i) {
            const std::string address = "/list" + std::to_string(i);
            const auto twin =
                make_twin(*middle_, {"middle", root_.get(),
                                     std::string(kAuthority) +
                                         "\ncrlDistributionPoints=URI:" + server_.url(address)});
            bag.push_back(encoded(twin.get()));
            ListSpec list{.signer = root_.get(),
                          .made = -1,
                          .next = 100,
                          .extensions = "issuingDistributionPoint=critical,@p\n[p]\n"
                                        "fullname=URI:" +
                                        server_.url(address)};
            if (i != good) {
                list.entries = {{twin.get(), -10, reason}};
            }
            server_.serve(address, {make_list(list)});
        }
        return bag;
    }

    std::vector<std::unique_ptr<Party>> twins_;
    std::vector<std::string> bag_;
    std::unique_ptr<Party> stamper_;
};

TEST_F(LikeKeyedFetchTest, WhatIsFetchedForOneTellsOfTheOthers) {
    constexpr int kCompromised = 1;
    constexpr int kSuperseded = 4;
    for (std::size_t i = 0; i < twins_.size(); ++i) {
        SCOPED_TRACE(i);
        const std::size_t before = server_.requests();
        EXPECT_EQ(verdicts({{twins_[i].get(), -10, kCompromised}}),
                  std::vector<DWORD>(3, CRYPT_E_REVOKED));
        std::vector<ListEntry> all_but_one;
        for (std::size_t other = 0; other < twins_.size(); ++other) {
            if (other != i) {
                all_but_one.push_back({twins_[other].get(), -10, kSuperseded});
            }
        }
        EXPECT_EQ(verdicts(all_but_one), std::vector<DWORD>(3, 0U));
        EXPECT_EQ(server_.requests() - before, 2U) << "one list each time";
    }
}

// Of each a list of its own, of which the others are out of scope.
TEST_F(LikeKeyedFetchTest, WhatTurnsOutToBeRevokedTakesNobodysTurn) {
    for (const int why : {reason::kSuperseded, reason::kCertificateHold}) {
        for (std::size_t good = 0; good < 3; ++good) {
            server_.forget();
            const Given given{encoded(stamper_.get()), twins_of_which_is_good(3, good, why)};
            EXPECT_EQ(stamp_verdict(setting_, given), 0U) << why << ' ' << good;
        }
    }
}

// Six are asked for; the seventh could be the good one.
TEST_F(LikeKeyedFetchTest, WhatWasNotAskedForIsNotRevoked) {
    const std::vector<std::string> bag = twins_of_which_is_good(7, 7);
    for (const DWORD mode : {BASALT_REVOCATION_AVAILABLE, BASALT_REVOCATION_REQUIRE}) {
        setting_.revocation = mode;
        const ChainReference chain = build(make_engine(setting_), {encoded(stamper_.get()), bag});
        for (int again = 0; again < 2; ++again) {
            EXPECT_NE(stamp_verdict(chain), 0U) << mode;
            EXPECT_NE(stamp_verdict(chain), CRYPT_E_REVOKED) << mode;
        }
        EXPECT_EQ(server_.requests(), mode == BASALT_REVOCATION_AVAILABLE ? 6U : 12U);
        for (const std::filesystem::path& cached : server_.cached()) {
            std::filesystem::remove(cached);
        }
    }
}

std::string bag_of(const std::vector<const Party*>& parties) {
    const OpensslOwner<PKCS7, PKCS7_free> message(PKCS7_new());
    PKCS7_set_type(message.get(), NID_pkcs7_signed);
    PKCS7_content_new(message.get(), NID_pkcs7_data);
    for (const Party* party : parties) {
        PKCS7_add_certificate(message.get(), party->certificate());
    }
    unsigned char* der = nullptr;
    const int size = i2d_PKCS7(message.get(), &der);
    std::string bytes(reinterpret_cast<char*>(der), static_cast<std::size_t>(size));
    OPENSSL_free(der);
    return bytes;
}

TEST_F(ChainFetchTest, MissingIssuersAreFetchedAndKeptOnceTheyAreFoundGood) {
    const auto decoy = make_party({"decoy", nullptr, kAuthority});
    for (const std::string& body : {encoded(middle_.get()), bag_of({decoy.get(), middle_.get()})}) {
        server_.forget();
        const std::size_t before = server_.requests();
        setting_.revocation = BASALT_REVOCATION_OFF;
        const auto stamper = make_party(
            {"stamper", middle_.get(),
             kStamper + ("authorityInfoAccess=caIssuers;URI:" + server_.url("/issuer"))});
        const Given given{encoded(stamper.get())};
        EXPECT_EQ(stamp_verdict(setting_, given), CERT_E_CHAINING);
        EXPECT_TRUE(server_.cached().empty());
        server_.serve("/issuer", {body});
        EXPECT_EQ(stamp_verdict(setting_, given), 0u);
        EXPECT_EQ(server_.requests() - before, 2u);
        EXPECT_EQ(stamp_verdict(setting_, given), 0u);
        EXPECT_EQ(server_.requests() - before, 2u) << "from the cache";
    }
}

// What a token lacks is asked for before anything is trusted, at addresses of its maker's choice.
TEST_F(ChainFetchTest, MissingIssuersAreNotAskedForInsideNorBehindAnUnknownRoot) {
    const auto issued = [&](const Party& issuer, const std::string& name) {
        return make_party({name, &issuer,
                           std::string(kAuthority) +
                               "\nauthorityKeyIdentifier=keyid:always\n"
                               "authorityInfoAccess=caIssuers;URI:" +
                               server_.url("/issuer")});
    };
    const auto rogue_root = make_party({"rogue root", nullptr, kAuthority});
    const auto rogue = issued(*rogue_root, "rogue");
    const auto renewed = issued(*rogue_root, "rogue root"); // self-issued, with another key
    const auto under = [&](const Party& issuer) {
        return make_party({"stamper", &issuer, kStamper + sources()});
    };
    const auto honest = under(*middle_);
    const auto of_rogue = under(*rogue);
    const auto of_renewed = under(*renewed);
    const struct {
        const char* what;
        const Party* end;
        std::vector<std::string> bag;
        IssuerReach reach;
        std::size_t requests;
    } cases[] = {
        {"inside", honest.get(), {}, IssuerReach::outside, 0},
        {"inside, allowed", honest.get(), {}, IssuerReach::anywhere, 1},
        {"nowhere", honest.get(), {}, IssuerReach::none, 0},
        {"no root", of_rogue.get(), {encoded(rogue.get())}, IssuerReach::outside, 0},
        {"a root", of_rogue.get(), encoded_all({rogue.get(), rogue_root.get()}),
         IssuerReach::anywhere, 0},
        {"one name twice", of_renewed.get(), {encoded(renewed.get())}, IssuerReach::anywhere, 1},
    };
    ChainSettings settings;
    const StoreReference anchors = store_of(setting_.anchors);
    settings.anchors = std::make_shared<const TrustAnchors>(anchors.get());
    settings.uses_system_stores = false;
    UsageQuestion usage;
    usage.is_time_stamp = true;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        settings.issuers = c.reach;
        const StoreReference store = store_of(c.bag);
        const CertificateReference end = context_of(encoded(c.end));
        SessionRequest request;
        request.end = CertificateRecord::of(end.get()).shared_item();
        request.additional = store.get();
        request.revocation = RevocationScope::all_but_anchor;
        const std::size_t before = server_.requests();
        EXPECT_FALSE(ChainSession(settings, std::move(request)).judge(ticks_at(0), usage).good());
        EXPECT_EQ(server_.requests() - before, c.requests);
    }
    EXPECT_EQ(ChainSettings().issuers, IssuerReach::outside) << "where nothing is configured";
}

// Who may sign lists hangs on the certificates that there are, and they come one after the other.
TEST_F(ChainFetchTest, WhatWasFoundWithoutAnIssuerIsLookedAtAgainWithHim) {
    constexpr int kCompromised = 1;
    constexpr int kSuperseded = 4;
    const auto superseded = make_twin(*middle_, {"middle", root_.get(), kAuthority});
    const std::string issuers = "\nauthorityInfoAccess=caIssuers;URI:" + server_.url("/middle");
    const auto sub = make_party({"sub", middle_.get(), kAuthority + issuers});
    const auto newer = make_party({"sub", middle_.get(), kAuthority});
    const auto stamper = make_party({"stamper", sub.get(), kStamper});
    const StoreReference anchors = store_of(setting_.anchors);
    server_.serve("/middle", {encoded(middle_.get())});
    for (const bool is_revoked : {true, false}) {
        std::vector<ListEntry> entries;
        if (is_revoked) {
            entries = {{stamper.get(), -10, kCompromised}};
        }
        // The older list speaks for the stamper where there is one.
        std::vector<std::string> lists{
            make_list({root_.get(), -1, 100, {{superseded.get(), -50, kSuperseded}}}),
            make_list({middle_.get(), -1, 100}), make_list({newer.get(), -1, 100, entries})};
        if (is_revoked) {
            lists.push_back(make_list({sub.get(), -72, 100}));
        }
        ChainSettings settings;
        settings.anchors = std::make_shared<const TrustAnchors>(anchors.get());
        settings.uses_system_stores = false;
        settings.issuers = IssuerReach::anywhere;
        settings.revocation = RevocationMode::require;
        settings.now = ticks_at(0);
        const StoreReference store =
            store_of(encoded_all({sub.get(), newer.get(), superseded.get()}), lists);
        const CertificateReference end = context_of(encoded(stamper.get()));
        SessionRequest request;
        request.end = CertificateRecord::of(end.get()).shared_item();
        request.additional = store.get();
        request.revocation = RevocationScope::all_but_anchor;
        UsageQuestion usage;
        usage.is_time_stamp = true;
        const Judgement judgement =
            ChainSession(settings, std::move(request)).judge(ticks_at(0), usage);
        EXPECT_EQ(judgement.good(), !is_revoked);
        EXPECT_EQ(judgement.elements.front().status->standing,
                  is_revoked ? Standing::revoked : Standing::good);
    }
}

TEST_F(ChainFetchTest, FetchingIssuersEndsAtFourAndAtAnUnknownRoot) {
    // Each certificate names the next one, for ever.
    std::vector<std::unique_ptr<Party>> line;
    line.push_back(make_party({"link0", nullptr, kAuthority}));
    for (int i = 1; i < 8; ++i) {
        line.push_back(
            make_party({"link" + std::to_string(i), line.back().get(),
                        std::string(kAuthority) + "\nauthorityInfoAccess=caIssuers;URI:" +
                            server_.url("/link" + std::to_string(i - 1))}));
        server_.serve("/link" + std::to_string(i - 1),
                      {encoded(line[static_cast<std::size_t>(i) - 1].get())});
    }
    setting_.revocation = BASALT_REVOCATION_OFF;
    EXPECT_NE(stamp_verdict(setting_, {encoded(line.back().get())}), 0u);
    EXPECT_EQ(server_.requests(), 4u);
    EXPECT_TRUE(server_.cached().empty());
    EXPECT_EQ(stamp_verdict(setting_, {encoded(line[2].get())}), CERT_E_UNTRUSTEDROOT);
    EXPECT_EQ(server_.requests(), 6u);
}

// A file may hold very many stamps, and whoever made it has chosen the addresses.
TEST_F(ChainFetchTest, FetchingTheIssuersOfOneFileEndsAtThirtyTwo) {
    ChainSettings settings;
    const StoreReference anchors = store_of(setting_.anchors);
    settings.anchors = std::make_shared<const TrustAnchors>(anchors.get());
    settings.uses_system_stores = false;
    settings.issuers = IssuerReach::anywhere;
    settings.fetching = std::make_shared<Fetching>();
    UsageQuestion usage;
    usage.is_time_stamp = true;
    const auto judged = [&](const Party& stamper) {
        const CertificateReference end = context_of(encoded(&stamper));
        SessionRequest request;
        request.end = CertificateRecord::of(end.get()).shared_item();
        return ChainSession(settings, std::move(request)).judge(ticks_at(0), usage);
    };
    for (int stamp = 0; stamp < 12; ++stamp) {
        std::string where = "authorityInfoAccess=";
        for (int i = 0; i < 4; ++i) {
            where += (i > 0 ? ",caIssuers;URI:" : "caIssuers;URI:") +
                     server_.url("/" + std::to_string(stamp) + "." + std::to_string(i));
        }
        const auto stamper = make_party({"stamper", middle_.get(), kStamper + where});
        EXPECT_EQ(judged(*stamper).cut_short, stamp >= 8) << stamp;
    }
    EXPECT_EQ(server_.requests(), 32u);
    // Nor is it told from their silence what is wrong where no time was left for them.
    settings.fetching = std::make_shared<Fetching>();
    settings.fetching->take_issuer_time(kFetchingTime);
    const auto stamper = make_party({"stamper", middle_.get(), kStamper + sources()});
    EXPECT_TRUE(judged(*stamper).cut_short);
    EXPECT_EQ(server_.requests(), 32u);
}

} // namespace
} // namespace basalt::test
