// What a token carries to be judged by counts, wherever in it it stands.
#include <chronoseal/seal/ocsp_bytes.h>
#include <chronoseal/seal/signed_data_parts.h>
#include <chronoseal/seal/testing/seal_fixture.h>
#include <chronoseal/seal/testing/status_statements.h>

namespace chronoseal::testing {
namespace {

using tsp::element;
using tsp::sequence;
using tsp::TstInfo;

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
    std::string token = authority.token(TstInfo().encode());
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

// More lists than a decoder's memory allows are no token at all. Of as many as it allows a
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

    EXPECT_EQ(word_of([&] { stamp_with(bag(good, 100000)); }), "malformed");
    const Stamp namesakes =
        stamp_with(bag(list_by(authority, "20240501000000Z", 4, kFrom, kTo), 100));
    EXPECT_TRUE(Verifier(trust).verify_token(namesakes).indeterminate());
    EXPECT_NE(word_of([&] { static_cast<void>(extend(namesakes, trust)); }), "");
}

} // namespace
} // namespace chronoseal::testing
