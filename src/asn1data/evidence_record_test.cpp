// Evidence records: what their hashes are over is kept as it came, and can be decoded by itself.
#include <chronoseal/asn1data/evidence_record.h>

#include <gtest/gtest.h>

#include <chronoseal/asn1data/test_coding.h>

using namespace asn1data;
using namespace test_coding;

namespace {

// A content whose length isn't minimal, as no encoder of ours would write it.
const char* const kTimeStamp = "30 81 06 06 02 2a 03 a0 00";

Bytes bytes_of(const ASN1TOpenType& value) {
    return {value.data, value.data + value.numocts};
}

TEST(EvidenceRecord, ChainsAndTimeStampsAreKeptAsTheyCame) {
    const Bytes chain = tlv(0x30, tlv(0x30, from_hex(kTimeStamp)));
    const Bytes bytes =
        tlv(0x30, from_hex("02 01 01 30 06 30 04 06 02 2a 03") + tlv(0x30, chain + chain));
    Decoded<ASN1T_EvidenceRecord> record(asn1D_EvidenceRecord, bytes);
    ASSERT_EQ(record.status, 0);
    EXPECT_EQ(record.value.version, 1U);
    EXPECT_EQ(record.value.digestAlgorithms.count, 1U);
    ASSERT_EQ(record.value.archiveTimeStampSequence.count, 2U);
    const auto& kept =
        *static_cast<ASN1TOpenType*>(record.value.archiveTimeStampSequence.head->data);
    EXPECT_EQ(bytes_of(kept), chain);
    EXPECT_EQ(encode(asn1E_EvidenceRecord, record.value).hex(), to_hex(bytes));

    Decoded<ASN1T_ArchiveTimeStampChain> inside(asn1D_ArchiveTimeStampChain, bytes_of(kept));
    ASSERT_EQ(inside.status, 0);
    const auto* stamp = static_cast<ASN1T_ArchiveTimeStamp*>(inside.value.head->data);
    EXPECT_EQ(bytes_of(stamp->timeStamp), from_hex(kTimeStamp));
    EXPECT_EQ(encode(asn1E_ArchiveTimeStampChain, inside.value).hex(), to_hex(chain));
}

TEST(EvidenceRecord, TheHashTreeKeepsItsOrder) {
    const Bytes bytes = der("30(a2(30(04(02)04(01))30(04(03)))30(06(2a03)a0(05())))");
    Decoded<ASN1T_ArchiveTimeStamp> stamp(asn1D_ArchiveTimeStamp, bytes);
    ASSERT_EQ(stamp.status, 0);
    EXPECT_EQ(presence(stamp.value.m, 3), 4U);
    ASSERT_EQ(stamp.value.reducedHashtree.count, 2U);
    const auto* list = static_cast<ASN1T_PartialHashtree*>(stamp.value.reducedHashtree.head->data);
    ASSERT_EQ(list->count, 2U);
    EXPECT_EQ(static_cast<ASN1TDynOctStr*>(list->head->data)->data[0], 2);
    EXPECT_EQ(encode(asn1E_ArchiveTimeStamp, stamp.value).hex(), to_hex(bytes));
}

TEST(EvidenceRecord, IsRefusedWhereAnElementIsMissingOrFollows) {
    EXPECT_EQ(recode(asn1D_EvidenceRecord, asn1E_EvidenceRecord, der("30(02(01)30())")), "-8");
    EXPECT_EQ(recode(asn1D_EvidenceRecord, asn1E_EvidenceRecord, der("30(02(01)30()30()05())")),
              "-10");
    EXPECT_EQ(recode(asn1D_ArchiveTimeStamp, asn1E_ArchiveTimeStamp, der("30(a1()30())")), "-23");
    EXPECT_TRUE(ASN1TObjId(id_aa_er_internal) == oid("1.2.840.113549.1.9.16.2.49"));
    EXPECT_TRUE(ASN1TObjId(id_aa_er_external) == oid("1.2.840.113549.1.9.16.2.50"));
}

} // namespace
