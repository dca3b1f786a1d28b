// What a path must be like: strength, validity, usages, policies; and what engines change.
#include <basalt/chain/chain_session.h>
#include <basalt/chain/hostile_bags.h>
#include <basalt/chain/judged_chain.h>
#include <basalt/coding/der_writer.h>
#include <basalt/store/record.h>

#include <openssl/rsa.h>

namespace basalt::test {
namespace {

class ChainRulesTest : public ::testing::Test {
protected:
    std::unique_ptr<Party> root_ = make_party({"root", nullptr, kAuthority});
    std::unique_ptr<Party> middle_ = make_party({"middle", root_.get(), kAuthority});
    std::unique_ptr<Party> stamper_ = make_party({"stamper", middle_.get(), kStamper});
    Setting setting_{{encoded(root_.get())}};

    DWORD verdict_with_middle(const std::string& extensions,
                              const std::string& of_stamper = kStamper) {
        const auto middle = make_party({"middle", root_.get(), extensions});
        const auto stamper = make_party({"stamper", middle.get(), of_stamper});
        return stamp_verdict(setting_, {encoded(stamper.get()), {encoded(middle.get())}});
    }
};

TEST_F(ChainRulesTest, WeakKeysAndDigestsAreRefusedAndAgedOnesRemarkedOn) {
    const EvpKey rsa512(EVP_RSA_gen(512));
    const EvpKey rsa1024(EVP_RSA_gen(1024));
    const EvpKey rsa2048(EVP_RSA_gen(2048));
    struct Case {
        const char* what;
        EVP_PKEY* key; // of the middle
        const EVP_MD* digest;
        bool passes_floor;
        bool passes_current;
    };
    const Case cases[] = {
        {"RSA-512", rsa512.get(), EVP_sha256(), false, false},
        {"RSA-1024", rsa1024.get(), EVP_sha256(), true, false},
        {"RSA-2048", rsa2048.get(), EVP_sha256(), true, true},
        {"SHA-1", rsa2048.get(), EVP_sha1(), true, false},
        {"MD5", rsa2048.get(), EVP_md5(), false, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const Given given{remade(*stamper_, c.key, c.digest),
                          {remade(*middle_, root_->private_key.get(), EVP_sha256(), c.key)}};
        for (const DWORD strength : {BASALT_STRENGTH_FLOOR, BASALT_STRENGTH_CURRENT}) {
            Setting setting = setting_;
            setting.strength = strength;
            const ChainReference chain = build(make_engine(setting), given);
            const bool passes =
                strength == BASALT_STRENGTH_FLOOR ? c.passes_floor : c.passes_current;
            EXPECT_EQ(stamp_verdict(chain), passes ? 0 : TRUST_E_CERT_SIGNATURE);
            EXPECT_EQ((chain->TrustStatus.dwErrorStatus & CERT_TRUST_HAS_WEAK_SIGNATURE) == 0,
                      passes);
            if (c.passes_floor) {
                EXPECT_EQ((chain->TrustStatus.dwInfoStatus & BASALT_TRUST_HAS_AGED_STRENGTH) == 0,
                          c.passes_current);
            }
        }
    }
}

// The verifier takes one without key identifiers for a root, and asks nothing of roots.
TEST_F(ChainRulesTest, WhatASelfIssuedCertificateDemandsOfPoliciesCounts) {
    const auto verdict_with = [&](const std::string& demand) {
        const auto again = make_party({"middle", middle_.get(), kAuthority + demand});
        const auto stamper = make_party({"stamper", again.get(), kStamper});
        return stamp_verdict(
            setting_, {encoded(stamper.get()), {encoded(again.get()), encoded(middle_.get())}});
    };
    EXPECT_EQ(verdict_with(""), 0u);
    EXPECT_NE(verdict_with("\npolicyConstraints=critical,requireExplicitPolicy:0"), 0u);
}

TEST_F(ChainRulesTest, TheLastSecondOfValidityIsWhole) {
    const auto stamper = make_party({"stamper", middle_.get(), kStamper, -100, 0});
    const Given given{encoded(stamper.get()), {encoded(middle_.get())}};
    EXPECT_EQ(stamp_verdict(setting_, given, ticks_at(0)), 0u);
    EXPECT_EQ(stamp_verdict(setting_, given, ticks_at(0) + kTicksPerSecond / 2), 0u);
    EXPECT_EQ(stamp_verdict(setting_, given, ticks_at(0) + kTicksPerSecond), CERT_E_EXPIRED);
    EXPECT_EQ(stamp_verdict(setting_, given, ticks_at(-100) - 1), CERT_E_EXPIRED);
}

// The certificate with two zeros before its serial number, signed as it stands.
std::string with_padded_serial(const Party& party, const Party& issuer) {
    const std::string plain = encoded(&party);
    DerReader certificate(sole_element(basalt::test::bytes_of(plain), tag::kSequence).contents);
    DerReader fields(certificate.take(tag::kSequence).contents);
    std::string tbs(text_of(fields.take().whole));
    const Element serial = fields.take(tag::kInteger);
    append_element(tbs, tag::kInteger, std::string(2, '\0').append(text_of(serial.contents)));
    tbs = element(tag::kSequence, tbs.append(text_of(fields.rest())));
    const OpensslOwner<EVP_MD_CTX, EVP_MD_CTX_free> context(EVP_MD_CTX_new());
    EVP_DigestSignInit(context.get(), nullptr, EVP_sha256(), nullptr, issuer.private_key.get());
    std::string signature(256, '\0');
    std::size_t size = signature.size();
    EVP_DigestSign(context.get(), reinterpret_cast<BYTE*>(signature.data()), &size,
                   reinterpret_cast<const BYTE*>(tbs.data()), tbs.size());
    std::string whole = tbs.append(text_of(certificate.take(tag::kSequence).whole));
    append_element(whole, tag::kBitString, std::string(1, '\0').append(signature.substr(0, size)));
    return element(tag::kSequence, whole);
}

TEST_F(ChainRulesTest, ASerialNumberWithSuperfluousZerosIsReadAndItsSignatureVerifiedAsItCame) {
    const std::string padded = with_padded_serial(*stamper_, *middle_);
    const std::vector<std::string> bag{with_padded_serial(*middle_, *root_)};
    EXPECT_EQ(stamp_verdict(setting_, {padded, bag}), 0u);
    std::string forged = padded;
    forged.back() ^= 1;
    EXPECT_EQ(stamp_verdict(setting_, {forged, bag}), TRUST_E_CERT_SIGNATURE);
    forged = padded;
    forged[forged.find("stamper")] = 'S';
    EXPECT_EQ(stamp_verdict(setting_, {forged, bag}), TRUST_E_CERT_SIGNATURE);
}

TEST_F(ChainRulesTest, UsagesOfTheSignerAndOfAuthorities) {
    const std::string authority = std::string(kAuthority) + "\nextendedKeyUsage=";
    EXPECT_EQ(verdict_with_middle(kAuthority), 0u);
    EXPECT_EQ(verdict_with_middle(authority + "timeStamping,serverAuth"), 0u);
    EXPECT_EQ(verdict_with_middle(authority + "anyExtendedKeyUsage"), 0u);
    EXPECT_EQ(verdict_with_middle(authority + "serverAuth"), CERT_E_WRONG_USAGE);
    const std::string end = "basicConstraints=critical,CA:FALSE\nextendedKeyUsage=";
    for (const char* usages :
         {"timeStamping", "critical,timeStamping,serverAuth", "critical,timeStamping,1.2.3.4",
          "critical,anyExtendedKeyUsage", "critical,serverAuth"}) {
        EXPECT_EQ(verdict_with_middle(kAuthority, end + usages), CERT_E_WRONG_USAGE) << usages;
    }
    EXPECT_EQ(verdict_with_middle(kAuthority, "basicConstraints=critical,CA:TRUE\n"
                                              "extendedKeyUsage=critical,timeStamping"),
              CERT_E_WRONG_USAGE);
    EXPECT_EQ(verdict_with_middle("keyUsage=keyCertSign"), TRUST_E_BASIC_CONSTRAINTS)
        << "a key usage doesn't make an authority";
}

TEST_F(ChainRulesTest, PoliciesThatCertificatesDemandAreLookedAt) {
    const std::string demanding =
        std::string(kAuthority) + "\npolicyConstraints=critical,requireExplicitPolicy:0\n";
    const std::string policy = "certificatePolicies=1.2.3.4\n";
    EXPECT_EQ(verdict_with_middle(demanding + policy), CERT_E_INVALID_POLICY);
    EXPECT_EQ(verdict_with_middle(demanding + policy, kStamper + policy), 0u);
    EXPECT_EQ(verdict_with_middle(demanding + policy,
                                  kStamper + std::string("certificatePolicies=1.2.3.5")),
              CERT_E_INVALID_POLICY);
}

// Which OpenSSL's verifier would lose memory over.
TEST_F(ChainRulesTest, PoliciesThatAreDemandedAndNotOfferedAreCounted) {
    const struct {
        const char* what;
        const char* of_middle;
        const char* of_stamper;
        DWORD verdict;
    } cases[] = {
        {"from the next one on", "requireExplicitPolicy:0", "", CERT_E_INVALID_POLICY},
        {"from the one behind it on", "requireExplicitPolicy:1", "", CERT_E_INVALID_POLICY},
        {"beyond the end", "requireExplicitPolicy:2", "", 0},
        {"far beyond the end", "requireExplicitPolicy:0x7FFFFFFFFFFFFFFFFFFF", "", 0},
        {"no mapping", "inhibitPolicyMapping:0", "", 0},
        {"by the end itself", nullptr, "policyConstraints=requireExplicitPolicy:0",
         CERT_E_INVALID_POLICY},
        {"by the end for those behind it", nullptr, "policyConstraints=requireExplicitPolicy:1", 0},
        {"offered by the end alone", "requireExplicitPolicy:0", "certificatePolicies=1.2.3.4",
         CERT_E_INVALID_POLICY},
        {"nothing", "DER:3000", "", CERT_E_INVALID_POLICY},
        {"less than nothing", "DER:30038001FF", "", CERT_E_INVALID_POLICY},
        {"something unreadable", "DER:0500", "", CERT_E_INVALID_POLICY},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const std::string demand =
            c.of_middle == nullptr ? "" : std::string("\npolicyConstraints=") + c.of_middle;
        EXPECT_EQ(verdict_with_middle(kAuthority + demand, kStamper + std::string(c.of_stamper)),
                  c.verdict);
    }
}

TEST_F(ChainRulesTest, UsagesAndPoliciesThatAreAskedForCount) {
    const std::string policy = "certificatePolicies=1.2.3.4\n";
    const auto middle =
        make_party({"middle", root_.get(), std::string(kAuthority) + "\n" + policy});
    const auto end = make_party({"end", middle.get(), "extendedKeyUsage=serverAuth\n" + policy});
    const EngineReference engine = make_engine(setting_);
    const auto errors = [&](const char* usage, const char* asked_policy, DWORD size) {
        BASALT_CHAIN_PARA para{};
        para.Base.cbSize = size;
        char* usages[] = {const_cast<char*>(usage)};
        char* policies[] = {const_cast<char*>(asked_policy)};
        if (usage != nullptr) {
            para.Base.RequestedUsage.Usage = {1, usages};
        }
        if (asked_policy != nullptr) {
            para.RequestedIssuancePolicy.Usage = {1, policies};
        }
        PCCERT_CHAIN_CONTEXT chain = nullptr;
        EXPECT_TRUE(CertGetCertificateChain(engine.get(), context_of(encoded(end.get())).get(),
                                            nullptr, store_of({encoded(middle.get())}).get(),
                                            &para.Base, 0, nullptr, &chain));
        const ChainReference held(chain);
        return chain->TrustStatus.dwErrorStatus;
    };
    const char* const server = "1.3.6.1.5.5.7.3.1";
    const char* const client = "1.3.6.1.5.5.7.3.2";
    EXPECT_EQ(errors(server, nullptr, sizeof(BASALT_CHAIN_PARA)), 0u);
    EXPECT_EQ(errors(client, nullptr, sizeof(BASALT_CHAIN_PARA)),
              CERT_TRUST_IS_NOT_VALID_FOR_USAGE);
    EXPECT_EQ(errors(nullptr, "1.2.3.4", sizeof(BASALT_CHAIN_PARA)), 0u);
    EXPECT_EQ(errors(nullptr, "2.5.29.32.0", sizeof(BASALT_CHAIN_PARA)), 0u);
    EXPECT_EQ(errors(nullptr, "1.2.3.5", sizeof(BASALT_CHAIN_PARA)),
              CERT_TRUST_NO_ISSUANCE_CHAIN_POLICY);
    EXPECT_EQ(errors(nullptr, "1.2.3.5", sizeof(CERT_CHAIN_PARA)), 0u)
        << "a field that the size doesn't cover";
}

TEST_F(ChainRulesTest, EachEngineJudgesByItsOwnAnchorsAndMode) {
    const auto other = make_party({"other root", nullptr, kAuthority});
    const Given given{encoded(stamper_.get()),
                      {encoded(middle_.get())},
                      {make_list({middle_.get(), -1, 100, {{stamper_.get(), -5, 0}}}),
                       make_list({root_.get(), -1, 100})}};
    Setting strange = setting_;
    strange.anchors = {encoded(other.get())};
    Setting strict = setting_;
    strict.revocation = BASALT_REVOCATION_REQUIRE;
    const EngineReference engines[] = {make_engine(setting_), make_engine(strange),
                                       make_engine(strict)};
    EXPECT_EQ(stamp_verdict(build(engines[0], given)), 0u);
    EXPECT_EQ(stamp_verdict(build(engines[1], given)), CERT_E_CHAINING);
    EXPECT_EQ(stamp_verdict(build(engines[2], given)), CRYPT_E_REVOKED);
    EXPECT_EQ(stamp_verdict(build(engines[0], given)), 0u);
}

TEST_F(ChainRulesTest, BadEnginesAndStoresAreRefused) {
    BASALT_CHAIN_ENGINE_CONFIG config{};
    HCERTCHAINENGINE engine = nullptr;
    const auto refused = [&](DWORD code) {
        SetLastError(0);
        EXPECT_FALSE(CertCreateCertificateChainEngine(&config.Base, &engine));
        EXPECT_EQ(GetLastError(), code);
        config = {};
        config.Base.cbSize = sizeof config;
    };
    refused(E_INVALIDARG);
    config.dwRevocationMode = BASALT_REVOCATION_OFF + 1;
    refused(E_INVALIDARG);
    config.Base.hRestrictedTrust = &config;
    refused(E_INVALIDARG);
    config.Base.hExclusiveRoot = &config;
    refused(ERROR_INVALID_HANDLE);
    ASSERT_TRUE(CertCreateCertificateChainEngine(&config.Base, &engine));
    CertFreeCertificateChainEngine(engine);
    CertFreeCertificateChainEngine(nullptr);

    CERT_CHAIN_PARA para{};
    para.cbSize = sizeof para;
    PCCERT_CHAIN_CONTEXT chain = nullptr;
    const CertificateReference end = context_of(encoded(stamper_.get()));
    EXPECT_FALSE(
        CertGetCertificateChain(engine, end.get(), nullptr, nullptr, &para, 0, nullptr, &chain))
        << "an engine that is no more";
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    EXPECT_FALSE(
        CertGetCertificateChain(nullptr, end.get(), nullptr, &config, &para, 0, nullptr, &chain));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
}

// Of a certificate, of the authority above it, and of a list; the anchor is trusted as it is.
TEST_F(ChainRulesTest, DatesHaveOneFormOnly) {
    const struct {
        const char* end; // in 2030-03, after the stamp
        int type;
        bool passes;
    } cases[] = {
        {"300330120000Z", V_ASN1_UTCTIME, true},
        {"20300330120000Z", V_ASN1_GENERALIZEDTIME, true},
        {"20300330120000.5Z", V_ASN1_GENERALIZEDTIME, false},
        {"20300330120000+0100", V_ASN1_GENERALIZEDTIME, false},
        {"203003301200Z", V_ASN1_GENERALIZEDTIME, false},
        {"300330120000+0100", V_ASN1_UTCTIME, false},
        {"3003301200Z", V_ASN1_UTCTIME, false},
    };
    const auto dated = [](const Party& party, const Party& issuer, const char* end, int type) {
        const OpensslOwner<X509, X509_free> copy(X509_dup(party.certificate()));
        const OpensslOwner<ASN1_STRING, ASN1_STRING_free> time(ASN1_STRING_type_new(type));
        ASN1_STRING_set(time.get(), end, -1);
        ASN1_STRING_copy(X509_getm_notAfter(copy.get()), time.get());
        X509_sign(copy.get(), issuer.private_key.get(), EVP_sha256());
        return encoded(copy.get());
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.end);
        const std::string middle = dated(*middle_, *root_, c.end, c.type);
        const DWORD expected = c.passes ? 0 : CERT_E_MALFORMED;
        EXPECT_EQ(stamp_verdict(setting_, {encoded(stamper_.get()), {middle}}), expected);
        EXPECT_EQ(stamp_verdict(setting_, {dated(*stamper_, *middle_, c.end, c.type),
                                           {encoded(middle_.get())}}),
                  expected);
        Setting trusting = setting_;
        trusting.anchors = {middle};
        EXPECT_EQ(stamp_verdict(trusting, {encoded(stamper_.get())}), 0U);
        Setting strict = setting_;
        strict.revocation = BASALT_REVOCATION_REQUIRE;
        const OpensslOwner<X509_CRL, X509_CRL_free> list(X509_CRL_new());
        X509_CRL_set_version(list.get(), X509_CRL_VERSION_2);
        X509_CRL_set_issuer_name(list.get(), X509_get_subject_name(middle_->certificate()));
        const OpensslOwner<ASN1_TIME, ASN1_TIME_free> made(ASN1_TIME_set(nullptr, unix_hours(-1)));
        X509_CRL_set1_lastUpdate(list.get(), made.get());
        const OpensslOwner<ASN1_TIME, ASN1_TIME_free> next(ASN1_STRING_type_new(c.type));
        ASN1_STRING_set(next.get(), c.end, -1);
        X509_CRL_set1_nextUpdate(list.get(), next.get());
        X509_CRL_sign(list.get(), middle_->private_key.get(), EVP_sha256());
        unsigned char* der = nullptr;
        const int size = i2d_X509_CRL(list.get(), &der);
        const std::string bytes(reinterpret_cast<char*>(der), static_cast<std::size_t>(size));
        OPENSSL_free(der);
        EXPECT_EQ(stamp_verdict(strict, {encoded(stamper_.get()),
                                         {encoded(middle_.get())},
                                         {bytes, make_list({root_.get(), -1, 100})}}),
                  c.passes ? 0 : CRYPT_E_REVOCATION_OFFLINE);
    }
}

// Lists for some reasons alone leave the rest open, which is told apart from nobody answering.
TEST_F(ChainRulesTest, WhatDoesNotCoverEveryReasonHasACodeOfItsOwn) {
    Setting setting = setting_;
    setting.revocation = BASALT_REVOCATION_REQUIRE;
    const std::string some = make_list({.signer = middle_.get(),
                                        .made = -1,
                                        .next = 100,
                                        .extensions = "issuingDistributionPoint=critical,@p\n[p]\n"
                                                      "onlysomereasons=keyCompromise"});
    const std::string of_root = make_list({root_.get(), -1, 100});
    const Given given{encoded(stamper_.get()), {encoded(middle_.get())}, {some, of_root}};
    const ChainReference chain = build(make_engine(setting), given);
    EXPECT_EQ(stamp_verdict(chain), CRYPT_E_NO_REVOCATION_CHECK);
    EXPECT_EQ(chain->TrustStatus.dwErrorStatus, CERT_TRUST_REVOCATION_STATUS_UNKNOWN);
    EXPECT_EQ(chain->rgpChain[0]->rgpElement[0]->pRevocationInfo->dwRevocationResult,
              CRYPT_E_NO_REVOCATION_CHECK);
    // Nobody named, nothing at hand: it passes, and the record says so.
    const ChainReference silent =
        build(make_engine(setting), {encoded(stamper_.get()), {encoded(middle_.get())}});
    EXPECT_EQ(stamp_verdict(silent), 0u);
    EXPECT_EQ(silent->rgpChain[0]->rgpElement[0]->pRevocationInfo->dwRevocationResult,
              CRYPT_E_NO_REVOCATION_CHECK);
}

TEST_F(ChainRulesTest, TheEvidenceThatDecidedAndALaterRevocationAreTold) {
    Setting setting = setting_;
    setting.revocation = BASALT_REVOCATION_REQUIRE;
    constexpr int kCompromised = 1;
    const std::string list =
        make_list({middle_.get(), 5, 100, {{stamper_.get(), 3, kCompromised}}});
    setting.now = ticks_at(10);
    const ChainReference chain =
        build(make_engine(setting), {encoded(stamper_.get()),
                                     {encoded(middle_.get())},
                                     {list, make_list({root_.get(), -1, 100})}});
    BASALT_TIME_STAMP_POLICY_STATUS told{};
    told.cbSize = sizeof told;
    EXPECT_EQ(stamp_verdict(chain, ticks_at(0), &told), CRYPT_E_REVOKED);
    EXPECT_TRUE(told.fRevokedLater);
    EXPECT_EQ(told.dwReason, DWORD{kCompromised});
    EXPECT_EQ(ticks_of(told.ftRevoked), ticks_at(3));
    EXPECT_EQ(stamp_verdict(chain, ticks_at(4), &told), CRYPT_E_REVOKED);
    EXPECT_FALSE(told.fRevokedLater);

    const CERT_REVOCATION_INFO* info = chain->rgpChain[0]->rgpElement[0]->pRevocationInfo;
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->dwRevocationResult, CRYPT_E_REVOKED);
    const auto* evidence = static_cast<const BASALT_REVOCATION_EVIDENCE*>(info->pvOidSpecificInfo);
    ASSERT_NE(evidence, nullptr);
    EXPECT_EQ(evidence->dwKind, BASALT_EVIDENCE_CRL);
    EXPECT_EQ(evidence->dwSource, BASALT_EVIDENCE_FROM_STORE);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(evidence->pbEncoded), evidence->cbEncoded), list);
    EXPECT_EQ(ticks_of(evidence->ftThisUpdate), ticks_at(5));
    EXPECT_EQ(evidence->pszUrl, nullptr);
}

// Whoever keeps the evidence for later needs all of it: here a base with its delta.
TEST_F(ChainRulesTest, AllThatTheJudgementNeededIsTold) {
    Setting setting = setting_;
    setting.revocation = BASALT_REVOCATION_REQUIRE;
    setting.flags = BASALT_CHAIN_GIVEN_ONLY;
    setting.now = ticks_at(10);
    const std::string base = make_list({middle_.get(), 1, 9, {}, "2.5.29.20=ASN1:INTEGER:5"});
    const std::string delta = make_list(
        {middle_.get(), 8, 100, {}, "2.5.29.20=ASN1:INTEGER:7\n2.5.29.27=critical,ASN1:INTEGER:5"});
    const ChainReference chain =
        build(make_engine(setting), {encoded(stamper_.get()),
                                     {encoded(middle_.get())},
                                     {base, delta, make_list({root_.get(), -1, 100})}});
    EXPECT_EQ(stamp_verdict(chain), 0U);
    const CERT_REVOCATION_INFO* info = chain->rgpChain[0]->rgpElement[0]->pRevocationInfo;
    ASSERT_NE(info, nullptr);
    std::vector<std::string> told;
    const auto* evidence = static_cast<const BASALT_REVOCATION_EVIDENCE*>(info->pvOidSpecificInfo);
    for (; evidence != nullptr; evidence = evidence->pNext) {
        told.emplace_back(reinterpret_cast<char*>(evidence->pbEncoded), evidence->cbEncoded);
    }
    EXPECT_EQ(told, (std::vector<std::string>{delta, base}));
}

TEST_F(ChainRulesTest, OnlyWhatEndedInAnAnchorIsKeptPrepared) {
    const std::size_t before = kept_x509_bytes();
    const auto strange_root = make_party({"strange root", nullptr, kAuthority});
    const auto strange = make_party({"stamper", strange_root.get(), kStamper});
    EXPECT_EQ(stamp_verdict(setting_, {encoded(strange.get()), {encoded(strange_root.get())}}),
              CERT_E_UNTRUSTEDROOT);
    EXPECT_EQ(kept_x509_bytes(), before);
    const auto large =
        make_party({"stamper", middle_.get(),
                    std::string(kStamper) + "nsComment=" + std::string(17'000, 'x')});
    const std::string large_bytes = encoded(large.get());
    EXPECT_EQ(stamp_verdict(setting_, {large_bytes, {encoded(middle_.get())}}), 0u);
    EXPECT_GT(kept_x509_bytes(), before);
    EXPECT_LT(kept_x509_bytes(), before + large_bytes.size());
}

// And of large ones that leaves open what only they could decide: an authority may be as large.
TEST_F(ChainRulesTest, CertificatesThatHardlyAnybodyMakesAreLeftOut) {
    const auto refused_as_issuer = [&](EVP_PKEY* key) {
        const Given given{remade(*stamper_, key, EVP_sha256()),
                          {remade(*middle_, root_->private_key.get(), EVP_sha256(), key)}};
        return stamp_verdict(setting_, given);
    };
    // An exponent of 2,001 bits.
    const EvpKey honest(EVP_RSA_gen(2048));
    BIGNUM* modulus = nullptr;
    ASSERT_EQ(EVP_PKEY_get_bn_param(honest.get(), "n", &modulus), 1);
    const OpensslOwner<BIGNUM, BN_free> n(modulus);
    const EvpKey slow = rsa_key(n.get(), 2001, 0);
    EXPECT_EQ(refused_as_issuer(honest.get()), 0u);
    const auto end = remade(*stamper_, honest.get(), EVP_sha256());
    EXPECT_EQ(stamp_verdict(
                  setting_,
                  {end, {remade(*middle_, root_->private_key.get(), EVP_sha256(), slow.get())}}),
              CERT_E_CHAINING);
    // A curve by its name, and the same written out.
    for (const bool is_explicit : {false, true}) {
        const EvpKey key = dear_key(is_explicit);
        EXPECT_EQ(refused_as_issuer(key.get()), is_explicit ? CERT_E_CHAINING : 0u);
    }
    std::string constraints = "nameConstraints=critical";
    for (int i = 0; i < 1100; ++i) {
        constraints += ",excluded;DNS:" + std::to_string(i);
    }
    const auto large =
        make_twin(*middle_, {"middle", root_.get(), std::string(kAuthority) + "\n" + constraints});
    const std::string stamper = encoded(stamper_.get());
    EXPECT_EQ(stamp_verdict(setting_, {stamper, encoded_all({large.get()})}), TRUST_E_SYSTEM_ERROR);
    EXPECT_EQ(stamp_verdict(setting_, {stamper, encoded_all({large.get(), middle_.get()})}), 0U);
    EXPECT_EQ(stamp_verdict(setting_, {stamper}), CERT_E_CHAINING);
    // Of another name it is nobody's.
    const auto junk =
        make_twin(*root_, {"junk", nullptr, std::string(kAuthority) + "\n" + constraints});
    EXPECT_EQ(stamp_verdict(setting_, {stamper, encoded_all({junk.get()})}), CERT_E_CHAINING);
    // And no way up makes good what is wrong itself.
    const auto ended = make_party({"stamper", middle_.get(), kStamper, -1000, -500});
    const auto misused = make_party({"stamper", middle_.get(), "extendedKeyUsage=serverAuth"});
    const auto bag = encoded_all({large.get(), middle_.get()});
    EXPECT_EQ(stamp_verdict(setting_, {encoded(ended.get()), bag}), CERT_E_EXPIRED);
    EXPECT_EQ(stamp_verdict(setting_, {encoded(misused.get()), bag}), CERT_E_WRONG_USAGE);
    const std::vector<std::string> without{encoded(large.get())};
    EXPECT_EQ(stamp_verdict(setting_, {encoded(ended.get()), without}), CERT_E_CHAINING);
}

} // namespace
} // namespace basalt::test
