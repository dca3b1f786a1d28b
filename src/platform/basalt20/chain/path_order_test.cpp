// Where there is more than one way up, the good one is found, in whatever order the certificates
// lie in the bag.
#include <basalt/chain/judged_chain.h>

#include <algorithm>
#include <numeric>

namespace basalt::test {
namespace {

using Parties = std::vector<const Party*>;

// The verdicts of all orders of the bag; of large bags, of their rotations.
std::vector<DWORD> verdicts_of_all_orders(const Setting& setting, Given given) {
    std::vector<DWORD> verdicts;
    const auto add = [&] {
        const DWORD verdict = stamp_verdict(setting, given);
        if (std::find(verdicts.begin(), verdicts.end(), verdict) == verdicts.end()) {
            verdicts.push_back(verdict);
        }
    };
    std::sort(given.bag.begin(), given.bag.end());
    if (given.bag.size() <= 4) {
        do {
            add();
        } while (std::next_permutation(given.bag.begin(), given.bag.end()));
        return verdicts;
    }
    for (std::size_t i = 0; i < given.bag.size(); i += 1 + given.bag.size() / 8) {
        std::rotate(given.bag.begin(), given.bag.begin() + 1, given.bag.end());
        add();
    }
    return verdicts;
}

class PathOrderTest : public ::testing::Test {
protected:
    void expect(DWORD wanted, const Parties& anchors, const Party& end, const Parties& bag,
                const std::vector<std::string>& lists = {}) {
        Setting setting{encoded_all(anchors)};
        setting.revocation = lists.empty() ? BASALT_REVOCATION_OFF : BASALT_REVOCATION_REQUIRE;
        EXPECT_EQ(verdicts_of_all_orders(setting, {encoded(&end), encoded_all(bag), lists}),
                  std::vector<DWORD>{wanted});
    }

    std::unique_ptr<Party> root_ = make_party({"root", nullptr, kAuthority});
    std::unique_ptr<Party> other_root_ = make_party({"other root", nullptr, kAuthority});
    std::unique_ptr<Party> middle_ = make_party({"middle", root_.get(), kAuthority});
    std::unique_ptr<Party> stamper_ = make_party({"stamper", middle_.get(), kStamper});

    std::unique_ptr<Party> cross(const Party& issuer, const std::string& extensions = kAuthority) {
        return make_twin(*middle_, {"middle", &issuer, extensions});
    }
};

TEST_F(PathOrderTest, ACrossCertifiedMiddleLeadsToTheAnchorThatIsTrusted) {
    const auto crossed = cross(*other_root_);
    for (const Party* anchor : {root_.get(), other_root_.get()}) {
        expect(0, {anchor}, *stamper_, {middle_.get(), crossed.get(), root_.get()});
    }
}

TEST_F(PathOrderTest, AnOldRootBesideItsCrossCertificateLeadsToTheNewRoot) {
    const auto crossed = make_twin(*root_, {"root", other_root_.get(), kAuthority});
    expect(0, {other_root_.get()}, *stamper_, {middle_.get(), root_.get(), crossed.get()});
}

TEST_F(PathOrderTest, OfTwoKeysOfAnAuthorityWithoutIdentifiersTheOneThatSignedIsFound) {
    const auto root = make_party({"plain root", nullptr, kPlainAuthority});
    const auto old_key = make_party({"plain", root.get(), kPlainAuthority});
    const auto new_key = make_party({"plain", root.get(), kPlainAuthority});
    for (const Party* issuer : {old_key.get(), new_key.get()}) {
        const auto stamper = make_party({"stamper", issuer, kStamper});
        expect(0, {root.get()}, *stamper, {old_key.get(), new_key.get()});
    }
}

TEST_F(PathOrderTest, AConstrainedCrossCertificateDoesNotHideAFreeOne) {
    const auto constrained = cross(
        *root_, std::string(kAuthority) + "\nnameConstraints=critical,permitted;dirName:names\n"
                                          "[names]\nCN=elsewhere\n");
    const auto expired = make_twin(*middle_, {"middle", root_.get(), kAuthority, -10'000, -5'000});
    expect(0, {root_.get()}, *stamper_, {constrained.get(), expired.get(), middle_.get()});
    expect(CERT_E_INVALID_NAME, {root_.get()}, *stamper_, {constrained.get()});
}

TEST_F(PathOrderTest, ACrossCertificateForOtherUsesDoesNotHideOneForStamps) {
    const auto other_use = cross(*root_, std::string(kAuthority) + "\nextendedKeyUsage=serverAuth");
    expect(0, {root_.get()}, *stamper_, {other_use.get(), middle_.get()});
    expect(CERT_E_WRONG_USAGE, {root_.get()}, *stamper_, {other_use.get()});
}

// Which of two certificates of a key comes first in the search hangs on their digests when nothing
// else tells them apart; the verdict doesn't.
TEST_F(PathOrderTest, WhatIsSaidOfAKeyCountsUnderItsOwnAnchorWhicheverPathComesFirst) {
    constexpr int kSuperseded = 4;
    constexpr int kCompromised = 1;
    const auto side = make_party({"side", root_.get(), kAuthority});
    const auto other_side = make_party({"side", other_root_.get(), kAuthority});
    const auto web =
        make_party({"web", root_.get(), kAuthority + std::string("\nextendedKeyUsage=serverAuth")});
    const Parties both{root_.get(), other_root_.get()};
    const struct {
        const char* name;
        const Party* of_the_other; // who issued the other certificate of the middle's key
        int reason;
        bool revokes_the_other;
        DWORD expected;
    } cases[] = {
        {"the other one, under another anchor", other_side.get(), kCompromised, true, 0},
        {"the other one, under the same anchor", side.get(), kCompromised, true, CRYPT_E_REVOKED},
        {"the other one, by who may not issue stampers", web.get(), kCompromised, true, 0},
        {"the other one, for another reason", side.get(), kSuperseded, true, 0},
        {"this one, beside one under another anchor", other_side.get(), kCompromised, false, 0},
        {"this one, beside one under its anchor", side.get(), kCompromised, false, CRYPT_E_REVOKED},
        {"this one, for another reason", side.get(), kSuperseded, false, 0},
    };
    for (const auto& c : cases) {
        for (const bool comes_first : {true, false}) {
            SCOPED_TRACE(std::string(c.name) + (comes_first ? ", first" : ", last"));
            std::unique_ptr<Party> other;
            do {
                other = cross(*c.of_the_other);
            } while ((digest_of(*other) < digest_of(*middle_)) != comes_first);
            const auto list = [&](const Party& signer, const Party& of) {
                const bool revokes = (&of == other.get()) == c.revokes_the_other;
                return make_list({&signer, -1, 100,
                                  revokes ? std::vector<ListEntry>{{&of, -10, c.reason}}
                                          : std::vector<ListEntry>{}});
            };
            std::vector<std::string> lists{list(*c.of_the_other, *other), list(*root_, *middle_),
                                           make_list({other_root_.get(), -1, 100}),
                                           make_list({middle_.get(), -1, 100})};
            expect(c.expected, both, *stamper_, {middle_.get(), other.get(), c.of_the_other},
                   lists);
        }
    }
    const std::vector<std::string> lists{
        make_list({root_.get(), -1, 100, {{middle_.get(), -10, kSuperseded}}}),
        make_list({middle_.get(), -1, 100})};
    expect(CRYPT_E_REVOKED, {root_.get()}, *stamper_, {middle_.get(), cross(*other_root_).get()},
           lists);
}

// The authority's key signs by RSASSA-PSS; another certificate has the same bits as a key for
// another hash alone, which hasn't made the signature.
TEST_F(PathOrderTest, TheSameBitsWithOtherParametersAreAnotherKey) {
    const EvpKey rsa(EVP_RSA_gen(2048));
    CertificateSpec spec{"authority", root_.get(), kAuthority};
    spec.key = rsa.get();
    const auto authority = make_party(spec);
    const auto stamper = make_party({"stamper", authority.get(), kStamper});
    const OpensslOwner<EVP_MD_CTX, EVP_MD_CTX_free> context(EVP_MD_CTX_new());
    EVP_PKEY_CTX* padding = nullptr;
    EVP_DigestSignInit(context.get(), &padding, EVP_sha256(), nullptr, rsa.get());
    EVP_PKEY_CTX_set_rsa_padding(padding, RSA_PKCS1_PSS_PADDING);
    X509_sign_ctx(stamper->certificate(), context.get());
    const std::string sha512("\x30\x0D\x06\x09\x60\x86\x48\x01\x65\x03\x04\x02\x03\x05\x00", 15);
    const std::string for_sha512 = "\x30\x34\xA0\x0F" + sha512 +
                                   "\xA1\x1C\x30\x1A\x06\x09\x2A\x86\x48\x86\xF7\x0D\x01\x01\x08" +
                                   sha512 + "\xA2\x03\x02\x01\x40";
    for (const bool comes_first : {true, false}) {
        std::unique_ptr<Party> twin;
        do {
            twin = make_party(spec);
            ASN1_STRING* const parameters = ASN1_STRING_new();
            ASN1_STRING_set(parameters, for_sha512.data(), static_cast<int>(for_sha512.size()));
            X509_PUBKEY_set0_param(X509_get_X509_PUBKEY(twin->certificate()),
                                   OBJ_nid2obj(NID_rsassaPss), V_ASN1_SEQUENCE, parameters, nullptr,
                                   0);
            X509_sign(twin->certificate(), root_->private_key.get(), EVP_sha256());
        } while ((digest_of(*twin) < digest_of(*authority)) != comes_first);
        expect(0, {root_.get()}, *stamper, {authority.get(), twin.get()});
    }
}

// The list is signed by the authority's other key, which stands two steps under the root. Another
// certificate of the one between, revoked by who issued it, mustn't hide the list, nor let it
// speak.
TEST_F(PathOrderTest, AListByAKeyBesideThePathIsHeardByWhicheverWayIsGood) {
    const auto side = make_party({"side", root_.get(), kAuthority});
    const auto between = make_party({"between", root_.get(), kAuthority});
    const auto issuer = make_party({"issuer", root_.get(), kAuthority});
    const auto other_key = make_party({"issuer", between.get(), kAuthority});
    const auto stamper = make_party({"stamper", issuer.get(), kStamper});
    constexpr int kSuperseded = 4;
    for (const bool comes_first : {true, false}) {
        std::unique_ptr<Party> twin;
        do {
            twin = make_twin(*between, {"between", side.get(), kAuthority});
        } while ((digest_of(*twin) < digest_of(*between)) != comes_first);
        const std::vector<std::string> lists{
            make_list({root_.get(), -1, 100}), make_list({between.get(), -1, 100}),
            make_list({side.get(), -1, 100, {{twin.get(), -10, kSuperseded}}}),
            make_list({other_key.get(), -1, 100, {{stamper.get(), -10, kSuperseded}}})};
        const Setting setting{{encoded(root_.get())}, BASALT_REVOCATION_AVAILABLE};
        const auto verdicts_with = [&](const Parties& bag) {
            return verdicts_of_all_orders(setting,
                                          {encoded(stamper.get()), encoded_all(bag), lists});
        };
        EXPECT_EQ(
            verdicts_with({issuer.get(), other_key.get(), between.get(), twin.get(), side.get()}),
            std::vector<DWORD>{CRYPT_E_REVOKED})
            << comes_first;
        EXPECT_EQ(verdicts_with({issuer.get(), other_key.get(), twin.get(), side.get()}),
                  std::vector<DWORD>{0})
            << comes_first;
    }
}

TEST_F(PathOrderTest, DecoysAndCirclesLeadNobodyAstray) {
    std::vector<std::unique_ptr<Party>> decoys;
    for (int i = 0; i < 63; ++i) {
        decoys.push_back(make_party({"middle", nullptr, kPlainAuthority}));
    }
    // Two authorities that certify each other, and the middle.
    const auto circle = make_party({"circle", nullptr, kAuthority});
    const auto back = cross(*circle);
    const auto forth = make_twin(*circle, {"circle", middle_.get(), kAuthority});
    Parties bag{middle_.get(), back.get(), forth.get()};
    expect(0, {root_.get()}, *stamper_, bag);
    for (const auto& decoy : decoys) {
        bag.push_back(decoy.get());
    }
    expect(0, {root_.get()}, *stamper_, bag);
    bag.erase(bag.begin());
    expect(CERT_E_CHAINING, {root_.get()}, *stamper_, {back.get(), forth.get()});
}

// Two authorities have certified each other, and the one leads to the anchor through the other
// alone: beside a way on which that other one stands already there may be a way on which it
// doesn't.
TEST_F(PathOrderTest, WhatACircleClosesOnOneWayIsOpenOnAnother) {
    constexpr int kCompromised = 1;
    const auto inner = make_party({"inner", root_.get(), kAuthority});
    const auto outer = make_party({"outer", inner.get(), kAuthority});
    const auto back = make_twin(*inner, {"inner", outer.get(), kAuthority});
    // The inner one again, by somebody who knows of the outer one what was found out before.
    const auto via = make_party({"via", outer.get(), kAuthority});
    std::unique_ptr<Party> round;
    do {
        round = make_twin(*inner, {"inner", via.get(), kAuthority});
    } while (digest_of(*round) < digest_of(*back));
    const auto above = make_party({"above", via.get(), kAuthority});
    const auto middle = make_party({"middle", above.get(), kAuthority});
    CertificateSpec constrained_spec{"middle", inner.get(),
                                     std::string(kAuthority) +
                                         "\nnameConstraints=critical,permitted;dirName:names\n"
                                         "[names]\nCN=elsewhere\n"};
    constrained_spec.same_key = middle.get();
    const auto stamper = make_party({"stamper", middle.get(), kStamper});
    const auto thief = make_twin(*stamper, {"thief", root_.get(), kStamper});
    std::vector<std::string> lists{
        make_list({middle.get(), -1, 100, {{stamper.get(), -10, kCompromised}}})};
    for (const Party* authority : {root_.get(), inner.get(), outer.get(), via.get(), above.get()}) {
        lists.push_back(make_list({authority, -1, 100}));
    }
    for (const bool comes_first : {true, false}) {
        std::unique_ptr<Party> constrained;
        do {
            constrained = make_party(constrained_spec);
        } while ((digest_of(*constrained) < digest_of(*middle)) != comes_first);
        const Parties bag{inner.get(), back.get(),  outer.get(),  via.get(),
                          round.get(), above.get(), middle.get(), constrained.get()};
        expect(0, {root_.get()}, *stamper, bag);
        Parties with_stamper = bag;
        with_stamper.push_back(stamper.get());
        expect(CRYPT_E_REVOKED, {root_.get()}, *thief, with_stamper, lists);
    }
}

TEST_F(PathOrderTest, WhatIsWrongIsToldAlikeInEveryOrder) {
    const auto fake = make_party({"middle", nullptr, kPlainAuthority});
    const auto fake_root = make_party({"root", nullptr, kAuthority});
    expect(TRUST_E_CERT_SIGNATURE, {fake_root.get()}, *stamper_, {middle_.get()});
    expect(CERT_E_UNTRUSTEDROOT, {other_root_.get()}, *stamper_,
           {middle_.get(), root_.get(), fake.get()});
    expect(CERT_E_CHAINING, {root_.get()}, *stamper_, {});
}

TEST_F(PathOrderTest, ASelfIssuedCertificateWithoutIdentifiersIsNoEndOfThePath) {
    const auto root = make_party({"plain root", nullptr, kPlainAuthority});
    // The root's new key under its old one: one name twice.
    CertificateSpec spec{"plain root", root.get(), kPlainAuthority};
    const auto rollover = make_party(spec);
    const auto stamper = make_party({"stamper", rollover.get(), kStamper});
    expect(0, {root.get()}, *stamper, {rollover.get()});
    const auto bound = make_party(
        {"plain root", nullptr,
         "basicConstraints=critical,CA:TRUE\nnameConstraints=critical,permitted;dirName:names\n"
         "[names]\nCN=elsewhere\n"});
    const auto under_bound = make_party({"plain root", bound.get(), kPlainAuthority});
    const auto strange = make_party({"stamper", under_bound.get(), kStamper});
    expect(CERT_E_INVALID_NAME, {bound.get()}, *strange, {under_bound.get()});
}

// Each is a root of its own to the verifier, if it has no key identifiers.
TEST_F(PathOrderTest, SelfIssuedCertificatesAreJudgedAlikeWithoutIdentifiers) {
    for (const bool has_identifiers : {true, false}) {
        SCOPED_TRACE(has_identifiers);
        const char* authority = has_identifiers ? kAuthority : kPlainAuthority;
        const auto root = make_party({"root", nullptr, authority});
        const auto link = make_party({"root", root.get(), authority});
        const auto again = make_party({"root", link.get(), authority});
        const auto ca = make_party({"ca", again.get(), authority});
        const auto new_ca = make_party({"ca", ca.get(), authority});
        const auto stamper = make_party({"stamper", new_ca.get(), kStamper});
        expect(0, {root.get()}, *stamper, {link.get(), again.get(), ca.get(), new_ca.get()});

        const std::string elsewhere =
            "nameConstraints=critical,permitted;dirName:names\n[names]\nCN=elsewhere\n";
        const auto bound =
            make_party({"bound", root.get(), std::string(authority) + "\n" + elsewhere});
        const auto bound_link = make_party({"bound", bound.get(), authority});
        const auto bound_again = make_party({"bound", bound_link.get(), authority});
        const auto strange = make_party({"stamper", bound_again.get(), kStamper});
        const auto permitted = make_party({"elsewhere", bound_again.get(), kStamper});
        const Parties bag{bound.get(), bound_link.get(), bound_again.get()};
        expect(CERT_E_INVALID_NAME, {root.get()}, *strange, bag);
        expect(0, {root.get()}, *permitted, bag);

        const auto hosts = make_party(
            {"hosts", root.get(),
             std::string(authority) + "\nnameConstraints=critical,permitted;DNS:example.com\n"});
        const auto hosts_link = make_party({"hosts", hosts.get(), authority});
        for (const char* name : {"stamper.example.com", "stamper.example.org"}) {
            const auto host = make_party({name, hosts_link.get(), kStamper});
            expect(std::string(name).ends_with("com") ? 0 : CERT_E_INVALID_NAME, {root.get()},
                   *host, {hosts.get(), hosts_link.get()});
        }
    }
}

// Whoever has the key of something else that is trusted, a server's, is no authority by signing
// what bears his own name.
TEST_F(PathOrderTest, AnAnchorThatIsNoAuthorityIssuesNothingUnderItsOwnNameEither) {
    const struct {
        const char* name;
        std::string extensions;
        DWORD expected;
    } anchors[] = {
        {"root", kAuthority, 0},
        {"server", "basicConstraints=critical,CA:FALSE", TRUST_E_BASIC_CONSTRAINTS},
        {"of another use", "basicConstraints=critical,CA:TRUE\nkeyUsage=digitalSignature",
         TRUST_E_BASIC_CONSTRAINTS},
        {"neither", "extendedKeyUsage=serverAuth", TRUST_E_BASIC_CONSTRAINTS},
    };
    for (const auto& c : anchors) {
        SCOPED_TRACE(c.name);
        const auto anchor = make_party({"anchor", nullptr, c.extensions});
        const auto link = make_party({"anchor", anchor.get(), kPlainAuthority});
        const auto above = make_party({"anchor", link.get(), kPlainAuthority});
        const auto stamper = make_party({"stamper", above.get(), kStamper});
        const auto namesake =
            make_party({"anchor", anchor.get(), "extendedKeyUsage=critical,timeStamping"});
        expect(c.expected, {anchor.get()}, *stamper, {link.get(), above.get()});
        expect(c.expected, {anchor.get()}, *namesake, {});
    }
}

TEST_F(PathOrderTest, PoliciesAreFollowedThroughSelfIssuedCertificatesWithoutIdentifiers) {
    const std::string wanted = "certificatePolicies=1.2.3.4\n";
    const std::string another = "certificatePolicies=1.2.3.5\n";
    const std::string demand = "policyConstraints=critical,requireExplicitPolicy:0\n";
    const struct {
        const char* name;
        std::string above;
        std::string link;
        std::string below;
        DWORD expected;
    } cases[] = {
        {"all along", wanted, wanted, wanted + demand, 0},
        {"another above", another, wanted, wanted + demand, CERT_E_INVALID_POLICY},
        {"another in the link", wanted, another, wanted + demand, CERT_E_INVALID_POLICY},
        {"none above", "", wanted, wanted + demand, CERT_E_INVALID_POLICY},
        {"none in the link", wanted, "", wanted + demand, CERT_E_INVALID_POLICY},
        {"demanded above", wanted + demand, wanted, wanted, 0},
        {"demanded in the link", wanted, wanted + demand, wanted, 0},
        {"demanded above, none below", wanted + demand, wanted, "", CERT_E_INVALID_POLICY},
    };
    for (const bool has_identifiers : {true, false}) {
        const std::string authority = has_identifiers ? kAuthority : kPlainAuthority;
        for (const auto& c : cases) {
            SCOPED_TRACE(c.name + std::string(has_identifiers ? "" : ", no identifiers"));
            const auto above = make_party({"side", root_.get(), authority + "\n" + c.above});
            const auto link = make_party({"side", above.get(), authority + "\n" + c.link});
            const auto below = make_party({"ca", link.get(), authority + "\n" + c.below});
            const auto stamper = make_party({"stamper", below.get(), kStamper + ("\n" + wanted)});
            expect(c.expected, {root_.get()}, *stamper, {above.get(), link.get(), below.get()});
        }
    }
}

} // namespace
} // namespace basalt::test
