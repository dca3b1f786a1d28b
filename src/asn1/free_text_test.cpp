#include <chronoseal/asn1/free_text.h>

#include <gtest/gtest.h>

#include <chronoseal/asn1/free_text_traits.h>
#include <chronoseal/asn1/test_blob.h>

namespace Halcyon::ASN1 {
namespace {

CPKIFreeTextString russian(const wchar_t* text) {
    return {text, CLanguageTagRuRu()};
}
CPKIFreeTextString plain(const wchar_t* text) {
    return {text, CLanguageTagDefaultRead()};
}

// The texts as they stand in the record, and read back from it.
std::string wire_text(const CPKIFreeTextString& element) {
    ASN1BERDecodeBuffer scratch;
    asn1data::ASN1T_PKIFreeText record{};
    CPKIFreeText_Encode(scratch.getCtxtPtr(), record, CPKIFreeText(element));
    return record.elem[0];
}

CPKIFreeText parsed(const char* utf8) {
    ASN1BERDecodeBuffer scratch;
    asn1data::ASN1T_PKIFreeText record{};
    record.n = 1;
    record.elem = &utf8;
    CPKIFreeText value;
    CPKIFreeText_Parse(scratch.getCtxtPtr(), value, record);
    return value;
}

TEST(LanguageTag, IsHeldInLowerCase) {
    EXPECT_STREQ(CLanguageTag("RU-ru").tostring().c_str(), "ru-ru");
    EXPECT_STREQ(CLanguageTag(L"EN-us").tostring().c_str(), "en-us");
    EXPECT_TRUE(CLanguageTag("En-US") == CLanguageTagEnUs());
    EXPECT_TRUE(CLanguageTag("ru") != CLanguageTagRuRu());
    EXPECT_STREQ(CLanguageTag().tostring().c_str(), "");
    EXPECT_EQ(CLanguageTag::normalize("A-z*"), "a-z*");
}

TEST(FreeText, LanguageGoesOutAsAPrefixOfThaiCharacters) {
    EXPECT_EQ(wire_text({L"x", CLanguageTag("en")}),
              "\xE0\xB8\x81\xE0\xB9\xA5\xE0\xB9\xAE\xE0\xB9\xBEx");
    EXPECT_EQ(wire_text(plain(L"x")), "x");
    EXPECT_EQ(wire_text({L"", CLanguageTag()}), "\xE0\xB8\x81\xE0\xB9\xBE");
}

TEST(FreeText, PrefixStaysInTheTextThatIsRead) {
    const CPKIFreeText value = parsed(wire_text({L"x", CLanguageTag("EN")}).c_str());
    ASSERT_EQ(value.size(), 1u);
    EXPECT_TRUE(value.front().get_language() == CLanguageTag("en"));
    EXPECT_STREQ(value.front().get_value(), L"\x0E01\x0E65\x0E6E\x0E7Ex");
    // Which doubles it when the text goes out again.
    const CPKIFreeText again = parsed(wire_text(value.front()).c_str());
    EXPECT_STREQ(again.front().get_value(), L"\x0E01\x0E65\x0E6E\x0E7E\x0E01\x0E65\x0E6E\x0E7Ex");
    EXPECT_TRUE(parsed("x").front().get_language() == CLanguageTagDefaultRead());
}

TEST(FreeText, PrefixWithoutItsEndAndBrokenUTF8AreRefused) {
    EXPECT_CODE(0x80070057u, parsed("\xE0\xB8\x81x"));
    EXPECT_CODE(0x80070057u, parsed("\xE0\xB8\x81"));
    EXPECT_CODE(0x80070057u, parsed("\xE0\xB8\x81\xE0\xB9\xA5"));
    EXPECT_CODE(0x8009310Eu, parsed("a\xFF"));
    EXPECT_CODE(0x8009310Eu, parsed("a\xC3"));
}

TEST(FreeText, OnlyCharactersOfTheThaiBlockCarryATag) {
    // U+10E7E ends in the same 16 bits as U+0E7E, the mark's end, and is no part of a mark.
    EXPECT_CODE(0x80070057u, parsed("\xE0\xB8\x81\xF0\x90\xB9\xBE\xE0\xB9\xBEx"));
    for (const char* text : {"\xE0\xB8\x81\xE0\xBB\xBF\xE0\xB9\xBEx",    // U+0EFF
                             "\xE0\xB8\x81\xE0\xB8\x80\xE0\xB9\xBEx"}) { // U+0E00
        EXPECT_EQ(parsed(text).size(), 1u);
    }
    EXPECT_CODE(0x80070057u, parsed("\xE0\xB8\x81\xE0\xBC\x80\xE0\xB9\xBEx")); // U+0F00
}

TEST(FreeText, ParsingAppendsAndKeepsWhatCameBeforeAFailure) {
    ASN1BERDecodeBuffer scratch;
    const char* texts[] = {"a", "b", "\xFF"};
    asn1data::ASN1T_PKIFreeText record{};
    record.n = 3;
    record.elem = texts;
    CPKIFreeText value(L"first", CLanguageTagDefaultRead());
    EXPECT_CODE(0x8009310Eu, CPKIFreeText_Parse(scratch.getCtxtPtr(), value, record));
    ASSERT_EQ(value.size(), 3u);
    EXPECT_STREQ(value.back().get_value(), L"b");
}

TEST(FreeText, FindsALanguageOnlyWhereTheTextIsEmpty) {
    CPKIFreeText value;
    EXPECT_TRUE(value.find(CLanguageTagDefaultRead()) == value.end());
    value.insert(russian(L"\x0414\x0430"));
    EXPECT_TRUE(value.find(CLanguageTagRuRu()) == value.end());
    value.insert(russian(L"\x041D\x0435\x0442"));
    EXPECT_EQ(value.size(), 2u);
    value.push_back(russian(L""));
    value.insert(russian(L"new"));
    EXPECT_EQ(value.size(), 3u);
    EXPECT_STREQ(value.back().get_value(), L"new");
    value.insert(plain(L"y"));
    value.insert(plain(L"z"));
    EXPECT_EQ(value.size(), 5u);
    EXPECT_TRUE(value.find(CLanguageTagDefaultRead()) == value.begin());
}

TEST(FreeText, RemovesByTheSameSearch) {
    CPKIFreeText value;
    value.push_back(russian(L""));
    value.push_back(russian(L"kept"));
    value.push_back(russian(L""));
    value.remove(CLanguageTagRuRu());
    ASSERT_EQ(value.size(), 1u);
    EXPECT_STREQ(value.front().get_value(), L"kept");
    value.push_back(plain(L"x"));
    value.remove(CLanguageTagDefaultRead());
    EXPECT_TRUE(value.empty());
    // The tag may be that of an element that goes.
    value.push_back(russian(L""));
    value.push_back(russian(L""));
    value.remove(value.front().get_language());
    EXPECT_TRUE(value.empty());
}

TEST(FreeText, ConvertsToItsFirstElement) {
    CPKIFreeText value(russian(L"a"));
    value.push_back(plain(L"b"));
    const CPKIFreeTextString first = value.operator CPKIFreeTextString();
    EXPECT_TRUE(first == russian(L"a"));
    EXPECT_EQ(&static_cast<const CPKIFreeTextString&>(std::as_const(value)), &value.front());
    CPKIFreeTextString assigned;
    EXPECT_STREQ(assigned.get_value(), L"");
    assigned = value;
    EXPECT_TRUE(assigned == russian(L"a"));
    assigned = std::as_const(value);
    EXPECT_TRUE(assigned == russian(L"a"));
    CPKIFreeText empty;
    EXPECT_CODE(0x80070057u, empty.operator CPKIFreeTextString());
}

TEST(FreeTextString, ComparesLanguageAndText) {
    EXPECT_TRUE(russian(L"a") != plain(L"a"));
    EXPECT_TRUE(russian(L"a") != russian(L"ab"));
    CPKIFreeTextString value("\xD0\x96", CLanguageTagRuRu());
    EXPECT_STREQ(value.get_value(), L"\x0416");
    value.set_value(L"a");
    EXPECT_TRUE(value == russian(L"a"));
}

} // namespace
} // namespace Halcyon::ASN1
