#include <chronoseal/asn1/status_info.h>

#include <gtest/gtest.h>
#include <openssl/ts.h>

#include <chronoseal/asn1/test_blob.h>

namespace Halcyon::ASN1 {
namespace {

TEST(FailureInfo, GoesOutWithoutTrailingZeroBits) {
    using Row = std::pair<unsigned int, const char*>;
    for (const auto& [value, der] :
         {Row{0, "030100"}, Row{1, "03020780"}, Row{1u << 2, "03020520"}, Row{0x5, "030205A0"},
          Row{1u << 8, "0303070080"}, Row{1u << 15, "0303000001"}, Row{1u << 25, "03050600000040"},
          Row{0x03FFFFFF, "030506FFFFFFC0"}, Row{1u << 31, "03050000000001"}}) {
        const CPKIFailureInfo info(value);
        EXPECT_EQ(to_hex(info.encode()), der);
        CPKIFailureInfo back(0xFFFFFFFF);
        back.decode(from_hex(der));
        EXPECT_TRUE(back == info) << der;
    }
    CPKIFailureInfo kept(4);
    EXPECT_CODE(0x80093101u, kept.decode(from_hex("0306070000000080")));
    EXPECT_EQ(kept.get_value(), 4u);
}

TEST(FailureInfo, BitsFrom32OnAreRefused) {
    CPKIFailureInfo info(0);
    info.put_bit(31, true);
    EXPECT_EQ(info.get_value(), 0x80000000u);
    EXPECT_TRUE(info.get_bit(31));
    info.put_bit(31, false);
    EXPECT_FALSE(info.get_bit(31));
    EXPECT_CODE(0x80070057u, info.put_bit(32, true));
    EXPECT_CODE(0x80070057u, info.get_bit(32));
}

TEST(StatusInfo, LeavesAbsentFieldsOut) {
    CPKIStatusInfo info(pkiStatusGranted);
    EXPECT_EQ(to_hex(info.encode()), "3003020100");
    info.put_pkiStatus(pkiStatusRejection);
    info.put_failureInfo(CPKIFailureInfo(4));
    EXPECT_EQ(to_hex(info.encode()), "300702010203020520");
    info.put_statusString(CPKIFreeText(L"no", CLanguageTagDefaultRead()));
    const CBlob der = info.encode();
    EXPECT_EQ(to_hex(der), "300D02010230040C026E6F03020520");
    EXPECT_EQ(THROUGH_OPENSSL(TS_STATUS_INFO, der), to_hex(der));
    CPKIStatusInfo back(pkiStatusGranted);
    back.decode(der);
    EXPECT_EQ(back.get_pkiStatus(), pkiStatusRejection);
    EXPECT_EQ(back.get_failureInfo().get_value(), 4u);
    ASSERT_EQ(back.get_statusString().size(), 1u);
    EXPECT_STREQ(back.get_statusString().front().get_value(), L"no");
}

TEST(StatusInfo, MessageWithoutTextsLeavesTheOldOnes) {
    CPKIStatusInfo info(pkiStatusGranted);
    info.put_statusString(CPKIFreeText(L"old", CLanguageTagDefaultRead()));
    info.put_failureInfo(CPKIFailureInfo(4));
    info.decode(from_hex("3003020101"));
    EXPECT_EQ(info.get_pkiStatus(), pkiStatusGrantedWithMods);
    EXPECT_EQ(info.get_failureInfo().get_value(), 0u);
    ASSERT_EQ(info.get_statusString().size(), 1u);
    info.decode(from_hex("300B02010230060C01610C0162"));
    ASSERT_EQ(info.get_statusString().size(), 2u);
    EXPECT_STREQ(info.get_statusString().back().get_value(), L"b");
}

TEST(StatusInfo, StatusBeyondTheNamedOnesIsKept) {
    CPKIStatusInfo info(pkiStatusGranted);
    info.decode(from_hex("3003020109"));
    EXPECT_EQ(info.get_pkiStatus(), 9u);
    EXPECT_EQ(to_hex(info.encode()), "3003020109");
}

TEST(StatusInfo, RefusesBadTextsAndStructures) {
    CPKIStatusInfo info(pkiStatusWaiting);
    for (const char* der : {"", "3000", "0500", "30050201000500"}) {
        EXPECT_CODE(0x80093101u, info.decode(from_hex(der))) << der;
    }
    EXPECT_EQ(info.get_pkiStatus(), pkiStatusWaiting);
    EXPECT_CODE(0x8009310Eu, info.decode(from_hex("300802010030030C01FF")));
    EXPECT_CODE(0x80070057u, info.decode(from_hex("300A02010030050C03E0B881")));
}

} // namespace
} // namespace Halcyon::ASN1
