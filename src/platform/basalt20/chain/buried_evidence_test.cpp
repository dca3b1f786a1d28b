// What comes with a stamp can't hide what the machine and its user have of their own: neither their
// certificates nor a list that revokes. Where a search has to end early, nothing is called good,
// nor bad.
#include <basalt/chain/judged_chain.h>
#include <basalt/revocation/budget.h>

#include <algorithm>

namespace basalt::test {
namespace {

using PartyOwner = std::unique_ptr<Party>;

constexpr int kCompromised = 1;

class BuriedEvidenceTest : public ::testing::Test {
protected:
    BuriedEvidenceTest() {
        setting_.anchors = {encoded(root_.get())};
        setting_.revocation = BASALT_REVOCATION_REQUIRE;
        make_parties();
    }

    // The authority's digest is a large one, so that the search comes to it late.
    void make_parties() {
        do {
            CertificateSpec spec{"authority", root_.get(), kAuthority};
            spec.key = key_of_authority_.get();
            authority_ = make_party(spec);
        } while (digest_of(*authority_)[0] < 0xC0);
        rekeyed_ = make_party({"authority", root_.get(), kAuthority});
        stamper_ = make_party({"stamper", authority_.get(), kStamper});
    }

    // A hundred and twenty of their signatures use up what there is for what came along.
    void make_parties_with_dear_keys() {
        key_of_authority_.reset(EVP_EC_gen("P-384"));
        CertificateSpec spec{"root", nullptr, kAuthority};
        spec.key = key_of_authority_.get();
        root_ = make_party(spec);
        setting_.anchors = {encoded(root_.get())};
        make_parties();
    }

    // With a good list of the root, and one of the authority that was made before the user's own.
    Given given(const std::vector<std::string>& certificates) const {
        Given given{encoded(stamper_.get()),
                    certificates,
                    {make_list({root_.get(), -1, 100}), make_list({authority_.get(), -3, 100})}};
        return given;
    }

    // The user has a list by the authority's other key that revokes the stamper.
    void own_the_revocation(bool with_its_signer) {
        setting_.own_lists = {
            make_list({rekeyed_.get(), -1, 100, {{stamper_.get(), -10, kCompromised}}})};
        setting_.own.clear();
        if (with_its_signer) {
            setting_.own = {encoded(rekeyed_.get())};
        }
    }

    // The authority's key, certified by somebody of that name, and tried before the authority.
    PartyOwner twin_of_authority(const Party& issuer) const {
        PartyOwner twin;
        do {
            twin = make_twin(*authority_, {"authority", &issuer, kAuthority});
        } while (digest_of(*twin) > digest_of(*authority_));
        return twin;
    }

    // Certificates of that name with keys whose signatures cost fourteen each, and others that cost
    // one.
    static std::vector<std::string> namesakes(const std::string& name, int dear, int cheap) {
        std::vector<std::string> all;
        for (int i = 0; i < dear + cheap; ++i) {
            const EvpKey key(EVP_EC_gen(i < dear ? "P-384" : "P-256"));
            CertificateSpec spec{name, nullptr, kAuthority};
            spec.key = key.get();
            all.push_back(encoded(make_party(spec).get()));
        }
        return all;
    }

    static std::vector<std::string> joined(std::vector<std::string> a,
                                           const std::vector<std::string>& b) {
        a.insert(a.end(), b.begin(), b.end());
        return a;
    }

    Setting setting_;
    PartyOwner root_ = make_party({"root", nullptr, kAuthority});
    EvpKey key_of_authority_; // null: a new one
    PartyOwner authority_;
    PartyOwner rekeyed_;
    PartyOwner stamper_;
};

TEST_F(BuriedEvidenceTest, JunkDoesNotUseUpWhatOnesOwnListNeeds) {
    for (int cheap = 16; cheap < 19; ++cheap) {
        SCOPED_TRACE(cheap);
        make_parties(); // what is known of the chains of one turn mustn't serve the next
        own_the_revocation(true);
        const PartyOwner nobody = make_party({"nobody", nullptr, kAuthority});
        const PartyOwner twin = twin_of_authority(*nobody);
        const std::vector<std::string> bag = joined(
            {encoded(authority_.get()), encoded(twin.get())}, namesakes("nobody", 70, cheap));
        // Two signatures go before these, and the way up through the authority needs one behind.
        const DWORD expected = cheap < 18 ? CRYPT_E_REVOKED : TRUST_E_SYSTEM_ERROR;
        EXPECT_EQ(stamp_verdict(setting_, given(bag)), expected);
        Given without_older = given(bag);
        without_older.lists.pop_back();
        for (const DWORD mode : {BASALT_REVOCATION_REQUIRE, BASALT_REVOCATION_AVAILABLE}) {
            Setting setting = setting_;
            setting.revocation = mode;
            EXPECT_EQ(stamp_verdict(setting, without_older), expected);
        }
        setting_.own.push_back(encoded(authority_.get()));
        EXPECT_EQ(stamp_verdict(setting_, given(bag)), CRYPT_E_REVOKED);
    }
}

TEST_F(BuriedEvidenceTest, ListSignersAreFoundAmongNamesakesWhateverTheirOrder) {
    const std::string list_extensions = "authorityKeyIdentifier=keyid:always";
    for (const bool names_its_key : {true, false}) {
        for (const bool with_its_signer : {true, false}) {
            SCOPED_TRACE(testing::Message() << names_its_key << with_its_signer);
            own_the_revocation(with_its_signer);
            if (names_its_key) {
                setting_.own_lists = {make_list({.signer = rekeyed_.get(),
                                                 .made = -1,
                                                 .next = 100,
                                                 .entries = {{stamper_.get(), -10, kCompromised}},
                                                 .extensions = list_extensions})};
            }
            std::vector<std::string> bag =
                joined({encoded(authority_.get()), encoded(rekeyed_.get())},
                       namesakes("authority", 0, 140));
            setting_.own.push_back(encoded(authority_.get()));
            for (int turn = 0; turn < 4; ++turn) {
                std::rotate(bag.begin(), bag.begin() + 40, bag.end());
                const DWORD verdict = stamp_verdict(setting_, given(bag));
                if (with_its_signer || names_its_key) {
                    EXPECT_EQ(verdict, CRYPT_E_REVOKED);
                } else {
                    EXPECT_TRUE(verdict == CRYPT_E_REVOKED || verdict == TRUST_E_SYSTEM_ERROR)
                        << verdict;
                }
            }
        }
    }
    own_the_revocation(false);
    EXPECT_EQ(stamp_verdict(setting_, given({encoded(authority_.get())})), 0u)
        << "a list whose signer is nowhere says nothing";
    EXPECT_EQ(stamp_verdict(setting_, given(joined({encoded(authority_.get())},
                                                   namesakes("authority", 0, 140)))),
              TRUST_E_SYSTEM_ERROR)
        << "nobody has looked whether its signer is among them";
}

// Forged lists about the signer of one's own list, or by its name.
TEST_F(BuriedEvidenceTest, ForgedListsDoNotSilenceOnesOwn) {
    make_parties_with_dear_keys();
    const PartyOwner forged_root = make_party({"root", nullptr, kAuthority});
    const PartyOwner forged_authority = make_party({"authority", nullptr, kAuthority});
    for (const Party* forger : {forged_root.get(), forged_authority.get()}) {
        Given about = given({encoded(authority_.get())});
        for (int i = 0; i < 170; ++i) {
            about.lists.push_back(make_list({forger, -10 - i, 100}));
        }
        for (const bool forged_first : {false, true}) {
            if (forged_first) {
                std::reverse(about.lists.begin(), about.lists.end());
            }
            own_the_revocation(true);
            EXPECT_NE(stamp_verdict(setting_, about), 0u);
            setting_.own_lists.push_back(make_list({root_.get(), -1, 100}));
            EXPECT_EQ(stamp_verdict(setting_, about), CRYPT_E_REVOKED) << forger->name;
            setting_.own_lists = {make_list({rekeyed_.get(), -1, 100}),
                                  make_list({root_.get(), -1, 100})};
            EXPECT_EQ(stamp_verdict(setting_, about), TRUST_E_SYSTEM_ERROR) << forger->name;
        }
    }
}

TEST_F(BuriedEvidenceTest, OnesOwnCertificatesGoBeforeWhatCameAlong) {
    const PartyOwner nobody = make_party({"nobody", nullptr, kAuthority});
    std::vector<std::string> junk;
    while (junk.size() < 101) { // a hundred are looked at
        // Whoever issued itself would come last.
        std::string one = encoded(make_party({"authority", nobody.get(), kAuthority}).get());
        if (sha256(bytes_of(one)) < digest_of(*authority_)) {
            junk.push_back(std::move(one));
        }
    }
    EXPECT_EQ(stamp_verdict(setting_, given(joined(junk, {encoded(authority_.get())}))),
              TRUST_E_SYSTEM_ERROR)
        << "nobody's signature was found to be bad";
    setting_.own = {encoded(authority_.get())};
    EXPECT_EQ(stamp_verdict(setting_, given(junk)), 0u);
}

// Of two certificates of the authority's key one was given up; junk hides the other.
TEST_F(BuriedEvidenceTest, AWayUpThatJunkHidesIsNotTakenForRevoked) {
    constexpr int kSuperseded = 4;
    PartyOwner given_up;
    do {
        given_up = twin_of_authority(*root_);
    } while (digest_of(*given_up)[0] >= 0x20);
    const PartyOwner nobody = make_party({"nobody", nullptr, kAuthority});
    std::vector<std::string> junk;
    while (junk.size() < 101) {
        std::string one = encoded(make_party({"authority", nobody.get(), kAuthority}).get());
        const Sha256 digest = sha256(bytes_of(one));
        if (digest_of(*given_up) < digest && digest < digest_of(*authority_)) {
            junk.push_back(std::move(one));
        }
    }
    const std::vector<std::string> honest{encoded(given_up.get()), encoded(authority_.get())};
    Given about = given(honest);
    about.lists[0] = make_list({root_.get(), -1, 100, {{given_up.get(), -10, kSuperseded}}});
    EXPECT_EQ(stamp_verdict(setting_, about), 0U);
    about.bag = joined(honest, junk);
    const ChainReference chain = build(make_engine(setting_), about);
    EXPECT_EQ(stamp_verdict(chain), TRUST_E_SYSTEM_ERROR);
    EXPECT_EQ(chain->TrustStatus.dwErrorStatus & CERT_TRUST_IS_REVOKED, 0U);
    // The signer's own end stands, whatever is hidden.
    about.lists[1] = make_list({authority_.get(), -1, 100, {{stamper_.get(), -10, kSuperseded}}});
    EXPECT_EQ(stamp_verdict(setting_, about), CRYPT_E_REVOKED);
    // Of two anchors the other one may be the honest way's.
    Setting both = setting_;
    both.anchors.push_back(encoded(make_party({"other root", nullptr, kAuthority}).get()));
    EXPECT_EQ(stamp_verdict(both, about), TRUST_E_SYSTEM_ERROR);
    about.lists.pop_back();
    about.lists.push_back(make_list({authority_.get(), -1, 100}));
    setting_.own = {encoded(authority_.get())};
    EXPECT_EQ(stamp_verdict(setting_, about), 0U);
}

// More lists than are looked at; what they say, and not where they lie, decides which are.
TEST_F(BuriedEvidenceTest, TheOrderOfForgedListsDoesNotShow) {
    const PartyOwner forger = make_party({"authority", nullptr, kAuthority});
    const std::string good = make_list({authority_.get(), -3, 100});
    const std::string revoking =
        make_list({authority_.get(), -1, 100, {{stamper_.get(), -10, kCompromised}}});
    const struct {
        std::vector<std::string> honest;
        DWORD expected;
    } cases[] = {{{revoking}, CRYPT_E_REVOKED},
                 {{good, revoking}, CRYPT_E_REVOKED},
                 {{good}, TRUST_E_SYSTEM_ERROR}};
    std::vector<std::string> forged;
    const int most = static_cast<int>(BudgetLimits{}.given_evidence_signatures);
    for (int i = 0; i < most; ++i) {
        forged.push_back(make_list({forger.get(), -10 - i, 100}));
    }
    for (const auto& c : cases) {
        Given about = given({encoded(authority_.get())});
        about.lists = joined({make_list({root_.get(), -1, 100})}, joined(c.honest, forged));
        EXPECT_EQ(stamp_verdict(setting_, about), c.expected);
        std::reverse(about.lists.begin(), about.lists.end());
        EXPECT_EQ(stamp_verdict(setting_, about), c.expected) << "in another order";
    }
}

// One of the certificates of the authority's key was revoked, and more of them lie in the bag than
// are looked at.
TEST_F(BuriedEvidenceTest, OneOfVeryManyCertificatesOfAKeyTellsOfTheKey) {
    for (const int count : {5, 40, 120}) {
        std::vector<PartyOwner> twins;
        for (int i = 0; i < count; ++i) {
            twins.push_back(make_twin(*authority_, {"authority", root_.get(), kAuthority}));
        }
        std::sort(twins.begin(), twins.end(), [](const PartyOwner& a, const PartyOwner& b) {
            return digest_of(*a) < digest_of(*b);
        });
        std::vector<std::string> bag;
        for (const PartyOwner& twin : twins) {
            bag.push_back(encoded(twin.get()));
        }
        for (const Party* revoked : {twins.front().get(), twins.back().get()}) {
            const Given about{encoded(stamper_.get()),
                              bag,
                              {make_list({root_.get(), -1, 100, {{revoked, -10, kCompromised}}}),
                               make_list({authority_.get(), -1, 100})}};
            const bool is_buried = count > 100 && revoked == twins.back().get();
            EXPECT_EQ(stamp_verdict(setting_, about),
                      is_buried ? TRUST_E_SYSTEM_ERROR : CRYPT_E_REVOKED)
                << count;
            Setting with_own = setting_;
            with_own.own = {encoded(revoked)};
            EXPECT_EQ(stamp_verdict(with_own, about), CRYPT_E_REVOKED) << count;
        }
    }
}

} // namespace
} // namespace basalt::test
