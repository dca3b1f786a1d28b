#include <chronoseal/asn1/extension.h>

#include <gtest/gtest.h>
#include <openssl/x509v3.h>

#include <chronoseal/asn1/test_value.h>
#include <chronoseal/asn1/typed_extension.h>

namespace Halcyon::ASN1 {
namespace {

CExtension unknown(const char* der, bool critical) {
    return CExtension(CExtValue("1.2.3.4", from_hex(der)), critical);
}

std::string through_x509_extensions(const CBlob& der) {
    return through_openssl<X509_EXTENSIONS>(
        der, d2i_X509_EXTENSIONS, i2d_X509_EXTENSIONS,
        [](X509_EXTENSIONS* list) { sk_X509_EXTENSION_pop_free(list, X509_EXTENSION_free); });
}

TEST(Extension, RoundTripsInOpenSSLsEncoding) {
    using Row = std::pair<CExtension, const char*>;
    for (const auto& [value, expected] :
         {Row{unknown("0500", false), "300906032A030404020500"},
          Row{unknown("0500", true), "300C06032A03040101FF04020500"},
          Row{unknown("", true), "300A06032A03040101FF0400"},
          Row{CExtension(CExtCRLReason(crlReasonKeyCompromise), false),
              "300A0603551D1504030A0101"}}) {
        expect_round_trip(value, expected);
        EXPECT_EQ(THROUGH_OPENSSL(X509_EXTENSION, from_hex(expected)), expected);
    }
}

TEST(Extension, EqualityLooksAtMarkTypeAndValue) {
    EXPECT_TRUE(unknown("0500", true) != unknown("0500", false));
    EXPECT_TRUE(unknown("0500", true) != unknown("0501", true));
    EXPECT_TRUE(unknown("0500", true) != CExtension(CExtValue("1.2.3.5", from_hex("0500")), true));
    EXPECT_FALSE(CExtension().get_critical());
}

TEST(Extension, KnownTypeWithAValueThatDoesNotFitIsRefused) {
    EXPECT_CODE(0x80093101u, CExtension(CExtValue("2.5.29.15", from_hex("0500")), true).encode());
    EXPECT_CODE(0x80070057u, CExtension().encode());
    expect_refused(unknown("0500", true),
                   {"", "3000", "30090603551D0F04020500", "300906032A0304040205"});
}

TEST(Extensions, InsertReplacesValueAndMark) {
    CExtensions list;
    list.insert(unknown("0500", false));
    list.insert(CExtension(CExtValue("1.2.3.5"), false));
    list.insert(unknown("0501", true));
    ASSERT_EQ(list.size(), 2u);
    EXPECT_TRUE(list.front() == unknown("0501", true));
    EXPECT_TRUE(list.find("1.2.3.4") == list.begin());
    EXPECT_TRUE(std::as_const(list).find("1.2.3") == list.cend());
    list.erase("1.2.3");
    EXPECT_EQ(list.size(), 2u);
    list.push_back(unknown("0502", false));
    list.erase("1.2.3.4");
    ASSERT_EQ(list.size(), 2u);
    EXPECT_STREQ(list.front().get_extnID(), "1.2.3.5");
    EXPECT_TRUE(list.back() == unknown("0502", false));
    list.erase("1.2.3.4");
    ASSERT_EQ(list.size(), 1u);
    CExtensions().erase("1.2.3.4");
}

TEST(Extensions, RoundTripAndKeepWhatCame) {
    CExtensions list;
    list.push_back(unknown("0500", false));
    list.push_back(unknown("0500", false));
    list.push_back(CExtension(CExtValue("2.5.29.15", from_hex("03020780")), true));
    const CBlob der = list.encode();
    EXPECT_EQ(through_x509_extensions(der), to_hex(der));
    EXPECT_TRUE(decoded<CExtensions>(der) == list);
    EXPECT_EQ(to_hex(CExtensions().encode()), "3000");
}

TEST(Extensions, ReadWhatOpenSSLWrites) {
    X509_EXTENSIONS* made = nullptr;
    for (const auto& [nid, value] : {std::pair(NID_basic_constraints, "critical,CA:TRUE,pathlen:3"),
                                     std::pair(NID_ext_key_usage, "critical,timeStamping"),
                                     std::pair(NID_subject_alt_name, "DNS:a.b"),
                                     std::pair(NID_info_access, "OCSP;URI:http://a")}) {
        X509_EXTENSION* const extension = X509V3_EXT_conf_nid(nullptr, nullptr, nid, value);
        X509v3_add_ext(&made, extension, -1);
        X509_EXTENSION_free(extension);
    }
    const CBlob der = written_by_openssl(made, i2d_X509_EXTENSIONS);
    sk_X509_EXTENSION_pop_free(made, X509_EXTENSION_free);
    const auto list = decoded<CExtensions>(der);
    ASSERT_EQ(list.size(), 4u);
    EXPECT_TRUE(list.find("2.5.29.37")->get_critical());
    EXPECT_EQ(to_hex(list.find("2.5.29.37")->get_extnValue()), "300A06082B06010505070308");
    EXPECT_EQ(to_hex(list.encode()), to_hex(der));
}

TEST(CRLReason, KeepsBothFormsInStep) {
    CExtCRLReason reason;
    EXPECT_STREQ(reason.get_oid(), "2.5.29.21");
    EXPECT_EQ(reason.get_reason(), 0u);
    EXPECT_EQ(reason.get_value().cbData(), 0u);
    reason.encode();
    EXPECT_EQ(to_hex(reason.get_value()), "0A0100");
    reason.put_reason(crlReasonAACompromise);
    EXPECT_EQ(to_hex(reason.get_value()), "0A010A");
    EXPECT_EQ(CExtCRLReason(from_hex("0A0101")).get_reason(), crlReasonKeyCompromise);
    for (const char* der : {"", "0A010B", "020101"}) {
        EXPECT_CODE(0x80093101u, CExtCRLReason bad(from_hex(der))) << der;
    }
}

TEST(CRLReason, WhatIsWrittenCanBeRead) {
    for (unsigned int number = 0; number < 20; ++number) {
        const std::string der =
            std::string("0A01") + "0123456789ABCDEF"[number / 16] + "0123456789ABCDEF"[number % 16];
        const auto read = code_of([&] { CExtCRLReason reason(from_hex(der.c_str())); });
        const auto written = code_of([&] { CExtCRLReason reason(static_cast<CrlReason>(number)); });
        EXPECT_EQ(written, read) << number;
        EXPECT_EQ(read, number > 10 ? 0x80093101u : 0u) << number;
    }
    CExtCRLReason kept(crlReasonSuperseded);
    EXPECT_CODE(0x80093101u, kept.put_reason(static_cast<CrlReason>(11)));
    EXPECT_EQ(to_hex(kept.get_value()), "0A0104");
}

TEST(HoldInstructionCode, KeepsBothFormsInStep) {
    CExtHoldInstructionCode code("1.2.840.10040.2.1");
    EXPECT_EQ(to_hex(code.get_value()), "06072A8648CE380201");
    code.put_code("1.2.3");
    EXPECT_EQ(to_hex(code.get_value()), "06022A03");
    EXPECT_STREQ(CExtHoldInstructionCode(from_hex("06022A04")).get_code(), "1.2.4");
    EXPECT_STREQ(CExtHoldInstructionCode().get_code(), "");
    EXPECT_CODE(0x80070057u, CExtHoldInstructionCode bad("x"));
}

TEST(InvalidityDate, IsAlwaysGeneralizedTimeWithoutFraction) {
    CExtInvalidityDate date(CDateTime(2024, 1, 2, 3, 4, 5, 999, 0));
    EXPECT_EQ(to_hex(date.get_value()), "180F32303234303130323033303430355A");
    const CExtInvalidityDate back(date.get_value());
    EXPECT_EQ(back.get_invalidityDate(), CDateTime(2024, 1, 2, 3, 4, 5, 0, 0));
    date.put_invalidityDate(CDateTime(2051, 1, 1, 0, 0, 0, 0, 0));
    EXPECT_EQ(to_hex(date.get_value()), "180F32303531303130313030303030305A");
    EXPECT_EQ(CExtInvalidityDate().get_value().cbData(), 0u);
    EXPECT_CODE(0x80093101u, CExtInvalidityDate bad(from_hex("0500")));
    EXPECT_CODE(0x80004005u, CExtInvalidityDate bad(from_hex("180178")));
    EXPECT_CODE(0x8007076Du,
                CExtInvalidityDate bad(from_hex("180F32303234303130323033303430785A")));
}

TEST(CertificateIssuer, KeepsBothFormsInStep) {
    const CGeneralNames names(1, dns(L"a"));
    CExtCertificateIssuer issuer(names);
    EXPECT_EQ(to_hex(issuer.get_value()), "3003820161");
    EXPECT_TRUE(CExtCertificateIssuer(issuer.get_value()).get_issuer() == names);
    issuer.put_issuer(CGeneralNames());
    EXPECT_EQ(to_hex(issuer.get_value()), "3000");
    EXPECT_EQ(CExtCertificateIssuer().get_value().cbData(), 0u);
}

TEST(PrivateKeyUsagePeriod, DatesComeAndGo) {
    const CDateTime from(2024, 1, 1, 0, 0, 0, 0, 0);
    const CDateTime to(2025, 1, 1, 0, 0, 0, 0, 0);
    EXPECT_EQ(to_hex(CExtPrivateKeyUsagePeriod(nullptr, nullptr).get_value()), "3000");
    CExtPrivateKeyUsagePeriod period(&from, &to);
    EXPECT_EQ(THROUGH_OPENSSL(PKEY_USAGE_PERIOD, period.get_value()), to_hex(period.get_value()));
    CExtPrivateKeyUsagePeriod back(period.get_value());
    EXPECT_EQ(*back.get_notBefore(), from);
    EXPECT_EQ(*back.get_notAfter(), to);
    period.put_notBefore(nullptr);
    EXPECT_EQ(to_hex(period.get_value()), "3011810F32303235303130313030303030305A");
    back = period;
    EXPECT_EQ(back.get_notBefore(), nullptr);
    back.value() = from_hex("3000");
    back.decode();
    EXPECT_EQ(back.get_notAfter(), nullptr);
    EXPECT_EQ(*CExtPrivateKeyUsagePeriod(period).get_notAfter(), to);
    const CExtPrivateKeyUsagePeriod open(&from, nullptr);
    EXPECT_EQ(*CExtPrivateKeyUsagePeriod(open.get_value()).get_notBefore(), from);
    EXPECT_EQ(CExtPrivateKeyUsagePeriod(open.get_value()).get_notAfter(), nullptr);
    period.put_notAfter(&from);
    EXPECT_EQ(to_hex(period.get_value()), "3011810F32303234303130313030303030305A");
}

} // namespace
} // namespace Halcyon::ASN1
