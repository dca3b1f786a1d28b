#include <array>
#include <utility>

#include <chronoseal/seal/testing/seal_fixture.h>
#include <chronoseal/seal/testing/status_statements.h>
#include <chronoseal/seal/verification.h>

namespace chronoseal::testing {
namespace {

using tsp::Signing;
using tsp::TstInfo;

class VerifierTest : public SealTest {
protected:
    Trust trust() const { return {.roots = {to_bytes(authority.root_der())}}; }
    Stamp stamp_of(const TstInfo& info, const Signing& signing = {}) const {
        return Stamp::read(to_bytes(authority.token(info.encode(), signing)));
    }
    // With a SigningCertificate (RFC 2634, 5.4) of that hash beside the V2.
    Stamp stamp_naming(const std::string& sha1) const {
        const std::string named =
            tsp::sequence(tsp::sequence(tsp::sequence(tsp::element(0x04, sha1))));
        return Stamp::read(to_bytes(authority.token(TstInfo().encode(), {}, named)));
    }
    Verdict verify(const Stamp& stamp, const std::string& data = "data") const {
        return Verifier(trust()).verify(stamp, bytes_of(data));
    }

    tsp::Authority authority;
};

void expect_whole(const Verdict& verdict) {
    ASSERT_EQ(verdict.findings.size(), kChecks);
    for (std::size_t i = 0; i < kChecks; ++i) {
        const Finding& finding = verdict.findings[i];
        EXPECT_EQ(finding.check, static_cast<Check>(i));
        EXPECT_FALSE(finding.word.empty()) << check_name(finding.check);
        EXPECT_FALSE(finding.text.empty()) << check_name(finding.check);
    }
}

TEST_F(VerifierTest, AGoodStampPassesEveryCheckThatWasAsked) {
    const Verdict verdict = verify(stamp_of({}));
    expect_whole(verdict);
    EXPECT_TRUE(verdict.good()) << verdict.error().what();
    EXPECT_TRUE(verdict.compared());
    EXPECT_FALSE(verdict.indeterminate());
    ASSERT_EQ(verdict.chain.size(), 2U);
    EXPECT_TRUE(verdict.chain.back().anchor);
    EXPECT_EQ(utc_text(verdict.judged_at), "2024-06-01T12:00:00Z");
    EXPECT_EQ(verdict.signer->subject, "CN=Test Authority");
}

TEST_F(VerifierTest, AStampThatIsHandedOverLeavesItsCopiesWhole) {
    const Verifier verifier(trust());
    Expected expected;
    expected.without_data = true;
    const auto expect_held = [&](const StampInfo& info) {
        ASSERT_TRUE(info.token);
        EXPECT_EQ(info.token->certificates.size(), 1U);
        EXPECT_EQ(utc_text(info.token->time), "2024-06-01T12:00:00Z");
        ASSERT_TRUE(info.token->signer);
        EXPECT_EQ(info.token->signer->subject, "CN=Test Authority");
    };
    Stamp stamp = stamp_of({});
    const Stamp copy = stamp;
    const Verdict shared = verifier.verify(std::move(stamp), expected);
    EXPECT_TRUE(shared.good());
    expect_held(shared.stamp);
    expect_held(copy.info());
    const Verdict alone = verifier.verify(stamp_of({}), expected);
    EXPECT_TRUE(alone.good());
    expect_held(alone.stamp);
}

// What is read of signed attributes is kept by their bytes.
TEST_F(VerifierTest, WhatOneTokenNamesIsNotTakenForAnothersSigner) {
    const tsp::Authority other;
    const std::vector<const tsp::Authority*> both{&authority, &other};
    for (int turn = 0; turn < 2; ++turn) {
        for (const tsp::Authority* one : both) {
            const Verdict verdict =
                Verifier({.roots = {to_bytes(one->root_der())}})
                    .verify(Stamp::read(to_bytes(one->token())), bytes_of("data"));
            EXPECT_TRUE(verdict.good()) << verdict.error().what();
            EXPECT_EQ(verdict.signer->der, to_bytes(one->signer_der()));
        }
    }
}

// A file that can't be read might be the one with the strictest rules.
TEST_F(VerifierTest, UnderRulesThatCannotBeReadNothingIsJudged) {
    for (const Revocation mode : {Revocation::as_configured, Revocation::off}) {
        tsp::Configuration::instance().set_raw("[[[\n");
        Trust wanted = trust();
        wanted.revocation = mode;
        try {
            const Verifier verifier{wanted};
            ADD_FAILURE() << "it judges";
        } catch (const Error& error) {
            EXPECT_EQ(error.word(), "policy_unreadable");
            EXPECT_NE(error.text().find("config.toml"), std::string::npos) << error.text();
        }
    }
}

TEST_F(VerifierTest, WithoutDataNothingIsGoodUnlessOneSaysSo) {
    const Stamp stamp = stamp_of({});
    const Verdict verdict = Verifier(trust()).verify(stamp, Expected{});
    EXPECT_FALSE(verdict.good());
    EXPECT_FALSE(verdict.indeterminate());
    EXPECT_EQ(verdict.deciding().word, "data_missing");
    const Verdict token = Verifier(trust()).verify_token(stamp);
    EXPECT_TRUE(token.good());
    EXPECT_FALSE(token.compared());
}

// Each fault is told by its own check, and hides none of the others.
TEST_F(VerifierTest, EachFaultIsFoundByItsOwnCheck) {
    struct Row {
        const char* name;
        std::function<Verdict()> verdict;
        Check check;
        const char* word;
    };
    const auto of_stamp = [&](const TstInfo& info, const Signing& signing = {}) {
        return [this, stamp = stamp_of(info, signing)] { return verify(stamp); };
    };
    const auto expecting = [&](void (*change)(Expected&), const TstInfo& info = {}) {
        Expected expected;
        expected.without_data = true;
        change(expected);
        return [this, expected, stamp = stamp_of(info)] {
            return Verifier(trust()).verify(stamp, expected);
        };
    };
    const Row rows[] = {
        {"other data", [&] { return verify(stamp_of({}), "other"); }, Check::imprint,
         "imprint_differs"},
        {"another algorithm over the same bytes", expecting([](Expected& e) {
             e.digest = Digest::of(bytes_of("data"), HashAlgorithm::by_name("SHA-512"));
         }),
         Check::imprint, "imprint_algorithm_differs"},
        {"another nonce",
         expecting([](Expected& e) { e.nonce = from_hex("05"); }, {.nonce = "\x06"}), Check::nonce,
         "nonce_differs"},
        {"a nonce that wasn't asked for",
         expecting([](Expected& e) { e.nonce_known = true; }, {.nonce = "\x06"}), Check::nonce,
         "nonce_differs"},
        {"another policy", expecting([](Expected& e) { e.policy = "1.2.3.5"; }), Check::policy,
         "policy_differs"},
        {"from the future", of_stamp({.genTime = "20480101000000Z"}), Check::time,
         "time_in_future"},
        {"another content", of_stamp({}, {.contentType = tsp::kDataOid}), Check::content_type,
         "content_type_wrong"},
        {"no signing certificate", of_stamp({}, {.flags = 0}), Check::signer, "signer_not_named"},
        {"no certificate", of_stamp({}, {.with_certificates = false}), Check::signer,
         "signer_not_found"},
        {"two names for the signer", [&] { return verify(stamp_naming(std::string(20, 'x'))); },
         Check::signer, "signer_contradicted"},
        {"two signers", of_stamp({}, {.signers = 2}), Check::signature, "signers_many"},
        {"a critical extension", of_stamp({.extensions = tsp::extension("1.2.3.4.5", true)}),
         Check::extensions, "extension_critical"},
        {"a certificate that begins a second later", of_stamp({.genTime = "20191231235959Z"}),
         Check::chain, "certificate_expired"},
        {"an unknown root",
         [&] {
             return Verifier({.roots = {to_bytes(tsp::Authority().root_der())}})
                 .verify(stamp_of({}), bytes_of("data"));
         },
         Check::chain, "chain_incomplete"},
    };
    for (const Row& row : rows) {
        const Verdict verdict = row.verdict();
        expect_whole(verdict);
        EXPECT_FALSE(verdict.good()) << row.name;
        EXPECT_EQ(verdict.at(row.check).outcome, Outcome::failed) << row.name;
        EXPECT_EQ(verdict.at(row.check).word, row.word) << row.name;
        for (const Finding& finding : verdict.findings) {
            if (finding.check != row.check && finding.check != Check::usage) {
                EXPECT_NE(finding.outcome, Outcome::failed)
                    << row.name << ": " << check_name(finding.check) << ", " << finding.text;
            }
        }
    }
}

TEST_F(VerifierTest, TwoAttributesMayNameOneSigner) {
    EXPECT_TRUE(verify(stamp_naming(tsp::hashed(authority.signer_der(), EVP_sha1()))).good());
}

TEST_F(VerifierTest, AChangedTokenIsNotGoodWhereverItIsChanged) {
    const std::string good = authority.token();
    const Verifier verifier(trust());
    std::size_t read = 0;
    for (std::size_t i = 0; i < good.size(); i += 3) {
        std::string changed = good;
        changed[i] = static_cast<char>(changed[i] ^ 1);
        try {
            const Stamp stamp = Stamp::read(to_bytes(changed));
            const Verdict verdict = verifier.verify(stamp, bytes_of("data"));
            expect_whole(verdict);
            // What no signature covers may change: tags of the certificate set and the like, as
            // long as the fields are the same.
            const bool same = stamp.info().token->imprint == to_bytes(tsp::sha256("data"));
            EXPECT_TRUE(!verdict.good() ||
                        (same && stamp.time() == Stamp::read(to_bytes(good)).time()))
                << i;
            ++read;
        } catch (const Error& error) {
            EXPECT_FALSE(error.word().empty());
        }
    }
    EXPECT_GT(read, 100U);
}

TEST_F(VerifierTest, AForgedSignatureEndsTheJudgementBeforeTheChain) {
    const std::string good = authority.token();
    std::string forged = good;
    forged.back() = static_cast<char>(forged.back() ^ 1); // the last octet of the signature
    const Verdict verdict = verify(Stamp::read(to_bytes(forged)));
    EXPECT_EQ(verdict.at(Check::signature).word, "signature_bad");
    for (const Check check : {Check::chain, Check::usage, Check::revocation, Check::strength}) {
        EXPECT_EQ(verdict.at(check).outcome, Outcome::not_done);
        EXPECT_EQ(verdict.at(check).word, "earlier_failure");
    }
    EXPECT_EQ(verdict.error().category(), Category::refused);
}

TEST_F(VerifierTest, ARefusalIsTheOnlyFinding) {
    const Stamp stamp = Stamp::read(to_bytes(
        tsp::response(2, "", tsp::element(0x0C, "no\x1b[2J way"), tsp::fail_info_bits(1U << 15))));
    EXPECT_FALSE(stamp.has_token());
    EXPECT_EQ(stamp.info().failure_names, std::vector<std::string>{"unacceptedPolicy"});
    const Verdict verdict = verify(stamp);
    expect_whole(verdict);
    EXPECT_EQ(verdict.deciding().word, "not_granted");
    EXPECT_EQ(verdict.deciding().code, 0xC2100124U);
    EXPECT_NE(verdict.deciding().text.find("no\\x1b[2J way"), std::string::npos);
    EXPECT_WORD("no_token", static_cast<void>(stamp.time()));
}

// A list that covers now; the stamp is of 2024-06-01.
TEST_F(VerifierTest, RevocationIsToldWithItsEvidence) {
    using std::chrono::days;
    const Time now = std::chrono::time_point_cast<Time::duration>(std::chrono::system_clock::now());
    const std::string from = generalized(now - days(1)), to = generalized(now + days(1));
    struct Row {
        const char* revoked;
        int reason;
        Outcome outcome;
        RevocationState state;
    };
    const Row rows[] = {
        {"", -1, Outcome::passed, RevocationState::good},
        {"20240101000000Z", 4, Outcome::failed, RevocationState::revoked},
        {"20250101000000Z", 1, Outcome::failed, RevocationState::revoked}, // its key was stolen
    };
    const Stamp stamp = stamp_of({});
    for (const Row& row : rows) {
        Trust with_list = trust();
        with_list.evidence = {
            to_bytes(list_by(authority, row.revoked, row.reason, from.c_str(), to.c_str()))};
        const Verdict verdict = Verifier(with_list).verify(stamp, bytes_of("data"));
        const Finding& finding = verdict.at(Check::revocation);
        EXPECT_EQ(finding.outcome, row.outcome) << row.revoked << finding.text;
        ASSERT_FALSE(verdict.chain.empty());
        EXPECT_EQ(verdict.chain[0].revocation, row.state) << row.revoked;
        ASSERT_EQ(verdict.chain[0].evidence.size(), 1U) << row.revoked;
        const Evidence& evidence = verdict.chain[0].evidence[0];
        EXPECT_EQ(evidence.source, EvidenceSource::given);
        EXPECT_EQ(evidence.der, std::get<Bytes>(with_list.evidence[0]));
        EXPECT_EQ(generalized(evidence.this_update), from);
        if (row.outcome == Outcome::failed) {
            EXPECT_EQ(finding.word, "revoked");
            EXPECT_EQ(verdict.error().category(), Category::refused);
            EXPECT_EQ(generalized(*evidence.revoked), row.revoked);
            EXPECT_EQ(finding.text.find("after the stamp") != std::string::npos,
                      *evidence.revoked > verdict.judged_at)
                << finding.text;
            EXPECT_EQ(finding.text.find("before the stamp"), std::string::npos);
        }
        with_list.revocation = Revocation::off;
        EXPECT_TRUE(Verifier(with_list).verify(stamp, bytes_of("data")).good()) << row.revoked;
    }
}

// A server that has nothing; each question to it would be made anew.
TEST_F(VerifierTest, NothingIsFetchedForWhatIsBadAnywayNorTwiceForOneFile) {
    LoopbackServer empty([](const std::string&) { return http_reply(404, ""); });
    const tsp::Authority listed("20200101000000Z", "20491231000000Z", utf8(empty.url()));
    const Stamp stamp = Stamp::read(to_bytes(listed.token()));
    const Verifier verifier(Trust{.roots = {to_bytes(listed.root_der())}});
    const Verdict bad = verifier.verify(stamp, bytes_of("other"));
    EXPECT_EQ(bad.deciding().check, Check::imprint);
    EXPECT_EQ(bad.at(Check::chain).outcome, Outcome::passed);
    EXPECT_EQ(bad.at(Check::revocation).word, "earlier_failure");
    EXPECT_EQ(empty.requests().size(), 0U);
    const Verifier file = verifier.for_one_file();
    for (int stamps = 0; stamps < 3; ++stamps) {
        const Verdict open = file.verify(stamp, bytes_of("data"));
        EXPECT_TRUE(open.indeterminate()) << open.error().what();
        EXPECT_NE(open.deciding().text.find(": " + utf8(empty.url())), std::string::npos)
            << open.deciding().text;
    }
    EXPECT_EQ(empty.requests().size(), 1U);
    EXPECT_TRUE(verifier.for_one_file().verify(stamp, bytes_of("data")).indeterminate());
    EXPECT_TRUE(verifier.verify(stamp, bytes_of("data")).indeterminate());
    EXPECT_EQ(empty.requests().size(), 3U) << "the next file asks again";
}

// The certificate and the list of a long-term signature stand in unsigned attributes.
TEST_F(VerifierTest, WhatTheTokenBringsAlongCounts) {
    const auto judged = [&](const std::string& token) {
        return verify(Stamp::read(to_bytes(token)));
    };
    std::string token = authority.signed_with({.with_certificates = false});
    EXPECT_EQ(judged(token).deciding().word, "signer_not_found");
    token = tsp::with_unsigned(token, "1.2.840.113549.1.9.16.2.23",
                               tsp::sequence(authority.signer_der()));
    EXPECT_TRUE(judged(token).good());
    const std::string list =
        list_by(authority, "20240101000000Z", 1, "20240102000000Z", "20491231000000Z");
    token = tsp::with_unsigned(token, "1.2.840.113549.1.9.16.2.24",
                               tsp::sequence(tsp::element(0xA0, tsp::sequence(list))));
    EXPECT_EQ(judged(token).deciding().word, "revoked");
}

// Hashes that few ask for are hashes all the same: as imprints, and as what names the certificate.
TEST_F(VerifierTest, SeldomHashesAreRead) {
    const struct {
        const char* oid;
        const EVP_MD* digest;
        bool signs; // OpenSSL makes messages with it and a key on a curve
    } rows[] = {
        {"2.16.840.1.101.3.4.2.4", EVP_sha224(), true},
        {"2.16.840.1.101.3.4.2.6", EVP_sha512_256(), false},
        {"2.16.840.1.101.3.4.2.8", EVP_sha3_256(), false},
        {"2.16.840.1.101.3.4.2.10", EVP_sha3_512(), false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.oid);
        const TstInfo info{.digest = tsp::hashed("data", row.digest), .hash_oid = row.oid};
        const Signing signing{.digest = row.signs ? row.digest : EVP_sha256()};
        const Verdict verdict = verify(stamp_of(info, signing));
        EXPECT_TRUE(verdict.good()) << verdict.error().what();
        EXPECT_TRUE(verdict.compared());
        EXPECT_EQ(verify(stamp_of(info, signing), "other").deciding().word, "imprint_differs");
    }
}

TEST_F(VerifierTest, WhatIsWeakIsRemarkedAndRefusedWhereThatIsWanted) {
    Trust strict = trust();
    const Stamp stamp = stamp_of({}, {.digest = EVP_sha1()});
    const Verdict floor = Verifier(strict).verify(stamp, bytes_of("data"));
    EXPECT_TRUE(floor.good());
    EXPECT_FALSE(floor.at(Check::strength).remarks.empty());
    strict.strength = Strength::current;
    EXPECT_EQ(Verifier(strict).verify(stamp, bytes_of("data")).deciding().word, "strength_too_low");
    EXPECT_TRUE(Verifier(strict).verify(stamp_of({}), bytes_of("data")).good());
    strict.strength = Strength::as_configured;
    const struct {
        const char* setting;
        bool good;
    } rows[] = {
        {"", true},
        {"Strength = 'floor'", true},
        {"Strength = 'current'", false},
        {"Strength = 'curent'", false}, // a slip closes
        {"Strength = 1", false},
    };
    for (const auto& row : rows) {
        tsp::Configuration::instance().set("", std::string("[config.basalt]\n") + row.setting);
        EXPECT_EQ(Verifier(strict).verify(stamp, bytes_of("data")).good(), row.good) << row.setting;
    }
    tsp::Configuration::instance().set("", "");
}

// Nothing is said to be bad for what other stamps of the file have cost.
TEST_F(VerifierTest, WhatAFileCostsTooMuchCannotBeTold) {
    const Stamp stamp = stamp_of({});
    const TrustInForce in_force(trust());
    const HashAlgorithm sha256 = HashAlgorithm::by_name("SHA-256");
    Expected expected;
    expected.digest = Digest::of(bytes_of("data"), sha256);
    const SharedFetching file;
    EXPECT_TRUE(Verification(in_force, stamp, expected, &file).run({}).good());
    const std::string der = authority.signer_der();
    PCCERT_CONTEXT signer =
        CertCreateCertificateContext(X509_ASN_ENCODING, reinterpret_cast<const BYTE*>(der.data()),
                                     static_cast<DWORD>(der.size()));
    ASSERT_NE(signer, nullptr);
    unsigned left = 0;
    while (left < 20'000 && file.take_signature(signer)) {
        ++left;
    }
    CertFreeCertificateContext(signer);
    EXPECT_GT(left, 1'000U);
    EXPECT_LT(left, 20'000U);
    const Verdict verdict = Verification(in_force, stamp, expected, &file).run({});
    EXPECT_FALSE(verdict.good());
    EXPECT_TRUE(verdict.indeterminate());
    EXPECT_EQ(verdict.at(Check::imprint).outcome, Outcome::passed);
    EXPECT_EQ(verdict.deciding().check, Check::signature);
    EXPECT_EQ(verdict.deciding().word, "chain_too_costly");
    EXPECT_EQ(verdict.error().category(), Category::unreachable);
    expected.digest = Digest::of(bytes_of("other"), sha256);
    EXPECT_FALSE(Verification(in_force, stamp, expected, &file).run({}).indeterminate())
        << "what is bad is bad all the same";
    EXPECT_TRUE(verify(stamp).good()) << "nor for one that stands alone";
}

// Whoever passes a mail on may add to its signature.
TEST_F(VerifierTest, OfASignedMailTheTextIsMeant) {
    const tsp::Authority other;
    const auto pem = [](const std::string& der) {
        return "-----BEGIN CERTIFICATE-----\n" + tsp::base64(der) + "\n-----END CERTIFICATE-----\n";
    };
    const std::string mail =
        "MIME-Version: 1.0\nContent-Type: multipart/signed; "
        "protocol=\"application/pkcs7-signature\"; boundary=\"b\"\n\n--b\n\nthe root:\n" +
        pem(authority.root_der()) +
        "\n--b\nContent-Type: application/pkcs7-signature\nContent-Transfer-Encoding: "
        "base64\n\n" +
        tsp::base64(other.token()) + "\n\n--b--\n";
    const Trust by_mail{.roots = {to_bytes(mail)}, .revocation = Revocation::off};
    for (const tsp::Authority* one : std::array{&std::as_const(authority), &other}) {
        EXPECT_EQ(
            Verifier(by_mail).verify(Stamp::read(to_bytes(one->token())), bytes_of("data")).good(),
            one == &authority);
    }
}

TEST_F(VerifierTest, TrustThatHoldsNothingIsRefused) {
    EXPECT_WORD("no_certificates", Verifier({.roots = {to_bytes("no certificate")}}));
    EXPECT_WORD("file_unreadable", Verifier({.roots = {std::filesystem::path("/none/there.pem")}}));
    const Bytes root = to_bytes(authority.root_der());
    const Bytes list = to_bytes(list_by(authority, "", -1, "20260101000000Z", "20360101000000Z"));
    EXPECT_WORD("no_certificates", Verifier({.roots = {list}}));
    EXPECT_WORD("no_evidence", Verifier({.roots = {root}, .evidence = {root}}));
    const auto block = [](const Bytes& der) {
        return "-----BEGIN X509 CRL-----\n" + tsp::base64(to_text(der)) +
               "\n-----END X509 CRL-----\n";
    };
    const std::string whole = block(list);
    const std::string damaged = std::string(whole).erase(whole.find("MI"), 1);
    const Trust several{.roots = {root}, .evidence = {to_bytes(whole + whole)}};
    EXPECT_NO_THROW(Verifier{several});
    const std::string key = "-----BEGIN EC PARAMETERS-----\nBggqhkjOPQMBBw==\n"
                            "-----END EC PARAMETERS-----\n-----BEGIN PGP SIGNATURE-----\n%\n";
    const Trust mixed{.roots = {root}, .evidence = {to_bytes(key + whole + key)}};
    EXPECT_NO_THROW(Verifier{mixed}) << "what is no evidence is passed over";
    for (const std::string& text :
         {whole + damaged, damaged + whole, whole + whole.substr(0, whole.size() / 2),
          whole + block(to_bytes("no list"))}) {
        EXPECT_WORD("evidence_unreadable",
                    Verifier({.roots = {root}, .evidence = {to_bytes(text)}}))
            << "it may be what revokes";
    }
}

} // namespace
} // namespace chronoseal::testing
