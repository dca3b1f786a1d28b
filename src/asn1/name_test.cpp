#include <chronoseal/asn1/name.h>

#include <gtest/gtest.h>
#include <openssl/x509.h>

#include <stdexcept>

#include <chronoseal/asn1/attribute_type_register.h>
#include <chronoseal/asn1/test_value.h>

namespace Halcyon::ASN1 {
namespace {

std::wstring text_of(const CName& name) {
    return name.toString().c_str();
}

TEST(Name, TextAndEncodingGoBothWays) {
    for (const wchar_t* text :
         {L"CN=Test,O=Org,C=RU", L"CN=a=b", L"CN=a+O=b,OU=c", L"1.2.3.4=#0C0141",
          L"SERIALNUMBER=12,E=a@b,DC=org,OGRN=1", L"CN=\x0416\x1F600"}) {
        const CName name(text);
        EXPECT_EQ(text_of(name), text);
        const CBlob der = name.encode();
        EXPECT_EQ(THROUGH_OPENSSL(X509_NAME, der), to_hex(der));
        EXPECT_EQ(text_of(decoded<CName>(der)), text);
    }
}

TEST(Name, IsWhatOpenSSLBuildsFromTheSameParts) {
    X509_NAME* const made = X509_NAME_new();
    using Row = std::tuple<const char*, int, const char*>;
    for (const auto& [field, type, value] :
         {Row{"C", MBSTRING_ASC, "RU"}, Row{"O", V_ASN1_UTF8STRING, "Org"},
          Row{"CN", V_ASN1_UTF8STRING, "Test"}}) {
        X509_NAME_add_entry_by_txt(made, field, type, reinterpret_cast<const unsigned char*>(value),
                                   -1, -1, 0);
    }
    const CBlob der = written_by_openssl(made, i2d_X509_NAME);
    X509_NAME_free(made);
    EXPECT_EQ(to_hex(CName(L"C=RU,O=Org,CN=Test").encode()), to_hex(der));
    EXPECT_EQ(text_of(decoded<CName>(der)), L"C=RU,O=Org,CN=Test");
}

TEST(Name, EmptyNameIsAnEmptySequence) {
    EXPECT_EQ(to_hex(CName().encode()), "3000");
    CName name(L"CN=a");
    name.decode(from_hex("3000"));
    EXPECT_TRUE(name.empty());
    // A level without a pair is the empty SET, like every list, but no name takes it.
    EXPECT_EQ(to_hex(CRelativeDistinguishedName().encode()), "3100");
    CName empty_level;
    empty_level.push_back(CRelativeDistinguishedName());
    EXPECT_CODE(0x80093101u, empty_level.encode());
}

TEST(Name, ParsingAppendsAndNeverQuotes) {
    CName name(L"CN=a");
    name.fromString(L"O=b");
    EXPECT_EQ(text_of(name), L"CN=a,O=b");
    for (const wchar_t* text :
         {L"", L"CN=a,", L"CN=Doe, John", L"CN=a++O=b", L"CN", L"CN=a,,O=b"}) {
        EXPECT_CODE(0x80070057u, CName bad(text));
    }
    // A blank behind a separator belongs to the keyword, which is found out when the name is
    // encoded.
    const CName blank(L"CN=a, O=b");
    EXPECT_STREQ(blank.back().back().get_type(), " O");
    EXPECT_EQ(blank.back().back().get_value().cbData(), 0u);
    EXPECT_CODE(0x80070057u, blank.encode());
}

TEST(Name, LevelKeepsItsOrderExceptInTheEncoding) {
    const CRelativeDistinguishedName ab(L"CN=a+O=b");
    const CRelativeDistinguishedName ba(L"O=b+CN=a");
    EXPECT_FALSE(ab == ba);
    EXPECT_TRUE(ab == CRelativeDistinguishedName(L"CN=a+O=b"));
    EXPECT_STREQ(ba.toString().c_str(), L"O=b+CN=a");
    EXPECT_EQ(to_hex(ba.encode()), to_hex(ab.encode()));
    EXPECT_TRUE(decoded<CRelativeDistinguishedName>(ba.encode()) == ab);
    CRelativeDistinguishedName level;
    level.fromString(L"CN=a");
    level.fromString(L"CN=b");
    EXPECT_EQ(level.size(), 2u);
}

TEST(Name, KnownTypeWithAValueThatDoesNotFitIsRefused) {
    const CAttributeTypeAndValue number("2.5.4.3", from_hex("020105"));
    EXPECT_CODE(0x80093101u, number.encode());
    const CAttributeTypeAndValue unknown("1.2.3.4", from_hex("020105"));
    EXPECT_EQ(to_hex(unknown.encode()), "300806032A0304020105");
    expect_refused(CName(L"CN=a"),
                   {"", "3001", "30023100", "300B310930070603550403020105", "0400"});
}

TEST(AttributeTypeAndValue, KeywordsAreCaseSensitive) {
    CAttributeTypeAndValue value("2.5.4.3", from_hex("0C0141"));
    EXPECT_STREQ(value.get_type_str().c_str(), L"CN");
    EXPECT_STREQ(value.get_value_str().c_str(), L"A");
    EXPECT_STREQ(value.toString().c_str(), L"CN=A");
    value.put_type_str(L"cn");
    EXPECT_STREQ(value.get_type(), "cn");
    EXPECT_EQ(to_hex(value.get_value()), "0C0141");
    value.put_type_str(L"C");
    EXPECT_STREQ(value.get_type(), "2.5.4.6");
    value.put_value_str(L"RU", stringTypeDefault);
    EXPECT_EQ(to_hex(value.get_value()), "13025255");
    value.put_value_str(L"RU", stringTypeBMP);
    EXPECT_EQ(to_hex(value.get_value()), "1E0400520055");
    value.fromString(L"O=x", stringTypeDefault);
    EXPECT_STREQ(value.get_type(), "2.5.4.10");
}

TEST(AttributeTypeAndValue, UnregisteredTypeIsHexadecimalBehindAnyFirstCharacter) {
    const CAttributeTypeAndValue value(L"1.2.3.4=#0C0141", stringTypeDefault);
    EXPECT_STREQ(value.get_type(), "1.2.3.4");
    EXPECT_EQ(to_hex(value.get_value()), "0C0141");
    EXPECT_STREQ(value.get_value_str().c_str(), L"#0C0141");
    EXPECT_EQ(to_hex(CAttributeTypeAndValue(L"1.2.3.4=?0c01x", stringTypeBMP).get_value()), "0C01");
    EXPECT_THROW(CAttributeTypeAndValue(L"1.2.3.4=", stringTypeDefault), std::out_of_range);
    EXPECT_EQ(CAttributeTypeAndValue(L"1.2.3.4=#", stringTypeDefault).get_value().cbData(), 0u);
}

TEST(AttributeTypeAndValue, ComparesBytesOnly) {
    const CAttributeTypeAndValue utf8(L"CN", L"Sample", stringTypeUTF8);
    EXPECT_TRUE(utf8 == CAttributeTypeAndValue(L"CN=Sample", stringTypeDefault));
    EXPECT_TRUE(utf8 != CAttributeTypeAndValue(L"CN", L"Sample", stringTypePrintable));
    EXPECT_TRUE(utf8 != CAttributeTypeAndValue(L"CN", L"SAMPLE", stringTypeUTF8));
    EXPECT_TRUE(utf8 != CAttributeTypeAndValue(L"O", L"Sample", stringTypeUTF8));
    EXPECT_TRUE(utf8 == CAttributeTypeAndValue(CAttrValue("2.5.4.3", utf8.get_value())));
}

TEST(AttributeTypeRegister, HoldsTheTypesInOrderWithTheirStringTypes) {
    struct {
        const wchar_t* keyword;
        const char* oid;
        const char* tag;
    } const rows[] = {{L"CN", "2.5.4.3", "0C"},
                      {L"C", "2.5.4.6", "13"},
                      {L"L", "2.5.4.7", "0C"},
                      {L"ST", "2.5.4.8", "0C"},
                      {L"E", "1.2.840.113549.1.9.1", "16"},
                      {L"O", "2.5.4.10", "0C"},
                      {L"OU", "2.5.4.11", "0C"},
                      {L"T", "2.5.4.12", "0C"},
                      {L"GN", "2.5.4.42", "0C"},
                      {L"I", "2.5.4.43", "0C"},
                      {L"SN", "2.5.4.4", "0C"},
                      {L"PS", "2.5.4.65", "0C"},
                      {L"OGRN", "1.2.643.100.1", "0C"},
                      {L"OGRNIP", "1.2.643.100.5", "0C"},
                      {L"SNILS", "1.2.643.100.3", "0C"},
                      {L"INNLE", "1.2.643.100.4", "0C"},
                      {L"INN", "1.2.643.3.131.1.1", "0C"},
                      {L"STREET", "2.5.4.9", "0C"},
                      {L"DC", "0.9.2342.19200300.100.1.25", "16"},
                      {L"UnstructuredName", "1.2.840.113549.1.9.2", "0C"},
                      {L"PostalCode", "2.5.4.17", "0C"},
                      {L"SERIALNUMBER", "2.5.4.5", "13"}};
    auto entry = CATAVRegister::registered_.cbegin();
    for (const auto& row : rows) {
        ASSERT_NE(entry, CATAVRegister::registered_.cend());
        EXPECT_EQ(entry->name, row.keyword);
        EXPECT_EQ(entry->oid, row.oid);
        EXPECT_EQ(CATAVRegister::find(row.oid), entry);
        EXPECT_EQ(CATAVRegister::find(row.keyword), entry);
        EXPECT_EQ(to_hex(CATAVRegister::valueFromStr(row.oid, L"1", stringTypeDefault)),
                  std::string(row.tag) + "0131");
        ++entry;
    }
    EXPECT_EQ(entry, CATAVRegister::registered_.cend());
    EXPECT_EQ(PostalCodeAttribute.oid, "2.5.4.17");
    EXPECT_STREQ(CATAVRegister::typeToStr("1.2.3").c_str(), L"1.2.3");
    EXPECT_STREQ(CATAVRegister::typeFromStr(L"1.2.3").c_str(), "1.2.3");
}

TEST(AttributeTypeRegister, RefusesTextsAboveTheBound) {
    const std::wstring longest(32768, L'x');
    EXPECT_EQ(CATAVRegister::valueFromStr("2.5.4.3", longest.c_str(), stringTypeDefault).cbData(),
              32768u + 4);
    EXPECT_EQ(code_of([&] {
                  CATAVRegister::valueFromStr("2.5.4.3", (longest + L'x').c_str(),
                                              stringTypeDefault);
              }),
              0x80070057u);
    EXPECT_CODE(0x80093101u,
                CATAVRegister::valueFromStr("2.5.4.3", L"x", static_cast<StringType>(9)));
}

} // namespace
} // namespace Halcyon::ASN1
