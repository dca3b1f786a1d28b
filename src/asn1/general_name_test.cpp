#include <chronoseal/asn1/general_name.h>

#include <gtest/gtest.h>
#include <openssl/x509v3.h>

#include <chronoseal/asn1/name.h>
#include <chronoseal/asn1/test_certificate.h>
#include <chronoseal/asn1/test_value.h>

namespace Halcyon::ASN1 {
namespace {

// One name of each kind that can be held, with its encoding.
struct Sample {
    CGeneralName name;
    unsigned int kind;
    const char* der;
    const wchar_t* text;
};

std::vector<Sample> samples() {
    std::vector<Sample> rows(6);
    rows[0].name.put_rfc822Name(L"a@b");
    rows[0] = {rows[0].name, 2, "8103614062", L"rfc822Name: a@b"};
    rows[1] = {dns(L"abc"), 3, "8203616263", L"dNSName: abc"};
    rows[2].name.put_directoryName(CName(L"CN=A").encode());
    rows[2] = {rows[2].name, 5, "A40E300C310A300806035504030C0141", L"directoryName: CN=A"};
    rows[3].name.put_uniformResourceIdentifier(L"http://a");
    rows[3] = {rows[3].name, 7, "8608687474703A2F2F61", L"uniformResourceIdentifier: http://a"};
    rows[4].name.put_iPAddress(from_hex("7F000001"));
    rows[4] = {rows[4].name, 8, "87047F000001", L"iPAddress: (to string is not implemented)"};
    rows[5].name.put_registeredID(L"1.2.3");
    rows[5] = {rows[5].name, 9, "88022A03", L"registeredID: 1.2.3"};
    return rows;
}

TEST(GeneralName, RoundTripsEachKindInOpenSSLsEncoding) {
    for (const Sample& row : samples()) {
        EXPECT_EQ(row.name.get_type(), row.kind);
        expect_round_trip(row.name, row.der);
        EXPECT_EQ(THROUGH_OPENSSL(GENERAL_NAME, from_hex(row.der)), row.der);
        const CGeneralName back = decoded<CGeneralName>(row.der);
        EXPECT_EQ(back.get_type(), row.kind);
        EXPECT_STREQ(back.toString().c_str(), row.text);
    }
}

TEST(GeneralName, GettersAnswerForTheirKindOnly) {
    for (const Sample& row : samples()) {
        EXPECT_EQ(row.name.get_rfc822Name() != nullptr, row.kind == 2);
        EXPECT_EQ(row.name.get_dNSName() != nullptr, row.kind == 3);
        EXPECT_EQ(row.name.get_directoryName() != nullptr, row.kind == 5);
        EXPECT_EQ(row.name.get_uniformResourceIdentifier() != nullptr, row.kind == 7);
        EXPECT_EQ(row.name.get_iPAddress() != nullptr, row.kind == 8);
        EXPECT_EQ(row.name.get_registeredID() != nullptr, row.kind == 9);
    }
}

TEST(GeneralName, EmptyNameHasNoTextAndNoEncoding) {
    const CGeneralName empty;
    EXPECT_EQ(empty.get_type(), 0u);
    EXPECT_STREQ(empty.toString().c_str(), L"");
    EXPECT_CODE(0x80070057u, empty.encode());
    CGeneralName copy(empty);
    copy = empty;
    EXPECT_TRUE(copy == empty);
}

TEST(GeneralName, UnsupportedAlternativesAreRefused) {
    struct {
        const char* der;
        std::uint32_t code;
    } const rows[] = {
        {"A00906032A0304A0020500", 0x80070057u}, // otherName
        {"A508A1060C0401020304", 0x80070057u},   // ediPartyName
        {"A508A106040401020304", 0x80093101u},   // the same with a party that is no string
        {"0500", 0x80093101u},
        {"", 0x80093101u},
    };
    for (const auto& row : rows) {
        EXPECT_CODE(row.code, decoded<CGeneralName>(row.der)) << row.der;
    }
    CGeneralName name = dns(L"kept");
    EXPECT_CODE(0x80070057u, name.decode(from_hex("A00906032A0304A0020500")));
    EXPECT_STREQ(name.get_dNSName(), L"kept");
}

TEST(GeneralName, BadContentsAreFoundOutWhenTheyAreEncoded) {
    CGeneralName name;
    name.put_registeredID(L"not an identifier");
    EXPECT_CODE(0x80070057u, name.encode());
    name.put_directoryName(from_hex("0500"));
    EXPECT_CODE(0x80093101u, name.encode());
    EXPECT_CODE(0x80093101u, name.toString());
}

TEST(GeneralName, EqualityLooksAtOneCharacterOfATextAndAtEveryByteOfABlob) {
    using Put = void (*)(CGeneralName&, const wchar_t*);
    const Put texts[] = {
        [](CGeneralName& name, const wchar_t* text) { name.put_rfc822Name(text); },
        [](CGeneralName& name, const wchar_t* text) { name.put_dNSName(text); },
        [](CGeneralName& name, const wchar_t* text) { name.put_uniformResourceIdentifier(text); },
        [](CGeneralName& name, const wchar_t* text) { name.put_registeredID(text); },
    };
    for (const Put put : texts) {
        auto of = [put](const wchar_t* text) {
            CGeneralName name;
            put(name, text);
            return name;
        };
        EXPECT_TRUE(of(L"1bc") == of(L"1xy"));
        EXPECT_TRUE(of(L"1bc") != of(L"2bc"));
        EXPECT_TRUE(of(L"") != of(L"1"));
        EXPECT_TRUE(of(L"") == of(L""));
        EXPECT_EQ(of(L"1") == dns(L"1"), put == texts[1]);
    }
    CGeneralName name;
    CGeneralName address;
    name.put_directoryName(from_hex("7F000001"));
    address.put_iPAddress(from_hex("7F000001"));
    EXPECT_TRUE(name != address);
    for (CGeneralName* const value : {&name, &address}) {
        CGeneralName other(*value);
        EXPECT_TRUE(other == *value);
        value == &name ? other.put_directoryName(from_hex("7F000002"))
                       : other.put_iPAddress(from_hex("7F000002"));
        EXPECT_TRUE(other != *value);
    }
}

TEST(GeneralName, ChangingTheKindAndCopyingLeaveNothingBehind) {
    CGeneralName name;
    name.put_directoryName(from_hex("3000"));
    CGeneralName copy(name);
    name.put_rfc822Name(L"a@b");
    EXPECT_EQ(name.get_directoryName(), nullptr);
    EXPECT_EQ(to_hex(*copy.get_directoryName()), "3000");
    copy = name;
    name.put_rfc822Name(L"c@d");
    EXPECT_STREQ(copy.get_rfc822Name(), L"a@b");
    const CGeneralName& same = copy;
    copy = same;
    EXPECT_STREQ(copy.get_rfc822Name(), L"a@b");
    copy.clear();
    copy = name;
    EXPECT_STREQ(copy.get_rfc822Name(), L"c@d");
    // The source may be the value itself.
    CGeneralName address;
    address.put_iPAddress(from_hex("01020304"));
    address.put_directoryName(*address.get_iPAddress());
    EXPECT_EQ(to_hex(*address.get_directoryName()), "01020304");
}

TEST(GeneralNames, RoundTripAsOpenSSLsList) {
    CGeneralNames names;
    for (const Sample& row : samples()) {
        names.push_back(row.name);
    }
    const std::string expected = to_hex(names.encode());
    expect_round_trip(names, expected);
    EXPECT_EQ(THROUGH_OPENSSL(GENERAL_NAMES, names.encode()), expected);
    CGeneralNames back(1);
    back.decode(names.encode());
    EXPECT_TRUE(back == names);
    back.pop_back();
    EXPECT_TRUE(back != names);
    EXPECT_EQ(to_hex(CGeneralNames().encode()), "3000");
}

TEST(GeneralNames, ReadsWhatOpenSSLWrites) {
    X509_EXTENSION* const made = X509V3_EXT_conf_nid(
        nullptr, nullptr, NID_subject_alt_name, "DNS:a.b,email:c@d,IP:::1,RID:1.2.3.4,URI:u:v");
    CGeneralNames names;
    names.decode(extension_value(made));
    std::wstring text;
    for (const CGeneralName& name : names) {
        text += std::wstring(name.toString().c_str()) + L";";
    }
    EXPECT_EQ(text, L"dNSName: a.b;rfc822Name: c@d;iPAddress: (to string is not implemented);"
                    L"registeredID: 1.2.3.4;uniformResourceIdentifier: u:v;");
}

} // namespace
} // namespace Halcyon::ASN1
