// What a token carries to be judged by counts, wherever in it it stands.
#include <chronoseal/seal/ocsp_bytes.h>
#include <chronoseal/seal/signed_data_parts.h>
#include <chronoseal/seal/testing/seal_fixture.h>
#include <chronoseal/seal/testing/status_statements.h>

namespace chronoseal::testing {
namespace {

using tsp::element;
using tsp::sequence;

constexpr char kCertificateValues[] = "1.2.840.113549.1.9.16.2.23";

std::string repeated(const std::string& what, unsigned count) {
    std::string all;
    for (unsigned i = 0; i < count; ++i) {
        all += what;
    }
    return all;
}

// A token with more in it, by the place: a list or "other information" among the lists, or an
// attribute.
enum class Place { lists, attribute };

Stamp with(const std::string& token, Place place, const std::string& what) {
    SignedDataParts parts(to_bytes(token));
    if (place == Place::lists) {
        parts.add_revocation_list(to_bytes(what));
    } else {
        parts.add_unsigned_attribute(0, "1.2.840.113549.1.9.16.2.24", to_bytes(what));
    }
    return Stamp::read(parts.encode());
}

std::string among_lists(const std::string& answer) {
    return element(0xA1, tsp::oid("1.3.6.1.5.5.7.16.2") + answer);
}

std::string in_values(const std::string& list, const std::string& answer) {
    std::string fields = list.empty() ? "" : element(0xA0, sequence(list));
    if (!answer.empty()) {
        const Bytes response = to_bytes(answer);
        const ByteView basic = *basic_response_of(response);
        fields +=
            element(0xA1, sequence({reinterpret_cast<const char*>(basic.data()), basic.size()}));
    }
    return sequence(fields);
}

class CarriedEvidenceTest : public SealTest {
protected:
    struct Row {
        const char* name;
        Place place;
        std::string good, bad;
    };
    // The stamps are of 2024-06-01.
    std::vector<Row> rows() const {
        constexpr char kFrom[] = "20240602000000Z", kTo[] = "20491230000000Z";
        constexpr char kRevoked[] = "20240501000000Z";
        const std::string list = list_by(authority, "", -1, kFrom, kTo);
        const std::string bad_list = list_by(authority, kRevoked, 4, kFrom, kTo);
        const std::string answer = status_answer_by(authority, "", -1, kFrom, kTo);
        const std::string bad_answer = status_answer_by(authority, kRevoked, 4, kFrom, kTo);
        return {{"a list", Place::lists, list, bad_list},
                {"an answer among the lists", Place::lists, among_lists(answer),
                 among_lists(bad_answer)},
                {"a list in the attribute", Place::attribute, in_values(list, ""),
                 in_values(bad_list, "")},
                {"an answer in the attribute", Place::attribute, in_values("", answer),
                 in_values("", bad_answer)}};
    }
    // Nobody listens at port 1, and the network isn't asked besides.
    tsp::Authority authority{"20200101000000Z", "20491231000000Z", "http://127.0.0.1:1/x.crl"};
    std::string token = authority.token();
    Trust trust{.roots = {to_bytes(authority.root_der())},
                .revocation = Revocation::require,
                .offline = true};
};

TEST_F(CarriedEvidenceTest, ItSufficesWhereTheSourceIsDeadAndRevokesWhereItSaysSo) {
    const Verifier verifier(trust);
    EXPECT_TRUE(verifier.verify_token(Stamp::read(to_bytes(token))).indeterminate());
    for (const Row& row : rows()) {
        const Verdict good = verifier.verify_token(with(token, row.place, row.good));
        EXPECT_TRUE(good.good()) << row.name << ": " << good.error().what();
        ASSERT_FALSE(good.chain.empty());
        ASSERT_EQ(good.chain[0].evidence.size(), 1U) << row.name;
        EXPECT_EQ(good.chain[0].evidence[0].source, EvidenceSource::given) << row.name;
        const Verdict bad = verifier.verify_token(with(token, row.place, row.bad));
        EXPECT_EQ(bad.deciding().word, "revoked") << row.name;
    }
}

TEST_F(CarriedEvidenceTest, WhatAStrangerSignedCountsForNothing) {
    const tsp::Authority stranger;
    const std::string list = list_by(stranger, "", -1, "20240602000000Z", "20491230000000Z");
    EXPECT_TRUE(Verifier(trust).verify_token(with(token, Place::lists, list)).indeterminate());
}

// More lists than a decoder's memory allows aren't read. Of as many as it allows a
// stranger's cost a look at their issuer's name, and those that name the right one a signature
// each.
TEST_F(CarriedEvidenceTest, ABagOfJunkIsBounded) {
    constexpr char kFrom[] = "20240602000000Z", kTo[] = "20491230000000Z";
    const auto bag = [](std::string list, unsigned count) {
        std::string junk;
        for (unsigned i = 0; i < count; ++i) {
            const std::size_t end = list.size(); // within the signature
            list[end - 1] = static_cast<char>(i);
            list[end - 2] = static_cast<char>(i >> 8);
            list[end - 3] = static_cast<char>(i >> 16);
            junk += list;
        }
        return junk;
    };
    const auto stamp_with = [&](const std::string& lists) {
        SignedDataParts parts(to_bytes(token));
        parts.add_revocation_list(to_bytes(lists)); // one call, many entries
        return Stamp::read(parts.encode());
    };
    const std::string good = list_by(authority, "", -1, kFrom, kTo);
    const Stamp strangers =
        stamp_with(bag(list_by(tsp::Authority(), "", -1, kFrom, kTo), 100) + good);
    EXPECT_EQ(strangers.info().token->revocation_lists, 101U);
    const Verdict verdict = Verifier(trust).verify_token(strangers);
    EXPECT_TRUE(verdict.good()) << verdict.error().what();
    const Extension extension = extend(strangers, trust);
    EXPECT_EQ(extension.certificates, 1U);
    EXPECT_EQ(extension.revocation_lists, 0U);

    EXPECT_WORD("unsigned_too_many", stamp_with(bag(good, 100000)));
    const Stamp namesakes =
        stamp_with(bag(list_by(authority, "20240501000000Z", 4, kFrom, kTo), 100));
    EXPECT_TRUE(Verifier(trust).verify_token(namesakes).indeterminate());
    EXPECT_NE(word_of([&] { static_cast<void>(extend(namesakes, trust)); }), "");
}

// The signer's certificate lies behind others in the unsigned attribute that long-term signatures
// have for them.
TEST_F(CarriedEvidenceTest, CertificatesAreFoundBehindOthersAndNeverMissedForBad) {
    const std::string other = tsp::Authority().signer_der();
    const std::string bare = authority.signed_with({.with_certificates = false});
    trust.revocation = Revocation::available;
    const auto verdict_behind = [&](unsigned count) {
        SignedDataParts parts(to_bytes(bare));
        parts.add_unsigned_attribute(
            0, kCertificateValues,
            to_bytes(sequence(repeated(other, count) + authority.signer_der())));
        return Verifier(trust).verify_token(Stamp::read(parts.encode()));
    };
    for (const unsigned count : {0U, 300U, 3000U}) {
        const Verdict verdict = verdict_behind(count);
        EXPECT_TRUE(verdict.good()) << count << verdict.error().what();
    }
    EXPECT_TRUE(verdict_behind(5000).indeterminate());

    // Of two roots the other one may be the honest way's.
    const Row revoking = rows().front();
    SignedDataParts parts(to_bytes(token));
    parts.add_revocation_list(to_bytes(revoking.bad));
    parts.add_unsigned_attribute(0, kCertificateValues, to_bytes(sequence(repeated(other, 5000))));
    const Stamp revoked = Stamp::read(parts.encode());
    EXPECT_EQ(Verifier(trust).verify_token(revoked).deciding().word, "revoked");
    trust.roots.push_back(to_bytes(tsp::Authority().root_der()));
    EXPECT_TRUE(Verifier(trust).verify_token(revoked).indeterminate());
}

// An authority under the same root says that the signer's key was stolen, of a certificate that it
// has issued for it.
TEST_F(CarriedEvidenceTest, OnlyWhoMayIssueStampersIsHeardOfTheSignersKey) {
    using tsp::owned;
    const auto key = owned(EVP_EC_gen("P-256"), &EVP_PKEY_free);
    const auto certificate = [&](const char* name, const X509_NAME* issuer, EVP_PKEY* subject_key,
                                 EVP_PKEY* issuer_key, const char* usage) {
        auto made = owned(X509_dup(authority.root()), &X509_free);
        X509_set_issuer_name(made.get(), issuer);
        ASN1_INTEGER_set(X509_get_serialNumber(made.get()), 123);
        const auto subject = owned(X509_NAME_new(), &X509_NAME_free);
        X509_NAME_add_entry_by_txt(subject.get(), "CN", MBSTRING_UTF8,
                                   reinterpret_cast<const unsigned char*>(name), -1, -1, 0);
        X509_set_subject_name(made.get(), subject.get());
        X509_set_pubkey(made.get(), subject_key);
        if (usage != nullptr) {
            const auto entry =
                owned(X509V3_EXT_conf_nid(nullptr, nullptr, NID_ext_key_usage, usage),
                      &X509_EXTENSION_free);
            X509_add_ext(made.get(), entry.get(), -1);
        }
        X509_sign(made.get(), issuer_key, EVP_sha256());
        return made;
    };
    const auto list = owned(X509_CRL_new(), &X509_CRL_free);
    const auto time = owned(ASN1_TIME_new(), &ASN1_TIME_free);
    X509_CRL_set_version(list.get(), X509_CRL_VERSION_2);
    ASN1_TIME_set_string_X509(time.get(), "20240602000000Z");
    X509_CRL_set1_lastUpdate(list.get(), time.get());
    X509_REVOKED* entry = X509_REVOKED_new();
    X509_REVOKED_set_revocationDate(entry, time.get());
    const auto why = owned(ASN1_ENUMERATED_new(), &ASN1_ENUMERATED_free);
    ASN1_ENUMERATED_set(why.get(), CRL_REASON_KEY_COMPROMISE);
    X509_REVOKED_add1_ext_i2d(entry, NID_crl_reason, why.get(), 0, 0);
    const auto serial = owned(ASN1_INTEGER_new(), &ASN1_INTEGER_free);
    ASN1_INTEGER_set(serial.get(), 123);
    X509_REVOKED_set_serialNumber(entry, serial.get());
    X509_CRL_add0_revoked(list.get(), entry);
    ASN1_TIME_set_string_X509(time.get(), "20491230000000Z");
    X509_CRL_set1_nextUpdate(list.get(), time.get());
    trust.revocation = Revocation::available;
    struct Case {
        const char* of_speaker;
        const char* of_twin;
        bool is_heard;
    };
    for (const Case& c :
         {Case{nullptr, nullptr, true}, Case{"serverAuth", nullptr, false},
          Case{nullptr, "serverAuth", true}, Case{"serverAuth,timeStamping", nullptr, true}}) {
        SCOPED_TRACE(c.of_speaker == nullptr ? "any" : c.of_speaker);
        const auto speaker = certificate("speaker", X509_get_subject_name(authority.root()),
                                         key.get(), authority.root_key(), c.of_speaker);
        const X509_NAME* name = X509_get_subject_name(speaker.get());
        const auto twin = certificate("Test Authority", name, X509_get0_pubkey(authority.signer()),
                                      key.get(), c.of_twin);
        X509_CRL_set_issuer_name(list.get(), name);
        X509_CRL_sign(list.get(), key.get(), EVP_sha256());
        Trust with = trust;
        with.certificates = {to_bytes(tsp::der(speaker.get(), &i2d_X509)),
                             to_bytes(tsp::der(twin.get(), &i2d_X509))};
        with.evidence = {to_bytes(tsp::der(list.get(), &i2d_X509_CRL))};
        const Verdict verdict = Verifier(with).verify_token(Stamp::read(to_bytes(token)));
        EXPECT_EQ(verdict.good(), !c.is_heard) << verdict.error().what();
        if (c.is_heard) {
            EXPECT_EQ(verdict.deciding().word, "revoked");
        }
    }
}

} // namespace
} // namespace chronoseal::testing
