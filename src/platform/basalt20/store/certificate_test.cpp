// Certificate contexts against OpenSSL's reading of the same bytes, and their properties.
#include <basalt/certificate.h>

#include <basalt/crl.h>
#include <basalt/error_codes.h>
#include <basalt/last_error.h>
#include <basalt/store/test_file.h>
#include <basalt/sup/test_error.h>

#include <openssl/x509.h>

#include <cstring>
#include <ctime>

namespace {

std::int64_t unix_time(const FILETIME& time) {
    const auto ticks = (static_cast<std::int64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
    return ticks / 10'000'000 - 11'644'473'600;
}

std::int64_t unix_time(const ASN1_TIME* time) {
    tm parts{};
    EXPECT_EQ(ASN1_TIME_to_tm(time, &parts), 1);
    return timegm(&parts);
}

std::vector<BYTE> der_of(const X509_NAME* name) {
    const unsigned char* der = nullptr;
    std::size_t size = 0;
    EXPECT_EQ(X509_NAME_get0_der(const_cast<X509_NAME*>(name), &der, &size), 1);
    return {der, der + size};
}

std::vector<BYTE> property(PCCERT_CONTEXT context, DWORD id) {
    DWORD size = 0;
    EXPECT_TRUE(CertGetCertificateContextProperty(context, id, nullptr, &size)) << id;
    std::vector<BYTE> value(size);
    EXPECT_TRUE(CertGetCertificateContextProperty(context, id, value.data(), &size)) << id;
    return value;
}

TEST(Certificate, FieldsAreThoseThatOpensslReads) {
    for (const char* name : {"root.cer", "rsa.cer", "ec.cer", "dsa.cer", "gost2012.cer"}) {
        SCOPED_TRACE(name);
        const auto bytes = test_file(name);
        const unsigned char* at = bytes.data();
        const std::unique_ptr<X509, decltype(&X509_free)> expected(
            d2i_X509(nullptr, &at, static_cast<long>(bytes.size())), X509_free);
        const auto context = test_certificate(name);
        const CERT_INFO& info = *context->pCertInfo;
        EXPECT_EQ(std::vector<BYTE>(context->pbCertEncoded,
                                    context->pbCertEncoded + context->cbCertEncoded),
                  bytes);
        EXPECT_EQ(info.dwVersion, CERT_V3);
        EXPECT_EQ(bytes_of_blob(info.Issuer), der_of(X509_get_issuer_name(expected.get())));
        EXPECT_EQ(bytes_of_blob(info.Subject), der_of(X509_get_subject_name(expected.get())));
        EXPECT_EQ(unix_time(info.NotBefore), unix_time(X509_get0_notBefore(expected.get())));
        EXPECT_EQ(unix_time(info.NotAfter), unix_time(X509_get0_notAfter(expected.get())));
        ASSERT_EQ(info.cExtension, static_cast<DWORD>(X509_get_ext_count(expected.get())));
        for (DWORD i = 0; i < info.cExtension; ++i) {
            X509_EXTENSION* extension = X509_get_ext(expected.get(), static_cast<int>(i));
            char oid[80];
            OBJ_obj2txt(oid, sizeof(oid), X509_EXTENSION_get_object(extension), 1);
            EXPECT_STREQ(info.rgExtension[i].pszObjId, oid);
            EXPECT_EQ(info.rgExtension[i].fCritical != 0,
                      X509_EXTENSION_get_critical(extension) != 0);
        }
        const ASN1_BIT_STRING* key = X509_get0_pubkey_bitstr(expected.get());
        EXPECT_EQ(info.SubjectPublicKeyInfo.PublicKey.cbData, static_cast<DWORD>(key->length));
        EXPECT_EQ(std::memcmp(info.SubjectPublicKeyInfo.PublicKey.pbData, key->data,
                              static_cast<std::size_t>(key->length)),
                  0);
    }
}

// 0xF0... has a sign byte in DER; the little-endian form keeps it at its end.
TEST(Certificate, SerialNumberIsLittleEndianWithItsSignByte) {
    const auto context = test_certificate("rsa.cer");
    EXPECT_EQ(bytes_of_blob(context->pCertInfo->SerialNumber),
              (std::vector<BYTE>{0x05, 0x04, 0x03, 0x02, 0x01, 0xF0, 0x00}));
}

TEST(Certificate, EveryTruncationIsRefusedAndEveryChangedByteStaysInBounds) {
    const auto bytes = test_file("rsa.cer");
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        const std::vector<BYTE> cut(bytes.begin(), bytes.begin() + static_cast<long>(size));
        EXPECT_EQ(certificate_of(cut), nullptr) << size;
        EXPECT_EQ(GetLastError() & 0xFFFFFF00, size == 0 ? E_INVALIDARG & 0xFFFFFF00 : 0x80093100)
            << size;
    }
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        for (const int change : {0x01, 0x80, 0xFF}) {
            auto changed = bytes;
            changed[i] = static_cast<BYTE>(changed[i] ^ change);
            certificate_of(changed);
        }
    }
    auto longer = bytes;
    longer.push_back(0);
    EXPECT_ERROR(CRYPT_E_ASN1_CORRUPT, certificate_of(longer));
}

TEST(Certificate, PropertiesAreSetReadWalkedAndDeleted) {
    const auto context = test_certificate("rsa.cer");
    BYTE text[] = {'n', 0, 'm', 0};
    const CRYPT_DATA_BLOB blob{sizeof(text), text};
    ASSERT_TRUE(
        CertSetCertificateContextProperty(context.get(), CERT_FRIENDLY_NAME_PROP_ID, 0, &blob));
    const CRYPT_DATA_BLOB empty{0, nullptr};
    ASSERT_TRUE(CertSetCertificateContextProperty(context.get(), 99, 0, &empty));
    EXPECT_EQ(property(context.get(), CERT_FRIENDLY_NAME_PROP_ID),
              std::vector<BYTE>(text, text + sizeof(text)));
    EXPECT_TRUE(property(context.get(), 99).empty());

    BYTE small[2];
    DWORD size = sizeof(small);
    EXPECT_ERROR(ERROR_MORE_DATA, CertGetCertificateContextProperty(
                                      context.get(), CERT_FRIENDLY_NAME_PROP_ID, small, &size));
    EXPECT_EQ(size, 4U);

    DWORD id = CertEnumCertificateContextProperties(context.get(), 0);
    EXPECT_EQ(id, CERT_FRIENDLY_NAME_PROP_ID);
    id = CertEnumCertificateContextProperties(context.get(), id);
    EXPECT_EQ(id, 99U);
    EXPECT_EQ(CertEnumCertificateContextProperties(context.get(), id), 0U);

    ASSERT_TRUE(CertSetCertificateContextProperty(context.get(), 99, 0, nullptr));
    EXPECT_ERROR(CRYPT_E_NOT_FOUND,
                 CertGetCertificateContextProperty(context.get(), 99, nullptr, &size));
}

// What a caller copies to another context is the block itself, so its pointers must lead into it.
TEST(Certificate, KeyProviderInformationSurvivesBeingCopiedAsABlock) {
    const auto first = test_certificate("rsa.cer");
    const auto second = test_certificate("rsa.cer");
    BYTE pin[] = {1, 2, 3};
    CRYPT_KEY_PROV_PARAM parameter{7, pin, sizeof(pin), 9};
    wchar_t container[] = L"container \x20AC";
    CRYPT_KEY_PROV_INFO info{container, nullptr, 24, 1, 1, &parameter, 2};
    ASSERT_TRUE(
        CertSetCertificateContextProperty(first.get(), CERT_KEY_PROV_INFO_PROP_ID, 0, &info));
    {
        std::vector<BYTE> block = property(first.get(), CERT_KEY_PROV_INFO_PROP_ID);
        ASSERT_TRUE(CertSetCertificateContextProperty(second.get(), CERT_KEY_PROV_INFO_PROP_ID, 0,
                                                      block.data()));
    }
    const std::vector<BYTE> block = property(second.get(), CERT_KEY_PROV_INFO_PROP_ID);
    const auto* copy = reinterpret_cast<const CRYPT_KEY_PROV_INFO*>(block.data());
    EXPECT_STREQ(copy->pwszContainerName, container);
    EXPECT_EQ(copy->pwszProvName, nullptr);
    EXPECT_EQ(copy->dwProvType, 24U);
    EXPECT_EQ(copy->dwKeySpec, 2U);
    ASSERT_EQ(copy->cProvParam, 1U);
    EXPECT_EQ(copy->rgProvParam[0].dwParam, 7U);
    EXPECT_EQ(copy->rgProvParam[0].dwFlags, 9U);
    ASSERT_EQ(copy->rgProvParam[0].cbData, sizeof(pin));
    EXPECT_EQ(std::memcmp(copy->rgProvParam[0].pbData, pin, sizeof(pin)), 0);
}

TEST(Certificate, HashesAreComputedByAlgorithmIdentifier) {
    const auto bytes = test_file("rsa.cer");
    const struct {
        ALG_ID algorithm;
        const EVP_MD* md;
    } cases[] = {{0, EVP_sha1()},
                 {CALG_SHA1, EVP_sha1()},
                 {CALG_MD5, EVP_md5()},
                 {CALG_SHA_256, EVP_sha256()},
                 {CALG_SHA_512, EVP_sha512()}};
    for (const auto& c : cases) {
        std::vector<BYTE> expected(static_cast<std::size_t>(EVP_MD_get_size(c.md)));
        ASSERT_EQ(EVP_Digest(bytes.data(), bytes.size(), expected.data(), nullptr, c.md, nullptr),
                  1);
        DWORD size = 8;
        std::vector<BYTE> actual(64);
        EXPECT_ERROR(ERROR_MORE_DATA,
                     CryptHashCertificate(0, c.algorithm, 0, bytes.data(),
                                          static_cast<DWORD>(bytes.size()), actual.data(), &size));
        EXPECT_TRUE(CryptHashCertificate(0, c.algorithm, 0, bytes.data(),
                                         static_cast<DWORD>(bytes.size()), actual.data(), &size));
        actual.resize(size);
        EXPECT_EQ(actual, expected);
    }
    DWORD size = 0;
    EXPECT_ERROR(NTE_BAD_ALGID,
                 CryptHashCertificate(0, 0x1234, 0, bytes.data(), 1, nullptr, &size));
    EXPECT_EQ(property(test_certificate("rsa.cer").get(), CERT_SHA1_HASH_PROP_ID).size(), 20U);
}

TEST(Certificate, IntegersCompareByValue) {
    BYTE five[] = {5};
    BYTE five_padded[] = {5, 0, 0};
    BYTE minus[] = {0x85, 0xFF};
    BYTE large[] = {0x85, 0};
    CRYPT_INTEGER_BLOB a{1, five};
    CRYPT_INTEGER_BLOB b{3, five_padded};
    CRYPT_INTEGER_BLOB c{2, minus};
    CRYPT_INTEGER_BLOB d{2, large};
    EXPECT_TRUE(CertCompareIntegerBlob(&a, &b));
    EXPECT_FALSE(CertCompareIntegerBlob(&c, &d));
}

TEST(Crl, ListsTheRevokedCertificateAndNoOther) {
    const auto bytes = test_file("root.crl");
    const PCCRL_CONTEXT crl =
        CertCreateCRLContext(X509_ASN_ENCODING, bytes.data(), static_cast<DWORD>(bytes.size()));
    ASSERT_NE(crl, nullptr);
    EXPECT_EQ(crl->pCrlInfo->cCRLEntry, 1U);
    EXPECT_EQ(bytes_of_blob(crl->pCrlInfo->Issuer),
              bytes_of_blob(test_certificate("root.cer")->pCertInfo->Subject));
    EXPECT_LT(unix_time(crl->pCrlInfo->ThisUpdate), unix_time(crl->pCrlInfo->NextUpdate));
    CRL_ENTRY* entry = nullptr;
    ASSERT_TRUE(
        CertFindCertificateInCRL(test_certificate("rsa.cer").get(), crl, 0, nullptr, &entry));
    ASSERT_NE(entry, nullptr);
    EXPECT_NE(CertFindExtension("2.5.29.21", entry->cExtension, entry->rgExtension), nullptr);
    ASSERT_TRUE(
        CertFindCertificateInCRL(test_certificate("ec.cer").get(), crl, 0, nullptr, &entry));
    EXPECT_EQ(entry, nullptr);
    CertFreeCRLContext(crl);

    for (std::size_t i = 0; i < bytes.size(); ++i) {
        auto changed = bytes;
        changed[i] = static_cast<BYTE>(changed[i] ^ 0xFF);
        CertFreeCRLContext(CertCreateCRLContext(X509_ASN_ENCODING, changed.data(),
                                                static_cast<DWORD>(changed.size())));
    }
}

} // namespace
