// What of a token is written anew, and what never.
#include <chronoseal/seal/testing/evidence_fixture.h>
#include <chronoseal/seal/token_der.h>

namespace chronoseal::testing {
namespace {

class TokenDerTest : public EvidenceTest {
protected:
    static std::string der(const std::string& token) { return to_text(token_der(to_bytes(token))); }
    static std::string indefinite(char tag, const std::string& content) {
        return std::string(1, tag) + '\x80' + content + std::string(2, '\0');
    }
    // The content of an element with a length of two bytes.
    static std::string inside(const std::string& element) { return element.substr(4); }
};

TEST_F(TokenDerTest, IndefiniteLengthsBecomeDefinite) {
    const std::string token = this->token(hashed("data"));
    const std::string der_form = der(token);
    const std::string type = tsp::oid("1.2.840.113549.1.7.2");
    const std::string signed_data = inside(inside(token).substr(type.size()));
    const std::string loose =
        indefinite('\x30', type + indefinite('\xA0', indefinite('\x30', inside(signed_data))));
    EXPECT_NE(loose, token);
    EXPECT_EQ(der(loose), der_form);
    EXPECT_EQ(der(der_form), der_form);
    // The record of a token in pieces is that of the token in one, and is good.
    const auto record = EvidenceRecord::of_stamp(Stamp::read(to_bytes(loose)));
    EXPECT_EQ(fault(record), "");
    EXPECT_EQ(record.der(), EvidenceRecord::of_stamp(Stamp::read(to_bytes(token))).der());
}

TEST_F(TokenDerTest, ARecordThatHoldsATokenOfBerIsReadAsItIsOrAsDer) {
    const std::string first = token(hashed("data"));
    const std::string type = tsp::oid("1.2.840.113549.1.7.2");
    const std::string loose =
        indefinite('\x30', type + indefinite('\xA0', inside(inside(first).substr(type.size()))));
    for (const std::string& over : {hashed(loose), hashed(der(loose))}) {
        const auto verdict = verify(record_text(
            {{stamp_text({}, loose), stamp_text({{over}}, token(over, "20250601120000Z"))}}));
        EXPECT_TRUE(verdict.good()) << verdict.failure->what();
        EXPECT_EQ(!verdict.remarks.empty(), over != hashed(loose));
    }
}

TEST_F(TokenDerTest, CertificatesAreSortedAndTheSignedPartsStay) {
    const std::string token = authority.signed_with({.extra_certificate = true});
    const std::string one = authority.root_der(), two = authority.signer_der();
    const std::string sorted = std::min(one, two) + std::max(one, two);
    std::string shuffled = token;
    const std::size_t at =
        token.find(one + two) != std::string::npos ? token.find(one + two) : token.find(two + one);
    ASSERT_NE(at, std::string::npos);
    const std::string reversed = std::max(one, two) + std::min(one, two);
    shuffled.replace(at, reversed.size(), reversed);
    EXPECT_NE(der(shuffled).find(sorted), std::string::npos);
    EXPECT_EQ(der(shuffled), der(token));
    EXPECT_EQ(fault(EvidenceRecord::of_stamp(Stamp::read(to_bytes(shuffled)))), "");
}

TEST_F(TokenDerTest, WhatIsNoSignedDataStaysAsItIs) {
    const std::string token = this->token(hashed("data"));
    std::string deep;
    for (int i = 0; i < 200; ++i) {
        deep = std::string("\x30\x80", 2) + deep;
    }
    for (const std::string& odd :
         {std::string(), std::string("x"), deep, token.substr(0, token.size() - 1), token + "x",
          std::string("\x30\x80\x00", 3), tsp::sequence(tsp::oid("1.2.3"))}) {
        EXPECT_EQ(der(odd), odd);
    }
}

} // namespace
} // namespace chronoseal::testing
