// What is said of a key counts for all of its certificates under that anchor: whichever of them it
// was said of, whatever is wrong with that one, and as long as whoever says it may.
#include <basalt/chain/judged_chain.h>

#include <openssl/core_names.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

namespace basalt::test {
namespace {

using PartyOwner = std::unique_ptr<Party>;

constexpr int kCompromised = 1;
constexpr int kSuperseded = 4;
constexpr int kHour = 1;
constexpr int kLong = 10'000;

// Another certificate of a key.
struct Twin {
    const Party* issuer;
    std::string extensions{kAuthority};
    int begin = -kLong;
    int end = kLong;
    std::string name{"middle"};
};

class KeyHearingTest : public ::testing::Test {
protected:
    KeyHearingTest() {
        setting_.anchors = {encoded(root_.get())};
        setting_.revocation = BASALT_REVOCATION_REQUIRE;
    }

    static PartyOwner twin_of(const Party& party, const Twin& twin) {
        return make_twin(party, {twin.name, twin.issuer, twin.extensions, twin.begin, twin.end});
    }

    static std::string usages_of_responder(bool unasked) {
        return std::string("keyUsage=digitalSignature\nextendedKeyUsage=OCSPSigning\n") +
               (unasked ? "noCheck=ignored" : "");
    }

    // Good without a reason.
    static std::string answer_by(const Party* signer, const Party* certificate, const Party* issuer,
                                 int reason = -1) {
        return make_answer(
            {signer,
             {{.certificate = certificate,
               .issuer = issuer,
               .status = reason < 0 ? V_OCSP_CERTSTATUS_GOOD : V_OCSP_CERTSTATUS_REVOKED,
               .made = -1,
               .next = 100,
               .since = -10,
               .reason = reason}}});
    }

    // The honest chain with what lies beside it; in whatever place the certificates lie.
    DWORD verdict_with(const std::vector<const Party*>& beside, std::vector<std::string> lists) {
        lists.push_back(make_list({middle_.get(), -1, 100}));
        Given given{encoded(stamper_.get()), {encoded(middle_.get())}, lists};
        for (const Party* party : beside) {
            given.bag.push_back(encoded(party));
        }
        const DWORD verdict = stamp_verdict(setting_, given);
        std::reverse(given.bag.begin(), given.bag.end());
        std::reverse(given.lists.begin(), given.lists.end());
        EXPECT_EQ(stamp_verdict(setting_, given), verdict) << "in another order";
        Setting with_own = setting_;
        with_own.own = given.bag;
        EXPECT_EQ(stamp_verdict(with_own, {given.end, {}, given.lists}), verdict) << "of one's own";
        return verdict;
    }

    PartyOwner root_ = make_party({"root", nullptr, kAuthority});
    PartyOwner middle_ = make_party({"middle", root_.get(), kAuthority});
    PartyOwner stamper_ = make_party({"stamper", middle_.get(), kStamper});
    Setting setting_;
};

TEST_F(KeyHearingTest, ItIsHeardWhateverIsWrongWithTheCertificateItself) {
    const struct {
        const char* what;
        Twin twin;
    } cases[] = {
        {"nothing", {root_.get()}},
        {"ended before the stamp", {root_.get(), kAuthority, -kLong, -500}},
        {"begins after the stamp", {root_.get(), kAuthority, 500, kLong}},
        {"for other uses",
         {root_.get(), std::string(kAuthority) + "\nextendedKeyUsage=serverAuth"}},
        {"no authority", {root_.get(), "basicConstraints=critical,CA:FALSE"}},
        {"an extension nobody knows",
         {root_.get(), kAuthority + std::string("\n1.2.3=critical,DER:0500")}},
        {"another name", {root_.get(), kAuthority, -kLong, kLong, "muddle"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const PartyOwner twin = twin_of(*middle_, c.twin);
        for (const int reason : {kCompromised, kSuperseded}) {
            EXPECT_EQ(
                verdict_with({twin.get()},
                             {make_list({root_.get(), -1, 100, {{twin.get(), -10, reason}}})}),
                reason == kCompromised ? CRYPT_E_REVOKED : 0U)
                << reason;
        }
    }
    const PartyOwner impostor = make_party({"root", nullptr, kAuthority});
    const PartyOwner forged = twin_of(*middle_, {impostor.get()});
    EXPECT_EQ(
        verdict_with({forged.get(), impostor.get()},
                     {make_list({root_.get(), -1, 100}),
                      make_list({impostor.get(), -1, 100, {{forged.get(), -10, kCompromised}}})}),
        0U)
        << "by nobody under the anchor";
}

// By whoever is entitled to name the authority, too: not by one for other uses.
TEST_F(KeyHearingTest, ListsByAnotherKeyCountForTheUseThatIsAsked) {
    constexpr auto kOffline = CRYPT_E_REVOCATION_OFFLINE;
    const struct {
        const char* usages;
        DWORD revoking, good;
    } cases[] = {{"", CRYPT_E_REVOKED, 0},
                 {"\nextendedKeyUsage=timeStamping,serverAuth", CRYPT_E_REVOKED, 0},
                 {"\nextendedKeyUsage=critical,serverAuth", 0, kOffline},
                 {"\nextendedKeyUsage=codeSigning", 0, kOffline}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.usages);
        const PartyOwner side =
            make_party({"side", root_.get(), kAuthority + std::string(c.usages)});
        const PartyOwner namesake = make_party({"middle", side.get(), kAuthority});
        const std::string of_root = make_list({root_.get(), -1, 100});
        const std::string of_side = make_list({side.get(), -1, 100});
        const std::string good = make_list({namesake.get(), -1, 100});
        const std::string revoking =
            make_list({namesake.get(), -1, 100, {{stamper_.get(), -10, kCompromised}}});
        EXPECT_EQ(verdict_with({side.get(), namesake.get()}, {of_root, of_side, revoking}),
                  c.revoking);
        CertificateSpec alone{"middle", root_.get(), kAuthority + std::string(c.usages)};
        const PartyOwner for_itself = make_party(alone);
        const Given by_itself{encoded(stamper_.get()),
                              {encoded(middle_.get()), encoded(for_itself.get())},
                              {of_root, make_list({for_itself.get(), -1, 100})}};
        EXPECT_EQ(stamp_verdict(setting_, by_itself), c.good);
        const Given without_own{
            encoded(stamper_.get()),
            {encoded(middle_.get()), encoded(side.get()), encoded(namesake.get())},
            {of_root, of_side, good}};
        EXPECT_EQ(stamp_verdict(setting_, without_own), c.good);
    }
}

TEST_F(KeyHearingTest, AKeyIsTheSameHoweverItsPointIsWritten) {
    const PartyOwner other = make_party({"other", root_.get(), kAuthority});
    for (const Party* owner : {middle_.get(), other.get()}) {
        const EvpKey key(EVP_PKEY_dup(owner->private_key.get()));
        for (const char* form : {"compressed", "hybrid"}) {
            EVP_PKEY_set_utf8_string_param(key.get(), OSSL_PKEY_PARAM_EC_POINT_CONVERSION_FORMAT,
                                           form);
            CertificateSpec spec{"middle", root_.get(), kAuthority};
            spec.key = key.get();
            const PartyOwner twin = make_party(spec);
            EXPECT_EQ(verdict_with(
                          {twin.get()},
                          {make_list({root_.get(), -1, 100, {{twin.get(), -10, kCompromised}}})}),
                      owner == middle_.get() ? CRYPT_E_REVOKED : 0U)
                << form;
        }
    }
}

TEST_F(KeyHearingTest, WhoeverSaysItMustBeEntitled) {
    const std::string elsewhere =
        std::string(kAuthority) +
        "\nnameConstraints=critical,permitted;dirName:names\n[names]\nCN=elsewhere\n";
    const struct {
        const char* what;
        CertificateSpec speaker;
        int made; // the list
        bool revoked;
        bool is_heard;
    } cases[] = {
        {"may issue stampers", {"side", root_.get(), kAuthority}, -1, false, true},
        {"for other uses",
         {"side", root_.get(), kAuthority + std::string("\nextendedKeyUsage=serverAuth")},
         -1,
         false,
         false},
        {"for other names", {"side", root_.get(), elsewhere}, -1, false, false},
        {"no authority",
         {"side", root_.get(), "basicConstraints=critical,CA:FALSE"},
         -1,
         false,
         false},
        {"revoked itself", {"side", root_.get(), kAuthority}, -1, true, false},
        {"begins after the stamp", {"side", root_.get(), kAuthority, 20, kLong}, 30, false, true},
        {"ended when it was said",
         {"side", root_.get(), kAuthority, -kLong, -500},
         -1,
         false,
         false},
    };
    setting_.now = ticks_at(50);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const PartyOwner speaker = make_party(c.speaker);
        const PartyOwner twin = twin_of(*middle_, {speaker.get()});
        const std::vector<ListEntry> of_speaker =
            c.revoked ? std::vector<ListEntry>{{speaker.get(), -20, kCompromised}}
                      : std::vector<ListEntry>{};
        EXPECT_EQ(verdict_with(
                      {twin.get(), speaker.get()},
                      {make_list({root_.get(), -1, 100, of_speaker}),
                       make_list({speaker.get(), c.made, 100, {{twin.get(), -10, kCompromised}}})}),
                  c.is_heard ? CRYPT_E_REVOKED : 0U);
    }
}

// An older list with another reason, or a good one, doesn't outdo it.
TEST_F(KeyHearingTest, OneStatementAmongSeveralIsEnough) {
    const PartyOwner twin = twin_of(*middle_, {root_.get(), kAuthority, -kLong, -500});
    const std::string told = make_list({root_.get(), -1, 100, {{twin.get(), -10, kCompromised}}});
    EXPECT_EQ(
        verdict_with(
            {twin.get()},
            {told, make_list({root_.get(), -2 * kHour, 90, {{twin.get(), -600, kSuperseded}}})}),
        CRYPT_E_REVOKED);
    setting_.own_lists = {make_list({root_.get(), -2, 90})};
    EXPECT_EQ(verdict_with({twin.get()}, {told}), CRYPT_E_REVOKED);
    setting_.now = ticks_at(-300);
    setting_.own_lists = {make_list({root_.get(), -400, 90})};
    EXPECT_EQ(verdict_with({twin.get()}, {make_list({middle_.get(), -400, 100}), told}), 0U)
        << "not known by then";
}

TEST_F(KeyHearingTest, AnotherCertificateOfTheSignersKeyTellsOfIt) {
    const PartyOwner twin = twin_of(*stamper_, {middle_.get(), kStamper, -kLong, -500, "stamper"});
    for (const int reason : {kCompromised, kSuperseded}) {
        EXPECT_EQ(verdict_with({twin.get()},
                               {make_list({root_.get(), -1, 100}),
                                make_list({middle_.get(), -1, 100, {{twin.get(), -10, reason}}})}),
                  reason == kCompromised ? CRYPT_E_REVOKED : 0U);
    }
}

// A responder's or a list signer's: what their keys sign is worth nothing, by whichever
// certificate.
TEST_F(KeyHearingTest, WhoSpeaksOfOthersHasAKeyToo) {
    for (const bool unasked : {false, true}) { // whether the responder's status needn't be asked
        for (const int reason : {kCompromised, kSuperseded}) {
            SCOPED_TRACE(testing::Message() << unasked << reason);
            const std::string usages = usages_of_responder(unasked);
            const PartyOwner former = make_party({"responder", middle_.get(), usages});
            const PartyOwner present =
                twin_of(*former, {middle_.get(), usages, -kLong, kLong, "responder"});
            const std::string of_root = make_list({root_.get(), -1, 100});
            const auto verdict_by = [&](const Party* responder, const Party* told) {
                Given given{encoded(stamper_.get()), {encoded(middle_.get())}, {of_root}};
                if (responder != told) { // else it comes with the answer alone
                    given.bag.push_back(encoded(told));
                }
                given.answers = {answer_by(responder, stamper_.get(), middle_.get()),
                                 answer_by(middle_.get(), told, middle_.get(), reason)};
                return stamp_verdict(setting_, given);
            };
            const bool counts = reason == kSuperseded;
            EXPECT_EQ(verdict_by(present.get(), former.get()),
                      counts ? 0U : CRYPT_E_REVOCATION_OFFLINE);
            EXPECT_EQ(verdict_by(former.get(), former.get()), CRYPT_E_REVOCATION_OFFLINE)
                << "it needn't be asked about, but this is known of it";
        }
    }
    const PartyOwner former = make_party({"middle", root_.get(), kAuthority});
    const PartyOwner present = twin_of(*former, {root_.get()});
    for (const int reason : {kCompromised, kSuperseded}) {
        EXPECT_EQ(stamp_verdict(setting_,
                                {encoded(stamper_.get()),
                                 encoded_all({middle_.get(), former.get(), present.get()}),
                                 {make_list({root_.get(), -1, 100, {{former.get(), -10, reason}}}),
                                  make_list({present.get(), -1, 100})}}),
                  reason == kSuperseded ? 0U : CRYPT_E_REVOCATION_OFFLINE);
    }
}

// Whoever calls a key compromised may be the thief: what its owner has revoked stays open.
TEST_F(KeyHearingTest, WhatTheAccusedRevokedIsNotForgotten) {
    const PartyOwner other = make_party({"middle", root_.get(), kAuthority});
    const PartyOwner side = make_party({"side", root_.get(), kAuthority});
    const PartyOwner twin = twin_of(*other, {side.get()});
    const std::string revoking =
        make_list({other.get(), -1, 100, {{stamper_.get(), -10, kSuperseded}}});
    const std::string of_root = make_list({root_.get(), -1, 100});
    EXPECT_EQ(verdict_with({other.get()}, {of_root, revoking}), CRYPT_E_REVOKED);
    const std::string accusing =
        make_list({side.get(), -1, 100, {{twin.get(), -10, kCompromised}}});
    EXPECT_EQ(verdict_with({other.get(), side.get(), twin.get()}, {of_root, revoking, accusing}),
              CRYPT_E_NO_REVOCATION_CHECK);
    // Of whom the root itself says that he is revoked, nothing counts.
    EXPECT_EQ(verdict_with({other.get()},
                           {make_list({root_.get(), -1, 100, {{other.get(), -10, kCompromised}}}),
                            revoking}),
              0U);
}

// The revoked authority has certified the key of who has revoked it, and calls that compromised.
// What isn't foreign is believed against it; of the rest it is left open.
TEST_F(KeyHearingTest, NobodyClearsHimself) {
    for (const bool unasked : {false, true}) {
        const std::string usages = usages_of_responder(unasked);
        const PartyOwner responder = make_party({"responder", root_.get(), usages});
        const PartyOwner twin =
            twin_of(*responder, {middle_.get(), usages, -kLong, kLong, "responder"});
        const Given given{encoded(stamper_.get()),
                          encoded_all({middle_.get(), twin.get()}),
                          {make_list({root_.get(), -3, 100}),
                           make_list({middle_.get(), -1, 100, {{twin.get(), -10, kCompromised}}})},
                          {answer_by(responder.get(), middle_.get(), root_.get(), kCompromised)}};
        for (const DWORD mode : {BASALT_REVOCATION_REQUIRE, BASALT_REVOCATION_AVAILABLE}) {
            setting_.revocation = mode;
            setting_.own_answers = {};
            EXPECT_EQ(stamp_verdict(setting_, given), TRUST_E_SYSTEM_ERROR);
            setting_.own_answers = given.answers;
            EXPECT_EQ(stamp_verdict(setting_, given), CRYPT_E_REVOKED);
        }
    }
}

// A responder whose standing has to be asked calls itself good, by another certificate of its key.
TEST_F(KeyHearingTest, NobodyIsBelievedOfHimself) {
    const PartyOwner asked = make_party({"responder", middle_.get(), usages_of_responder(false)});
    const PartyOwner other = make_party({"other", middle_.get(), usages_of_responder(true)});
    const PartyOwner unasked =
        twin_of(*asked, {middle_.get(), usages_of_responder(true), -kLong, kLong, "responder"});
    for (const Party* about : {unasked.get(), other.get()}) {
        Given given{encoded(stamper_.get()),
                    {encoded(middle_.get())},
                    {make_list({root_.get(), -1, 100})},
                    {answer_by(asked.get(), stamper_.get(), middle_.get()),
                     answer_by(about, asked.get(), middle_.get())}};
        const DWORD expected = about == other.get() ? 0U : CRYPT_E_REVOCATION_OFFLINE;
        EXPECT_EQ(stamp_verdict(setting_, given), expected);
        setting_.own_answers = given.answers;
        EXPECT_EQ(stamp_verdict(setting_, {given.end, given.bag, given.lists}), expected);
        setting_.own_answers = {};
    }
}

TEST_F(KeyHearingTest, OneInTheUsersStoreTellsToo) {
    std::string folder = (std::filesystem::temp_directory_path() / "stores.XXXXXX").string();
    ASSERT_NE(mkdtemp(folder.data()), nullptr);
    setenv("BASALT_USER_STORES", folder.c_str(), 1);
    const PartyOwner twin = twin_of(*middle_, {root_.get()});
    const std::string der = encoded(twin.get());
    {
        const StoreReference store(
            CertOpenStore(CERT_STORE_PROV_SYSTEM_W, 0, 0, CERT_SYSTEM_STORE_CURRENT_USER, L"CA"));
        ASSERT_TRUE(CertAddEncodedCertificateToStore(
            store.get(), X509_ASN_ENCODING, reinterpret_cast<const BYTE*>(der.data()),
            static_cast<DWORD>(der.size()), CERT_STORE_ADD_ALWAYS, nullptr));
    }
    const StoreReference anchors = store_of(setting_.anchors);
    const FILETIME now = file_time_of(ticks_at(0));
    BASALT_CHAIN_ENGINE_CONFIG config{};
    config.Base.cbSize = sizeof config;
    config.Base.hExclusiveRoot = anchors.get();
    config.dwRevocationMode = BASALT_REVOCATION_REQUIRE;
    config.pNow = &now;
    HCERTCHAINENGINE engine = nullptr;
    ASSERT_TRUE(CertCreateCertificateChainEngine(&config.Base, &engine));
    const EngineReference held(engine);
    for (const int reason : {kCompromised, kSuperseded}) {
        EXPECT_EQ(stamp_verdict(
                      build(held, {encoded(stamper_.get()),
                                   {encoded(middle_.get())},
                                   {make_list({root_.get(), -1, 100, {{twin.get(), -10, reason}}}),
                                    make_list({middle_.get(), -1, 100})}})),
                  reason == kCompromised ? CRYPT_E_REVOKED : 0U);
    }
    unsetenv("BASALT_USER_STORES");
    std::filesystem::remove_all(folder);
}

// An authority that has renewed its certificate again and again, or under each of many roots.
TEST_F(KeyHearingTest, VeryManyCertificatesOfAKeyAreNoObstacle) {
    constexpr int kMany = 40;
    for (const bool cross_certified : {false, true}) {
        SCOPED_TRACE(cross_certified);
        std::vector<PartyOwner> roots;
        std::vector<PartyOwner> twins;
        std::vector<const Party*> beside;
        std::vector<std::string> lists{make_list({root_.get(), -1, 100})};
        for (int i = 0; i < kMany; ++i) {
            const Party* issuer = root_.get();
            if (cross_certified) {
                roots.push_back(make_party({"root" + std::to_string(i), nullptr, kAuthority}));
                issuer = roots.back().get();
                setting_.anchors.push_back(encoded(issuer));
                lists.push_back(make_list({issuer, -1, 100}));
            }
            twins.push_back(twin_of(*middle_, {issuer}));
            beside.push_back(twins.back().get());
        }
        EXPECT_EQ(verdict_with(beside, lists), 0U);
        if (cross_certified) {
            continue;
        }
        for (const Party* told : {beside.front(), beside[kMany / 2], beside.back()}) {
            EXPECT_EQ(verdict_with(
                          beside, {make_list({root_.get(), -1, 100, {{told, -10, kCompromised}}})}),
                      CRYPT_E_REVOKED);
        }
        // All but one were given up long before the stamp: of one's own as many are judged.
        std::vector<ListEntry> given_up;
        for (const Party* twin : beside) {
            given_up.push_back({twin, -100, kSuperseded});
        }
        Setting with_own = setting_;
        with_own.own = encoded_all(beside);
        EXPECT_EQ(stamp_verdict(with_own, {encoded(stamper_.get()),
                                           {encoded(middle_.get())},
                                           {make_list({root_.get(), -1, 100, given_up}),
                                            make_list({middle_.get(), -1, 100})}}),
                  0U);
    }
}

} // namespace
} // namespace basalt::test
