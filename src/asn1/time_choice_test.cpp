#include <chronoseal/asn1/time_choice.h>

#include <gtest/gtest.h>
#include <openssl/asn1.h>

#include <chronoseal/asn1/test_value.h>
#include <chronoseal/asn1/time_choice_traits.h>

namespace Halcyon::ASN1 {
namespace {

CTimeChoice choice_of(const CDateTime& date) {
    CTimeChoice value;
    value.put_time(date);
    return value;
}

TEST(TimeChoice, KindFollowsTheYearUpTo2049) {
    EXPECT_EQ(CTimeChoice().get_type(), 1u);
    EXPECT_EQ(*CTimeChoice().get_time(), CDateTime(0L, 0));
    EXPECT_EQ(choice_of(CDateTime(2049, 12, 31, 23, 59, 59, 0, 0)).get_type(), 1u);
    EXPECT_EQ(choice_of(CDateTime(2050, 1, 1, 0, 0, 0, 0, 0)).get_type(), 2u);
    EXPECT_EQ(choice_of(CDateTime(1949, 1, 1, 0, 0, 0, 0, 0)).get_type(), 1u);
}

TEST(TimeChoice, RoundTripsInTheFormThatOpenSSLWrites) {
    using Row = std::pair<CDateTime, const char*>;
    for (const auto& [date, expected] :
         {Row{CDateTime(1970, 1, 1, 0, 0, 0, 0, 0), "170D3730303130313030303030305A"},
          Row{CDateTime(2024, 2, 29, 13, 5, 59, 0, 0), "170D3234303232393133303535395A"},
          Row{CDateTime(2049, 12, 31, 23, 59, 59, 0, 0), "170D3439313233313233353935395A"},
          Row{CDateTime(2050, 1, 1, 0, 0, 0, 0, 0), "180F32303530303130313030303030305A"}}) {
        const CBlob der = choice_of(date).encode();
        EXPECT_EQ(to_hex(der), expected);
        ASN1_TIME* const time = ASN1_TIME_set(nullptr, date.getTime());
        EXPECT_EQ(to_hex(written_by_openssl(time, i2d_ASN1_TIME)), expected);
        ASN1_TIME_free(time);
        EXPECT_EQ(*decoded<CTimeChoice>(der).get_time(), date);
    }
}

TEST(TimeChoice, FractionIsCutOffAndNeverRoundedUp) {
    const CDateTime late(2024, 1, 1, 12, 0, 0, 999, 0);
    EXPECT_EQ(to_hex(choice_of(late).encode()), "170D3234303130313132303030305A");
    ASN1BERDecodeBuffer scratch;
    EXPECT_STREQ(DateToASN1GeneralizedTime(scratch.getCtxtPtr(), late, true), "20240101120000Z");
    EXPECT_STREQ(DateToASN1GeneralizedTime(scratch.getCtxtPtr(), late, false),
                 "20240101120000.999Z");
}

TEST(TimeChoice, GeneralizedTimeBefore2050ReadsAsUTCTimeKind) {
    const auto value = decoded<CTimeChoice>("180F32303230303130323033303430355A");
    EXPECT_EQ(value.get_type(), 1u);
    EXPECT_EQ(*value.get_time(), CDateTime(2020, 1, 2, 3, 4, 5, 0, 0));
}

TEST(TimeChoice, RefusesYearsThatUTCTimeCannotHoldAndTextsThatAreNoTime) {
    EXPECT_CODE(0x80093101u, choice_of(CDateTime(1949, 1, 1, 0, 0, 0, 0, 0)).encode());
    CTimeChoice value = choice_of(CDateTime(2024, 1, 1, 0, 0, 0, 0, 0));
    for (const char* der :
         {"", "0500", "170D39393939393939393939393939", "170130", "1800",
          // The 30th of February, a month 13, and a year before the platform's calendar.
          "170D3234303233303132303030305A", "180F32303234313330313132303030305A",
          "180F31363030303130313132303030305A"}) {
        EXPECT_CODE(0x80093101u, value.decode(from_hex(der))) << der;
    }
    EXPECT_EQ(*value.get_time(), CDateTime(2024, 1, 1, 0, 0, 0, 0, 0));
}

TEST(TimeChoice, RecordOfNoKindIsLeftOnWritingAndRefusedOnReading) {
    ASN1BERDecodeBuffer scratch;
    CTimeChoice cleared;
    cleared.clear();
    asn1data::ASN1T_Time record{};
    record.t = 7;
    ASN1T_Time_traits::set(scratch.getCtxtPtr(), record, cleared);
    EXPECT_EQ(record.t, 7u);
    EXPECT_CODE(0x80093101u, ASN1T_Time_traits::get(record, cleared));
}

TEST(TimeChoice, CopiesAreIndependent) {
    CTimeChoice a = choice_of(CDateTime(2051, 1, 1, 0, 0, 0, 0, 0));
    CTimeChoice b(a);
    CTimeChoice c;
    c = a;
    a.put_time(CDateTime(2001, 1, 1, 0, 0, 0, 0, 0));
    EXPECT_EQ(a.get_type(), 1u);
    EXPECT_EQ(b.get_type(), 2u);
    EXPECT_EQ(c.get_time()->year(), 2051u);
    const CTimeChoice& same = c;
    c = same;
    EXPECT_EQ(c.get_time()->year(), 2051u);
    c.clear();
    EXPECT_EQ(c.get_time(), nullptr);
    c = b;
    EXPECT_EQ(c.get_time()->year(), 2051u);
}

} // namespace
} // namespace Halcyon::ASN1
