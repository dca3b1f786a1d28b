// Names as text: the form of every string type, and what has to stand in quotes.
#include <basalt/name_text.h>

#include <basalt/error_codes.h>
#include <basalt/last_error.h>
#include <basalt/store/test_file.h>

namespace {

std::string text_of(std::vector<BYTE> name, DWORD type) {
    CERT_NAME_BLOB blob{static_cast<DWORD>(name.size()), name.data()};
    std::string out(CertNameToStrA(X509_ASN_ENCODING, &blob, type, nullptr, 0), 'x');
    EXPECT_EQ(
        CertNameToStrA(X509_ASN_ENCODING, &blob, type, out.data(), static_cast<DWORD>(out.size())),
        out.size());
    EXPECT_EQ(out.back(), '\0');
    out.pop_back();
    return out;
}

// A name of one part with one common name of that string type.
std::vector<BYTE> common_name(BYTE tag, const std::vector<BYTE>& value) {
    const auto size = static_cast<BYTE>(value.size());
    const BYTE head[] = {0x30, static_cast<BYTE>(size + 11),
                         0x31, static_cast<BYTE>(size + 9),
                         0x30, static_cast<BYTE>(size + 7),
                         0x06, 0x03,
                         0x55, 0x04,
                         0x03, tag,
                         size};
    std::vector<BYTE> name(sizeof head + value.size());
    std::copy(value.begin(), value.end(),
              std::copy(std::begin(head), std::end(head), name.begin()));
    return name;
}

TEST(NameText, FormsOfARealName) {
    const auto certificate = test_certificate("rsa.cer");
    const auto name = bytes_of_blob(certificate->pCertInfo->Subject);
    EXPECT_EQ(text_of(name, CERT_X500_NAME_STR), "C=XX, O=Basalt Test, CN=rsa");
    EXPECT_EQ(text_of(name, CERT_X500_NAME_STR | CERT_NAME_STR_REVERSE_FLAG),
              "CN=rsa, O=Basalt Test, C=XX");
    EXPECT_EQ(text_of(name, CERT_OID_NAME_STR | CERT_NAME_STR_SEMICOLON_FLAG),
              "2.5.4.6=XX; 2.5.4.10=Basalt Test; 2.5.4.3=rsa");
    EXPECT_EQ(text_of(name, CERT_SIMPLE_NAME_STR), "XX, Basalt Test, rsa");
    CERT_NAME_BLOB& subject = certificate->pCertInfo->Subject;
    wchar_t cut[5];
    EXPECT_EQ(CertNameToStrW(X509_ASN_ENCODING, &subject, CERT_X500_NAME_STR, cut, 5), 5U);
    EXPECT_STREQ(cut, L"C=XX");
}

TEST(NameText, EveryStringTypeAndWhatNeedsQuotes) {
    const struct {
        BYTE tag;
        std::vector<BYTE> value;
        const char* text;
    } cases[] = {{0x0C, {0xC3, 0xBC}, "CN=\u00FC"},
                 {0x14, {0xFC}, "CN=\u00FC"},
                 {0x1E, {0x00, 0xFC, 0xD8, 0x3D, 0xDE, 0x00}, "CN=\u00FC\U0001F600"},
                 {0x1C, {0x00, 0x01, 0xF6, 0x00}, "CN=\U0001F600"},
                 {0x1C, {0xFF, 0xFF, 0xFF, 0xFF}, "CN=\uFFFD"},
                 {0x04, {0xAB}, "CN=#0401AB"},
                 {0x13, {'a', ',', '"'}, "CN=\"a,\"\"\""},
                 {0x13, {' ', 'a'}, "CN=\" a\""},
                 {0x13, {}, "CN=\"\""}};
    for (const auto& c : cases) {
        EXPECT_EQ(text_of(common_name(c.tag, c.value), CERT_X500_NAME_STR), c.text);
    }
}

TEST(NameText, DamagedNamesGiveAnEmptyText) {
    auto name = common_name(0x13, {'a'});
    for (std::size_t size = 0; size < name.size(); ++size) {
        EXPECT_EQ(
            text_of({name.begin(), name.begin() + static_cast<long>(size)}, CERT_X500_NAME_STR),
            "");
        EXPECT_EQ(GetLastError(), CRYPT_E_ASN1_EOD);
    }
}

} // namespace
