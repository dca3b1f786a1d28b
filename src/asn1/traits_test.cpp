#include <chronoseal/asn1/traits.h>

#include <algorithm>
#include <functional>
#include <vector>

#include <gtest/gtest.h>

#include <chronoseal/asn1/algorithm_identifier_traits.h>
#include <chronoseal/asn1/attribute_traits.h>
#include <chronoseal/asn1/big_integer_text.h>
#include <chronoseal/asn1/cert_identifier_traits.h>
#include <chronoseal/asn1/certificate_traits.h>
#include <chronoseal/asn1/char_string.h>
#include <chronoseal/asn1/content_info_traits.h>
#include <chronoseal/asn1/extension_traits.h>
#include <chronoseal/asn1/general_name_traits.h>
#include <chronoseal/asn1/info_type_and_value.h>
#include <chronoseal/asn1/name_traits.h>
#include <chronoseal/asn1/policy_information_traits.h>
#include <chronoseal/asn1/signer_info_traits.h>
#include <chronoseal/asn1/status_info_traits.h>
#include <chronoseal/asn1/test_blob.h>
#include <chronoseal/asn1/time_choice_traits.h>
#include <chronoseal/asn1rt/test_allocator.h>
#include <chronoseal/asn1rt/utc_time_control.h>

namespace Halcyon::ASN1 {
namespace {

// A value through the record of its traits and back.
template <class Traits>
CBlob through_record(const CBlob& value) {
    ASN1BERDecodeBuffer scratch;
    typename Traits::ASN1_T record{};
    typename Traits::ASN1_T copy{};
    Traits::set(scratch.getCtxtPtr(), record, value);
    Traits::copy(scratch.getCtxtPtr(), record, copy);
    CBlob back;
    Traits::get(copy, back);
    return back;
}

TEST(PrimitiveTraits, BlobsComeBack) {
    for (const char* hex : {"", "00", "0C0141"}) {
        EXPECT_EQ(to_hex(through_record<ASN1TDynOctStr_traits>(from_hex(hex))), hex);
        EXPECT_EQ(to_hex(through_record<ASN1TOpenType_traits>(from_hex(hex))), hex);
        EXPECT_EQ(to_hex(through_record<Asn1TObject_traits>(from_hex(hex))), hex);
        EXPECT_EQ(to_hex(through_record<ASN1TDynBitStr_traits>(from_hex(hex))), hex);
    }
}

TEST(PrimitiveTraits, BitStringsAreWholeBytes) {
    ASN1BERDecodeBuffer scratch;
    ASN1TDynBitStr record{};
    ASN1TDynBitStr_traits::set(scratch.getCtxtPtr(), record, from_hex("010203"));
    EXPECT_EQ(record.numbits, 24u);
    record.numbits = 17;
    CBlob value;
    ASN1TDynBitStr_traits::get(record, value);
    EXPECT_EQ(to_hex(value), "010203");
    record.numbits = 16;
    ASN1TDynBitStr_traits::get(record, value);
    EXPECT_EQ(to_hex(value), "0102");
    record.numbits = 0;
    ASN1TDynBitStr_traits::get(record, value);
    EXPECT_EQ(to_hex(value), "");
}

TEST(PrimitiveTraits, TextsGoThroughIA5AndUTF8) {
    ASN1BERDecodeBuffer scratch;
    ASN1CTXT* const ctxt = scratch.getCtxtPtr();
    const char* record = nullptr;
    const char* copy = nullptr;
    ASN1IA5String_traits::set(ctxt, record, "a@b");
    ASN1IA5String_traits::copy(ctxt, record, copy);
    EXPECT_EQ(copy, record);
    CStringProxy narrow("");
    ASN1IA5String_traits::get(copy, narrow);
    EXPECT_STREQ(narrow.c_str(), "a@b");

    ASN1UTF8String_traits::set(ctxt, record, L"a\x0416\x1F600");
    EXPECT_STREQ(record, "a\xD0\x96\xF0\x9F\x98\x80");
    ASN1UTF8String_traits::copy(ctxt, record, copy);
    EXPECT_NE(copy, record);
    CWStringProxy wide(L"");
    ASN1UTF8String_traits::get(copy, wide);
    EXPECT_STREQ(wide.c_str(), L"a\x0416\x1F600");
    record = "a\xFF";
    EXPECT_CODE(0x80093101u, ASN1UTF8String_traits::get(record, wide));
}

TEST(PrimitiveTraits, TimeIsReadAndWrittenAnewByCopy) {
    ASN1BERDecodeBuffer scratch;
    const char* const record = "20240101120000.5Z";
    const char* copy = nullptr;
    ASN1GeneralizedTime_traits::copy(scratch.getCtxtPtr(), record, copy);
    EXPECT_STREQ(copy, "20240101120000Z");
    CDateTime date(0L, 0);
    ASN1GeneralizedTime_traits::get(record, date);
    EXPECT_EQ(date.millisecond(), 500u);
}

TEST(ObjectIdentifier, TextsAndRecordsGoBothWays) {
    EXPECT_STREQ(toOID(toASN1OBJID("1.2.840.113549")).c_str(), "1.2.840.113549");
    EXPECT_STREQ(toOID(toASN1OBJID("2.999.4294967295")).c_str(), "2.999.4294967295");
    EXPECT_STREQ(toOID(ASN1OBJID{}).c_str(), "");
    ASN1OBJID oid{};
    EXPECT_FALSE(str2oid("1.2.3", &oid));
    for (const char* text : {"", "1.", ".1", "a", "1.4294967296"}) {
        EXPECT_TRUE(str2oid(text, &oid)) << text;
        EXPECT_CODE(0x80070057u, toASN1OBJID(text)) << text;
    }
}

TEST(ObjectIdentifier, TooManyArcsAreNotPrinted) {
    ASN1OBJID oid{};
    CBlob text;
    EXPECT_EQ(oid2str(text, &oid), 1);
    EXPECT_EQ(to_hex(text), "00");
    oid.numids = 128;
    EXPECT_EQ(oid2str(text, &oid), 1);
    EXPECT_EQ(text.cbData(), 2u * 128);
    oid.numids = 129;
    EXPECT_EQ(oid2str(text, &oid), 0);
    EXPECT_EQ(oid2str(text, nullptr), 0);
    EXPECT_CODE(0x80070057u, toOID(oid));
}

TEST(ObjectIdentifier, EncodesWithoutAControlClass) {
    const char* const text = "1.2.840.113549";
    const CBlob der = asn1Encode<ASN1TObjId_traits, const char*>(text);
    EXPECT_EQ(to_hex(der), "06062A864886F70D");
    CStringProxy back("kept");
    asn1Decode<ASN1TObjId_traits, CStringProxy>(der, back);
    EXPECT_STREQ(back.c_str(), text);
    for (const char* bad : {"", "0600", "05022A03", "0605"}) {
        EXPECT_CODE(0x80093101u, asn1Decode<ASN1TObjId_traits, CStringProxy>(from_hex(bad), back))
            << bad;
    }
    EXPECT_STREQ(back.c_str(), text);
}

TEST(OctetString, WrapsAndUnwraps) {
    EXPECT_EQ(to_hex(toOctetString(CBlob())), "0400");
    const CBlob large(300ul);
    EXPECT_EQ(to_hex(toOctetString(large)).substr(0, 8), "0482012C");
    EXPECT_TRUE(fromOctetString(toOctetString(large)) == large);
    EXPECT_EQ(to_hex(fromOctetString(from_hex("040201020500"))), "0102");
    for (const char* der : {"", "04", "040301", "0500", "0480"}) {
        EXPECT_CODE(0x80093101u, fromOctetString(from_hex(der))) << der;
    }
}

TEST(Codec, TrailingBytesAreNotLookedAt) {
    CAttribute attribute("1.2.3");
    attribute.add(from_hex("0500"));
    CBlob der = attribute.encode();
    der += from_hex("DEADBEEF");
    CAttribute back;
    back.decode(der);
    EXPECT_TRUE(back == attribute);
}

TEST(Codec, ValueStaysWhenTheDecoderRefuses) {
    CAttribute attribute("1.2.3");
    for (const char* der : {"", "30", "3001", "0500", "3080"}) {
        EXPECT_CODE(0x80093101u, attribute.decode(from_hex(der))) << der;
    }
    EXPECT_STREQ(attribute.get_oid(), "1.2.3");
}

// Decoded, copied to another heap, and encoded from there.
template <class Traits>
void expect_copied(const char* der) {
    ASN1BERDecodeBuffer scratch;
    typename Traits::ASN1_T record{};
    asn1DecodeT<Traits>(from_hex(der), scratch.getCtxtPtr(), record);
    EXPECT_EQ(to_hex(asn1EncodeT<Traits>(record)), der);
}

TEST(Codec, RecordsGoThroughDerOntoAnotherHeap) {
    expect_copied<ASN1T_AlgorithmIdentifier_traits>("300406022A03");
    expect_copied<ASN1T_Attribute_traits>("300806022A0331020500");
    expect_copied<ASN1T_AttributeTypeAndValue_traits>("300806035504030C0141");
    expect_copied<ASN1T_Name_traits>("300C310A300806035504030C0141");
    expect_copied<ASN1T_GeneralName_traits>("8203616263");
    expect_copied<ASN1T_Extension_traits>("300806022A0304020500");
    expect_copied<ASN1T_PolicyInformation_traits>("300406022A03");
    expect_copied<ASN1T_IssuerSerial_traits>("30083003820161020105");
    expect_copied<ASN1T_ESSCertID_traits>("300404020102");
    expect_copied<ASN1T_ESSCertIDv2_traits>("300404020102");
    expect_copied<ASN1T_OtherHashAlgAndValue_traits>("300A300406022A0304020102");
    expect_copied<ASN1T_OtherHash_traits>("04020102");
    expect_copied<ASN1T_OtherCertID_traits>("300404020102");
    expect_copied<ASN1T_ContentInfo_traits>("300806022A03A0020500");
    expect_copied<ASN1T_SignerInfo_traits>(
        "301A02010130053000020105300406022A03300406022A030402ABCD");
    expect_copied<ASN1T_CertificateList_traits>("30020500");
    expect_copied<ASN1T_PKIStatusInfo_traits>("3003020102");
    expect_copied<ASN1T_PKIFailureInfo_traits>("03020520");
    expect_copied<ASN1T_Time_traits>("170D3234303130313030303030305A");
}

// Names and messages that come as DER, in the place of their values.
template <class Traits>
void expect_made_from(const char* der) {
    ASN1BERDecodeBuffer scratch;
    typename Traits::ASN1_T record{};
    Traits::set(scratch.getCtxtPtr(), record, from_hex(der));
    CBlob back;
    Traits::get(record, back);
    EXPECT_EQ(to_hex(back), der);
    EXPECT_CODE(0x80093101u, Traits::set(scratch.getCtxtPtr(), record, from_hex("0500")));
}

TEST(Codec, RecordsAreMadeFromDerToo) {
    expect_made_from<ASN1T_Name_traits>("300C310A300806035504030C0141");
    expect_made_from<ASN1T_ContentInfo_traits>("300806022A03A0020500");
}

TEST(SeqOfList, EmptyInputEmptiesTheValues) {
    using Traits = ASN1TSeqOfList_traits<ASN1TOpenType, ASN1TOpenType_traits, CBlob, CBlobList>;
    ASN1BERDecodeBuffer scratch;
    rtDList list{};
    CBlobList values;
    values.push_back(from_hex("01"));
    values.push_back(from_hex("02"));
    Traits::set(scratch.getCtxtPtr(), list, values);
    EXPECT_EQ(list.count, 2u);
    rtDList copy{};
    Traits::copy(scratch.getCtxtPtr(), list, copy);
    CBlobList back;
    back.push_back(from_hex("03"));
    Traits::get(copy, back);
    EXPECT_TRUE(back == values);
    Traits::get(rtDList{}, back);
    EXPECT_TRUE(back.empty());
}

TEST(TimeString, TakesTheFormOfItsControl) {
    const char* record = nullptr;
    ASN1CUTCTime control(record, 1);
    EXPECT_EQ(GetASN1CTimeString(CDateTime(2024, 2, 29, 1, 2, 3, 999, 0), control),
              "240229010203Z");
    EXPECT_CODE(0x80093101u, GetASN1CTimeString(CDateTime(2050, 1, 1, 0, 0, 0, 0, 0), control));
}

TEST(FindByOid, TellsTheTypeOfAnyElement) {
    std::vector<CInfoTypeAndValue> infos{CInfoTypeAndValue("1.2.3"), CInfoTypeAndValue("1.2.4")};
    EXPECT_EQ(std::find_if(infos.begin(), infos.end(), findByOid("1.2.4")), infos.begin() + 1);
    EXPECT_TRUE(findByOid("1.2.3")(CAttribute("1.2.3")));
    EXPECT_TRUE(findByOid("1.2.3")(CAttrValue("1.2.3")));
    EXPECT_TRUE(findByOid("1.2.3")(CExtension(CExtValue("1.2.3"), false)));
    EXPECT_FALSE(findByOid("1.2.3")(CExtension(CExtValue("1.2"), false)));
    EXPECT_TRUE(findByOid(nullptr)(CExtension()));
}

// Runs `step` with the allocator of all heaps failing after 0, 1, 2, ... allocations until it goes
// through, and gives the codes that were thrown; anything else that is thrown ends the test.
template <class Step>
std::vector<std::uint32_t> codes_without_memory(Step step) {
    std::vector<std::uint32_t> codes;
    for (int successes = 0; successes < 1000; ++successes) {
        std::uint32_t code = 0;
        {
            const FailingAllocator failing(successes);
            code = code_of(step);
        }
        if (code == 0) {
            return codes;
        }
        codes.push_back(code);
    }
    ADD_FAILURE() << "never goes through";
    return codes;
}

constexpr std::uint32_t kNoMemory = 0x80093106;
constexpr std::uint32_t kRefused = 0x80093101;

TEST(OutOfMemory, RecordsAndTextsAreRefusedByTheirOwnCode) {
    using Step = std::function<void(ASN1CTXT*)>;
    CBigInteger number(300);
    CAlgorithmIdentifier algorithm("1.2.3.4");
    algorithm.put_parameters(from_hex("0500"));
    const CBlob large(300ul);
    const CExtension extension(CExtValue("1.2.3.4", large), true);
    struct {
        const char* name;
        Step step;
        std::uint32_t first;
    } const rows[] = {
        {"BigIntegerToASN1String", [&](ASN1CTXT* c) { BigIntegerToASN1String(c, number); },
         kNoMemory},
        {"DWORDToASN1BigInteger", [](ASN1CTXT* c) { DWORDToASN1BigInteger(c, 5); }, 0x8007000E},
        {"DateToASN1GeneralizedTime",
         [](ASN1CTXT* c) { DateToASN1GeneralizedTime(c, CDateTime(0L, 0), true); }, kNoMemory},
        {"ASN1T_AlgorithmIdentifier_set without parameters",
         [](ASN1CTXT* c) { ASN1T_AlgorithmIdentifier_set(c, "1.2.3.4", nullptr); }, kNoMemory},
        {"ASN1T_AlgorithmIdentifier_set",
         [&](ASN1CTXT* c) {
             ASN1T_AlgorithmIdentifier_set(c, "1.2.3.4", algorithm.get_parameters());
         },
         kNoMemory},
        {"ASN1T_Extension_traits::set",
         [&](ASN1CTXT* c) {
             asn1data::ASN1T_Extension record;
             ASN1T_Extension_traits::set(c, record, extension);
         },
         kNoMemory},
        {"ASN1TDynOctStr_traits::set",
         [&](ASN1CTXT* c) {
             ASN1TDynOctStr record{};
             ASN1TDynOctStr_traits::set(c, record, large);
         },
         kNoMemory},
        {"ASN1UTF8String_traits::set",
         [&](ASN1CTXT* c) {
             const char* record = nullptr;
             ASN1UTF8String_traits::set(c, record, L"text");
         },
         kNoMemory}};
    for (const auto& row : rows) {
        const auto codes = codes_without_memory([&] {
            ctxt_handle context;
            // Without memory for a context there is none for what lies on it.
            if (!context.init()) {
                fail_memory();
            }
            row.step(context.get());
        });
        ASSERT_GE(codes.size(), 2u) << row.name;
        EXPECT_EQ(codes[0], kNoMemory) << row.name << ": the context";
        EXPECT_EQ(codes[1], row.first) << row.name;
        for (std::size_t i = 2; i < codes.size(); ++i) {
            EXPECT_TRUE(codes[i] == kNoMemory || codes[i] == kRefused) << row.name << ' ' << i;
        }
    }
}

TEST(OutOfMemory, WholeValuesFailWithCodesOfTheValueLayerOnly) {
    CExtensions extensions;
    extensions.push_back(CExtension(CExtValue("1.2.3.4", CBlob(40000ul)), true));
    const CBlob der = extensions.encode();
    const CName name(L"CN=Test,O=Org,C=RU");
    const CBlob name_der = name.encode();
    const std::function<void()> steps[] = {
        [&] { static_cast<void>(extensions.encode()); },
        [&] { CExtensions().decode(der); },
        [&] { static_cast<void>(name.encode()); },
        [&] { CName().decode(name_der); },
        [&] { static_cast<void>(encodeCharString(L"text", stringTypeUTF8)); },
        [&] { static_cast<void>(encodeCharString(L"text", stringTypeBMP)); },
        [&] { static_cast<void>(decodeCharString(from_hex("0C0141"))); },
        [&] { static_cast<void>(toOctetString(CBlob(40000ul))); },
        [&] { static_cast<void>(fromOctetString(from_hex("040101"))); },
    };
    for (const auto& step : steps) {
        const auto codes = codes_without_memory(step);
        const auto number = &step - steps;
        ASSERT_FALSE(codes.empty()) << number;
        EXPECT_EQ(codes[0], kNoMemory) << number << ": no context to be had";
        for (const std::uint32_t code : codes) {
            EXPECT_TRUE(code == kNoMemory || code == kRefused) << number;
        }
    }
}

} // namespace
} // namespace Halcyon::ASN1
