#include <chronoseal/core/token.h>

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include <chronoseal/base/test_code.h>
#include <chronoseal/core/request.h>
#include <chronoseal/core/response.h>
#include <chronoseal/core/signed_message.h>

namespace Halcyon::PKI::TSP {
namespace {

constexpr std::uint32_t kBadEncoding = 0x80093101;

CBlob file(const std::string& name) {
    CBlob bytes;
    bytes.readFromFile((CHRONOSEAL_TESTDATA "/" + name).c_str());
    return bytes;
}

CBlob part(const CBlob& bytes, unsigned long size) {
    return CBlob(bytes.pbData(), size);
}

std::string hex(const CBlob& bytes) {
    return bytes.writeToHexString(0).c_str();
}

TEST(Token, ReadsTheSameFieldsFromDerAndBer) {
    for (const auto* name : {"token.der", "token-indefinite.ber", "token-empty-unsigned.der"}) {
        const auto bytes = file(name);
        CToken token;
        token.decode(bytes);
        EXPECT_EQ(token.encode(), bytes);
        EXPECT_EQ(token.get_version(), 1);
        EXPECT_STREQ(token.get_policy(), "1.2.3.4.1");
        EXPECT_STREQ(token.get_hashAlgorithm().get_algorithm(), "2.16.840.1.101.3.4.2.1");
        EXPECT_EQ(hex(token.get_hashedMessage()),
                  "3A6EB0790F39AC87C94F3856B2DD2C5D110E6811602261A9A923D3BB23ADC8B7");
        EXPECT_EQ(hex(token.get_serialNumber()), "01");
        ASSERT_NE(token.get_accuracy(), nullptr);
        EXPECT_EQ(token.get_accuracy()[0], 1u);
        EXPECT_EQ(token.get_accuracy()[1], 500u);
        EXPECT_EQ(token.get_accuracy()[2], 100u);
        EXPECT_TRUE(token.get_ordering());
        ASSERT_NE(token.get_nonce(), nullptr);
        ASSERT_NE(token.get_tsa(), nullptr);
        EXPECT_EQ(token.get_tsa()->get_type(), 5u);
        EXPECT_EQ(token.get_extensions(), nullptr);
        ASSERT_NE(token.get_certificates(), nullptr);
        EXPECT_EQ(token.get_certificates()->size(), 2u);
        EXPECT_NE(token.get_signerInfo().get_signature().cbData(), 0u);
        EXPECT_EQ(token.get_certificates()->front(), file("tsa.cer"));
        EXPECT_TRUE(token.verify(file("tsa.cer")));
        EXPECT_FALSE(token.verify(file("root.cer"))) << "not the one that the signer names";
        EXPECT_FALSE(token.verify(CBlob()));
    }
}

TEST(Token, SkipsEntriesOfTheSetThatAreNoCertificates) {
    const auto bytes = file("token-odd-certificates.der");
    CToken token;
    token.decode(bytes);
    ASSERT_NE(token.get_certificates(), nullptr);
    EXPECT_EQ(token.get_certificates()->size(), 1u);
    EXPECT_EQ(token.get_certificates()->front(), file("tsa.cer"));
    EXPECT_TRUE(token.verify(file("tsa.cer")));
}

TEST(Token, RefusesEveryTruncation) {
    const auto bytes = file("token.der");
    for (unsigned long size = 0; size < bytes.cbData(); ++size) {
        CToken token;
        EXPECT_CODE(kBadEncoding, token.decode(part(bytes, size))) << size;
    }
}

TEST(Token, SurvivesEveryChangedByte) {
    const auto bytes = file("token.der");
    for (unsigned long i = 0; i < bytes.cbData(); ++i) {
        auto changed = bytes;
        changed.pbData()[i] ^= 0x41;
        CToken token;
        const auto code = code_of([&] { token.decode(changed); });
        EXPECT_TRUE(code == 0 || (code & 0x80000000u) != 0) << i;
    }
}

TEST(Token, RefusesOtherMessages) {
    for (const auto& bytes :
         {CBlob(), CBlob(0ul), file("tsa.cer"), file("response.der"), file("no-signer.der")}) {
        CToken token;
        EXPECT_CODE(kBadEncoding, token.decode(bytes));
    }
}

TEST(Response, KeepsTheTokensBytes) {
    CResponse response;
    response.decode(file("response.der"));
    EXPECT_EQ(response.get_status()->get_pkiStatus(), ASN1::pkiStatusGranted);
    ASSERT_NE(response.get_timeStampToken(), nullptr);
    EXPECT_EQ(response.get_timeStampToken()->encode(), file("token.der"));
    response.decode(file("refusal.der"));
    EXPECT_EQ(response.get_status()->get_pkiStatus(), ASN1::pkiStatusRejection);
    EXPECT_EQ(response.get_status()->get_failureInfo().get_value(), 1u << 15);
    EXPECT_EQ(response.get_status()->get_statusString().size(), 1u);
    EXPECT_EQ(response.get_timeStampToken(), nullptr);
    EXPECT_CODE(kBadEncoding, response.decode(file("token.der")));
}

TEST(Request, ReencodesWhatOpenSslWrote) {
    const auto bytes = file("request.der");
    CRequest request;
    request.decode(bytes);
    EXPECT_TRUE(request.get_certReq());
    EXPECT_STREQ(request.get_reqPolicy(), "1.2.3.4.1");
    ASSERT_NE(request.get_nonce(), nullptr);
    EXPECT_EQ(request.get_extensions(), nullptr);
    EXPECT_EQ(request.get_hashedMessage().cbData(), 32u);
    EXPECT_EQ(request.get_hashAlgorithm().cachedAlgId, 0u);
    EXPECT_EQ(request.encode(), bytes);
    EXPECT_CODE(kBadEncoding, request.decode(part(bytes, 20)));
    EXPECT_TRUE(request.get_certReq()) << "a failed decode changes nothing";
    request.put_reqPolicy("no identifier");
    EXPECT_CODE(0x80070057u, request.encode());
}

} // namespace
} // namespace Halcyon::PKI::TSP
