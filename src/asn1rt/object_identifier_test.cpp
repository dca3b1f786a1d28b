// Object identifiers: text, comparison, damaged records.
#include <chronoseal/asn1rt/object_identifier.h>

#include <array>
#include <cstring>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;

std::vector<std::uint32_t> arcs(const ASN1OBJID& oid) {
    return {oid.subid, oid.subid + oid.numids};
}

ASN1OBJID parsed(const std::string& text) {
    ASN1OBJID oid{};
    EXPECT_EQ(rtStrToOid(text.c_str(), &oid), 1) << text;
    return oid;
}

bool refused(const std::string& text) {
    ASN1OBJID oid{};
    return rtStrToOid(text.c_str(), &oid) == 0;
}

std::string of_arcs(std::size_t count) {
    std::string text = "1";
    for (std::size_t i = 1; i < count; ++i) {
        text += ".2";
    }
    return text;
}

TEST(ObjectIdentifier, ParsesDottedText) {
    EXPECT_THAT(arcs(parsed("1.2.840.113549")), ElementsAre(1, 2, 840, 113549));
    EXPECT_THAT(arcs(parsed("7")), ElementsAre(7));
    EXPECT_THAT(arcs(parsed("4294967295.1")), ElementsAre(4294967295U, 1));
    EXPECT_THAT(arcs(parsed("01.002")), ElementsAre(1, 2));
    EXPECT_THAT(arcs(parsed(std::string(250'000, '0') + "7")), ElementsAre(7));
    EXPECT_EQ(parsed(of_arcs(128)).numids, 128U);
}

TEST(ObjectIdentifier, RefusesMalformedText) {
    for (const char* text :
         {"", ".", ".1", "1.", "1..2", "1.2.", "1.2 ", "1,2", "a", "1.a", "1.2x", "4294967296.1",
          "99999999999999999999", "18446744073709551615",
          "1.99999999999999999999999999999999999999", "-1", "+", "1.-", "1.2. "}) {
        EXPECT_TRUE(refused(text)) << text;
    }
    for (const auto& huge : {of_arcs(129), of_arcs(125'000), std::string(250'000, '9')}) {
        EXPECT_TRUE(refused(huge)) << huge.size();
    }
    ASN1OBJID oid{};
    EXPECT_EQ(rtStrToOid(nullptr, &oid), 0);
    EXPECT_EQ(rtStrToOid("1.2", nullptr), 0);
}

// Pieces are read the way strtoul reads a number.
TEST(ObjectIdentifier, TakesBlanksAndSignsInFrontOfAPiece) {
    EXPECT_THAT(arcs(parsed(" 1.\t+2. -0")), ElementsAre(1, 2, 0));
    EXPECT_THAT(arcs(parsed("-18446744073709551615")), ElementsAre(1));
    // But the highest arc only when it is spelled plainly, as strtoul's own limit reads the same.
    EXPECT_TRUE(refused("+4294967295"));
    EXPECT_TRUE(refused("04294967295"));
    EXPECT_TRUE(refused("-18446744069414584321"));
    EXPECT_THAT(arcs(parsed("+4294967294")), ElementsAre(4294967294U));
}

TEST(ObjectIdentifier, WritesDottedTextWithinItsCapacity) {
    const ASN1OBJID oid = parsed("1.2.840.0.4294967295");
    const std::string text = "1.2.840.0.4294967295";
    EXPECT_EQ(rtOidToStrLen(&oid), text.size());
    std::vector<char> out(text.size() + 1, '#');
    EXPECT_EQ(rtOidToStr(&oid, out.data(), static_cast<std::uint32_t>(out.size())), 1);
    EXPECT_EQ(out.data(), text);

    // Without room for the terminator it's cut in front of the arc that doesn't fit.
    std::fill(out.begin(), out.end(), '#');
    EXPECT_EQ(rtOidToStr(&oid, out.data(), static_cast<std::uint32_t>(text.size())), 0);
    EXPECT_STREQ(out.data(), "1.2.840.0");
    EXPECT_EQ(rtOidToStr(&oid, out.data(), 1), 0);
    EXPECT_STREQ(out.data(), "");
    std::fill(out.begin(), out.end(), '#');
    EXPECT_EQ(rtOidToStr(&oid, out.data(), 0), 0);
    EXPECT_EQ(out[0], '#') << "no room, not even for the terminator";
    const ASN1OBJID empty{};
    EXPECT_EQ(rtOidToStr(&empty, out.data(), 1), 1);
    EXPECT_STREQ(out.data(), "");
    EXPECT_EQ(rtOidToStrLen(&empty), 0U);
    EXPECT_EQ(rtOidToStr(nullptr, out.data(), 4), 0);
    EXPECT_EQ(rtOidToStr(&empty, nullptr, 4), 0);
}

TEST(ObjectIdentifier, ComparisonTouchesTheFlagOnlyWhenDifferent) {
    const ASN1OBJID a = parsed("1.2.3");
    ASN1OBJID b = parsed("1.2.3.4");
    b.numids = 3; // what lies behind the count is of no account
    for (auto* compare : {rtCmpOID, rtCmpOIDValue}) {
        unsigned char flag = 77;
        EXPECT_EQ(compare(nullptr, &a, &b, &flag), 1);
        EXPECT_EQ(flag, 77);
        const ASN1OBJID last_differs = parsed("1.2.4");
        EXPECT_EQ(compare(nullptr, &a, &last_differs, &flag), 0);
        EXPECT_EQ(flag, 0);
        flag = 77;
        const ASN1OBJID longer = parsed("1.2.3.4");
        EXPECT_EQ(compare(nullptr, &a, &longer, &flag), 0);
        EXPECT_EQ(flag, 0);
    }
    EXPECT_TRUE(a == b);
    EXPECT_TRUE(ASN1OBJID{} == ASN1OBJID{});
    EXPECT_FALSE(a == ASN1OBJID{});
}

// A count beyond the array must lead neither reader nor writer out of the record.
TEST(ObjectIdentifier, DamagedCountStaysInBounds) {
    struct Guarded {
        ASN1OBJID oid;
        std::uint32_t guard;
    };
    Guarded target{{}, 0xABCD};
    ASN1OBJID damaged = parsed(of_arcs(128));
    damaged.numids = 0xFFFFFFFF;
    rtSetOID(&target.oid, &damaged);
    EXPECT_EQ(target.oid.numids, 0xFFFFFFFF);
    EXPECT_EQ(target.oid.subid[127], 2U);
    EXPECT_EQ(target.guard, 0xABCDU);
    char out[300];
    EXPECT_EQ(rtOidToStr(&damaged, out, sizeof out), 1);
    EXPECT_EQ(rtOidToStrLen(&damaged), std::strlen(out));
    EXPECT_TRUE(target.oid == damaged);
    const std::array<unsigned int, 200> source{1};
    EXPECT_EQ(ASN1TObjId(200, source.data()).numids, 200U);
}

template <typename Id, typename Record, typename Arc>
void copies_its_arcs(Arc last) {
    const Arc source[] = {1, 2, last};
    const Id made(3, source);
    const Id copy(made);
    const Id from_record(static_cast<const Record&>(copy));
    Id assigned;
    EXPECT_EQ(assigned.numids, 0U);
    assigned = from_record;
    assigned = *&assigned;
    Id from_plain;
    from_plain = static_cast<const Record&>(assigned);
    EXPECT_EQ(from_plain.numids, 3U);
    EXPECT_TRUE(std::equal(source, source + 3, from_plain.subid));
}

TEST(ObjectIdentifier, ValuesCopyTheirArcs) {
    copies_its_arcs<ASN1TObjId, ASN1OBJID, unsigned int>(840);
    copies_its_arcs<ASN1TObjId64, ASN1OID64, long long>(0x123456789ABCDEF);
}

} // namespace
