// Structures in and out, and the BER that readers take or refuse.
#include <basalt/object_coding.h>

#include <basalt/coding/der_reader.h>
#include <basalt/coding/fault.h>
#include <basalt/coding/openssl_owner.h>
#include <basalt/error_codes.h>
#include <basalt/last_error.h>
#include <basalt/local_block.h>
#include <basalt/store/test_file.h>
#include <basalt/sup/test_error.h>

#include <openssl/objects.h>

#include <cstring>

namespace {

using Octets = std::vector<BYTE>;

Octets encode(LPCSTR type, const void* record) {
    DWORD size = 0;
    EXPECT_TRUE(CryptEncodeObject(X509_ASN_ENCODING, type, record, nullptr, &size))
        << GetLastError();
    Octets out(size);
    EXPECT_TRUE(CryptEncodeObject(X509_ASN_ENCODING, type, record, out.data(), &size));
    return out;
}

// The last error of decoding, 0 for none.
DWORD decode(LPCSTR type, const Octets& encoded, Octets& record) {
    DWORD size = 0;
    if (!CryptDecodeObject(X509_ASN_ENCODING, type, encoded.data(),
                           static_cast<DWORD>(encoded.size()), 0, nullptr, &size)) {
        return GetLastError();
    }
    record.resize(size);
    return CryptDecodeObject(X509_ASN_ENCODING, type, encoded.data(),
                             static_cast<DWORD>(encoded.size()), 0, record.data(), &size)
               ? 0
               : GetLastError();
}

TEST(ObjectCoding, MultiByteIntegersAreReversedAndKeepTheirSign) {
    const struct {
        Octets little_endian;
        Octets encoded;
    } cases[] = {{{0x05}, {0x02, 0x01, 0x05}},
                 {{0x05, 0x00, 0x00}, {0x02, 0x01, 0x05}},
                 {{0x8F, 0x00}, {0x02, 0x02, 0x00, 0x8F}},
                 {{0x8F}, {0x02, 0x01, 0x8F}},
                 {{0x02, 0x01}, {0x02, 0x02, 0x01, 0x02}},
                 {{0x85, 0xFF, 0xFF}, {0x02, 0x01, 0x85}}};
    for (const auto& c : cases) {
        const CRYPT_INTEGER_BLOB blob{static_cast<DWORD>(c.little_endian.size()),
                                      const_cast<BYTE*>(c.little_endian.data())};
        EXPECT_EQ(encode(X509_MULTI_BYTE_INTEGER, &blob), c.encoded);
        Octets record;
        ASSERT_EQ(decode(X509_MULTI_BYTE_INTEGER, c.encoded, record), 0U);
        const auto* back = reinterpret_cast<const CRYPT_INTEGER_BLOB*>(record.data());
        EXPECT_EQ(encode(X509_MULTI_BYTE_INTEGER, back), c.encoded);
    }
}

TEST(ObjectCoding, BerFormsThatAreTaken) {
    const struct {
        const char* what;
        Octets encoded;
    } cases[] = {
        {"DER", {0x04, 0x03, 'a', 'b', 'c'}},
        {"long length", {0x04, 0x81, 0x03, 'a', 'b', 'c'}},
        {"length with leading zeros", {0x04, 0x84, 0, 0, 0, 0x03, 'a', 'b', 'c'}},
        {"two pieces", {0x24, 0x07, 0x04, 0x01, 'a', 0x04, 0x02, 'b', 'c'}},
        {"indefinite", {0x24, 0x80, 0x04, 0x03, 'a', 'b', 'c', 0, 0}},
        {"nested", {0x24, 0x80, 0x24, 0x80, 0x04, 0x03, 'a', 'b', 'c', 0, 0, 0x04, 0, 0, 0}},
    };
    for (const auto& c : cases) {
        Octets record;
        ASSERT_EQ(decode(X509_OCTET_STRING, c.encoded, record), 0U) << c.what;
        EXPECT_EQ(bytes_of_blob(*reinterpret_cast<const CRYPT_DATA_BLOB*>(record.data())),
                  (Octets{'a', 'b', 'c'}))
            << c.what;
    }
}

TEST(ObjectCoding, BerFormsThatAreRefused) {
    Octets deep;
    for (int i = 0; i < 100; ++i) {
        deep.insert(deep.end(), {0x24, 0x80});
    }
    deep.insert(deep.end(), 200, 0);
    const struct {
        const char* what;
        Octets encoded;
        DWORD error;
    } cases[] = {
        {"nothing", {}, CRYPT_E_ASN1_EOD},
        {"tag alone", {0x04}, CRYPT_E_ASN1_EOD},
        {"cut in the length", {0x04, 0x82, 0x01}, CRYPT_E_ASN1_EOD},
        {"cut in the contents", {0x04, 0x03, 'a'}, CRYPT_E_ASN1_EOD},
        {"length near the end of the address space",
         {0x04, 0x88, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF},
         CRYPT_E_ASN1_EOD},
        {"length beyond it", {0x04, 0x89, 1, 0, 0, 0, 0, 0, 0, 0, 0}, CRYPT_E_ASN1_CORRUPT},
        {"reserved length", {0x04, 0xFF}, CRYPT_E_ASN1_CORRUPT},
        {"primitive of indefinite length", {0x04, 0x80, 0, 0}, CRYPT_E_ASN1_CORRUPT},
        {"no end mark", {0x24, 0x80, 0x04, 0x01, 'a'}, CRYPT_E_ASN1_EOD},
        {"half an end mark", {0x24, 0x80, 0x00}, CRYPT_E_ASN1_EOD},
        {"piece of another type", {0x24, 0x03, 0x02, 0x01, 'a'}, CRYPT_E_ASN1_BADTAG},
        {"another type", {0x02, 0x01, 0x01}, CRYPT_E_ASN1_BADTAG},
        {"bytes behind", {0x04, 0x00, 0x00}, CRYPT_E_ASN1_CORRUPT},
        {"too deep", deep, CRYPT_E_ASN1_LARGE},
    };
    for (const auto& c : cases) {
        Octets record;
        EXPECT_EQ(decode(X509_OCTET_STRING, c.encoded, record), c.error) << c.what;
    }
    Octets record;
    EXPECT_EQ(decode(X509_INTEGER, {0x02, 0x00}, record), CRYPT_E_ASN1_CORRUPT);
    EXPECT_EQ(decode(X509_INTEGER, {0x02, 0x05, 1, 0, 0, 0, 0}, record), CRYPT_E_ASN1_LARGE);
}

// The bytes were put together by hand from the structure.
TEST(ObjectCoding, TimeRequestWithAndWithoutAttributes) {
    BYTE content[] = {0xAA, 0xBB};
    char algorithm[] = "1.3.6.1.4.1.311.3.2.1";
    char type[] = "1.2.840.113549.1.7.1";
    CRYPT_TIME_STAMP_REQUEST_INFO info{algorithm, type, {sizeof(content), content}, 0, nullptr};
    const Octets algorithm_der = {0x06, 0x0A, 0x2B, 0x06, 0x01, 0x04,
                                  0x01, 0x82, 0x37, 0x03, 0x02, 0x01};
    const Octets content_info = {0x30, 0x11, 0x06, 0x09, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D,
                                 0x01, 0x07, 0x01, 0xA0, 0x04, 0x04, 0x02, 0xAA, 0xBB};
    Octets plain = {0x30, 0x1F};
    plain.insert(plain.end(), algorithm_der.begin(), algorithm_der.end());
    plain.insert(plain.end(), content_info.begin(), content_info.end());
    EXPECT_EQ(encode(PKCS_TIME_REQUEST, &info), plain);

    // Values and attributes come out in DER's order, whatever order they are given in.
    BYTE two[] = {0x02, 0x01, 0x02};
    BYTE one[] = {0x02, 0x01, 0x01};
    CRYPT_ATTR_BLOB values[] = {{3, two}, {3, one}};
    char oid[] = "1.2.3";
    CRYPT_ATTRIBUTE attribute{oid, 2, values};
    info.cAttribute = 1;
    info.rgAttribute = &attribute;
    const Octets with = encode(PKCS_TIME_REQUEST, &info);
    const Octets set = {0x31, 0x0E, 0x30, 0x0C, 0x06, 0x02, 0x2A, 0x03,
                        0x31, 0x06, 0x02, 0x01, 0x01, 0x02, 0x01, 0x02};
    EXPECT_NE(std::search(with.begin(), with.end(), set.begin(), set.end()), with.end());

    Octets record;
    ASSERT_EQ(decode(PKCS_TIME_REQUEST, with, record), 0U);
    const auto* back = reinterpret_cast<const CRYPT_TIME_STAMP_REQUEST_INFO*>(record.data());
    EXPECT_STREQ(back->pszTimeStampAlgorithm, algorithm);
    EXPECT_EQ(bytes_of_blob(back->Content), (Octets{0xAA, 0xBB}));
    ASSERT_EQ(back->cAttribute, 1U);
    EXPECT_EQ(back->rgAttribute[0].cValue, 2U);
}

TEST(ObjectCoding, RecordsThatCannotBeEncodedAreRefused) {
    char bad_oids[][12] = {"", "1", "3.1", "1.40", "1..2", "1.2.", "a", "1.2x"};
    char type[] = "1.2.840.113549.1.7.1";
    DWORD size = 0;
    for (char* oid : bad_oids) {
        const CRYPT_TIME_STAMP_REQUEST_INFO info{oid, type, {0, nullptr}, 0, nullptr};
        EXPECT_FALSE(CryptEncodeObject(1, PKCS_TIME_REQUEST, &info, nullptr, &size)) << oid;
        EXPECT_EQ(GetLastError(), CRYPT_E_OID_FORMAT) << oid;
    }
    const CRYPT_INTEGER_BLOB empty{0, nullptr};
    EXPECT_ERROR(CRYPT_E_ASN1_BADARGS,
                 CryptEncodeObject(1, X509_MULTI_BYTE_INTEGER, &empty, nullptr, &size));
    EXPECT_ERROR(ERROR_FILE_NOT_FOUND,
                 CryptEncodeObject(1, reinterpret_cast<LPCSTR>(17), &empty, nullptr, &size));
}

TEST(ObjectCoding, SizesFollowTheTwoStepProtocol) {
    const int value = -129;
    DWORD size = 3;
    BYTE buffer[4] = {0xEE, 0xEE, 0xEE, 0xEE};
    EXPECT_ERROR(ERROR_MORE_DATA, CryptEncodeObject(1, X509_INTEGER, &value, buffer, &size));
    EXPECT_EQ(size, 4U);
    EXPECT_EQ(buffer[0], 0xEE);
    ASSERT_TRUE(CryptEncodeObject(1, X509_INTEGER, &value, buffer, &size));
    int back = 0;
    size = sizeof(back);
    ASSERT_TRUE(CryptDecodeObject(1, X509_INTEGER, buffer, 4, 0, &back, &size));
    EXPECT_EQ(back, value);

    BYTE* allocated = nullptr;
    ASSERT_TRUE(CryptEncodeObjectEx(1, X509_INTEGER, &value, CRYPT_ENCODE_ALLOC_FLAG, nullptr,
                                    &allocated, &size));
    EXPECT_EQ(size, 4U);
    EXPECT_EQ(std::memcmp(allocated, buffer, 4), 0);
    LocalFree(allocated);
}

// Whoever has no arc of his own takes that of a UUID.
TEST(ObjectIdentifiers, ArcsOfManyBitsAreWritten) {
    for (const std::string& text : std::initializer_list<std::string>{
             "2.25.329800735698586629295641978511506172918", "1.2.18446744073709551615",
             "1.2.18446744073709551616", "1.2.1000000000000000000000000000.3", "2.999.1"}) {
        const basalt::OpensslOwner<ASN1_OBJECT, ASN1_OBJECT_free> object(
            OBJ_txt2obj(text.c_str(), 1));
        EXPECT_EQ(basalt::oid_text({OBJ_get0_data(object.get()), OBJ_length(object.get())}), text);
    }
    std::vector<BYTE> endless(66, 0xFF);
    endless.front() = 0x2A;
    endless.back() = 0x7F;
    EXPECT_THROW(basalt::oid_text(endless), basalt::Fault);
    endless.erase(endless.begin() + 1);
    EXPECT_EQ(basalt::oid_text(endless).size(), 4U + 135U);
}

} // namespace
