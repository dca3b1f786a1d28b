// Messages: what is cut out of them, and verification, with OpenSSL's own CMS reader as the second
// opinion.
#include <basalt/message.h>

#include <basalt/basalt10/digest.h>
#include <basalt/error_codes.h>
#include <basalt/last_error.h>
#include <basalt/store/test_file.h>
#include <basalt/sup/test_error.h>

#include <openssl/cms.h>
#include <openssl/err.h>

#include <algorithm>
#include <cstring>

namespace {

using Octets = std::vector<BYTE>;

struct MessageDeleter {
    void operator()(void* message) const { CryptMsgClose(message); }
};
using MessagePtr = std::unique_ptr<void, MessageDeleter>;

MessagePtr open(const Octets& bytes, DWORD flags = 0) {
    MessagePtr message(CryptMsgOpenToDecode(0x10001, flags, 0, 0, nullptr, nullptr));
    if (!CryptMsgUpdate(message.get(), bytes.data(), static_cast<DWORD>(bytes.size()), TRUE)) {
        return nullptr;
    }
    return message;
}

MessagePtr open_file(const std::string& name) {
    auto message = open(test_file(name));
    EXPECT_NE(message, nullptr) << name << ' ' << std::hex << GetLastError();
    return message;
}

Octets parameter(const MessagePtr& message, DWORD type, DWORD index = 0) {
    DWORD size = 0;
    if (!CryptMsgGetParam(message.get(), type, index, nullptr, &size)) {
        return {};
    }
    Octets value(size);
    EXPECT_TRUE(CryptMsgGetParam(message.get(), type, index, value.data(), &size)) << type;
    return value;
}

DWORD number(const MessagePtr& message, DWORD type) {
    DWORD value = 0xFFFF;
    DWORD size = sizeof(value);
    EXPECT_TRUE(CryptMsgGetParam(message.get(), type, 0, &value, &size)) << type;
    return value;
}

// 0 for a good signature, else the last error.
DWORD verify(const MessagePtr& message, PCCERT_CONTEXT signer, DWORD index = 0) {
    CMSG_CTRL_VERIFY_SIGNATURE_EX_PARA para{sizeof(para), 0, index, CMSG_VERIFY_SIGNER_CERT,
                                            const_cast<CERT_CONTEXT*>(signer)};
    return CryptMsgControl(message.get(), 0, CMSG_CTRL_VERIFY_SIGNATURE_EX, &para) ? 0
                                                                                   : GetLastError();
}

bool openssl_verifies(const Octets& bytes, PCCERT_CONTEXT signer) {
    const unsigned char* at = bytes.data();
    CMS_ContentInfo* cms = d2i_CMS_ContentInfo(nullptr, &at, static_cast<long>(bytes.size()));
    at = signer->pbCertEncoded;
    X509* certificate = d2i_X509(nullptr, &at, static_cast<long>(signer->cbCertEncoded));
    STACK_OF(X509)* certificates = sk_X509_new_null();
    sk_X509_push(certificates, certificate);
    const bool good =
        cms != nullptr && CMS_verify(cms, certificates, nullptr, nullptr, nullptr,
                                     CMS_BINARY | CMS_NOINTERN | CMS_NO_SIGNER_CERT_VERIFY) == 1;
    sk_X509_free(certificates);
    X509_free(certificate);
    CMS_ContentInfo_free(cms);
    ERR_clear_error();
    return good;
}

bool contains(const Octets& whole, const Octets& part) {
    return std::search(whole.begin(), whole.end(), part.begin(), part.end()) != whole.end();
}

// Where `needle` begins; the test fails when it isn't there.
std::size_t find(const Octets& whole, const Octets& needle) {
    const auto found = std::search(whole.begin(), whole.end(), needle.begin(), needle.end());
    EXPECT_NE(found, whole.end());
    return static_cast<std::size_t>(found - whole.begin());
}

TEST(Message, SignaturesOfEveryKindVerifyWithTheirCertificateAlone) {
    const struct {
        const char* message;
        const char* certificate;
    } cases[] = {{"rsa.p7m", "rsa.cer"},
                 {"rsa_sha1.p7m", "rsa.cer"},
                 {"rsa_no_attributes.p7m", "rsa.cer"},
                 {"rsa_key_identifier.p7m", "rsa.cer"},
                 {"rsa_pss.p7m", "rsa.cer"},
                 {"rsa_indefinite.p7m", "rsa.cer"},
                 {"rsa_no_certificate.p7m", "rsa.cer"},
                 {"ec.p7m", "ec.cer"},
                 {"dsa.p7m", "dsa.cer"},
                 {"token.tst", "rsa.cer"},
                 {"gost2012.p7m", "gost2012.cer"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.message);
        const bool gost = std::string_view(c.message).starts_with("gost");
        if (gost && !basalt::gost_available()) {
            continue;
        }
        const auto certificate = test_certificate(c.certificate);
        const auto message = open_file(c.message);
        EXPECT_EQ(verify(message, certificate.get()), 0U) << std::hex << GetLastError();
        EXPECT_TRUE(
            CryptMsgControl(message.get(), 0, CMSG_CTRL_VERIFY_SIGNATURE, certificate->pCertInfo));
        EXPECT_EQ(verify(message, test_certificate("root.cer").get()), CRYPT_E_SIGNER_NOT_FOUND);
        EXPECT_ERROR(CRYPT_E_SIGNER_NOT_FOUND,
                     CryptMsgControl(message.get(), 0, CMSG_CTRL_VERIFY_SIGNATURE,
                                     test_certificate("root.cer")->pCertInfo));

        // Another key of the same and of another kind.
        for (const char* other : {"root.cer", c.certificate[0] == 'e' ? "rsa.cer" : "ec.cer"}) {
            const auto wrong = test_certificate(other);
            CMSG_CTRL_VERIFY_SIGNATURE_EX_PARA para{sizeof(para), 0, 0, CMSG_VERIFY_SIGNER_PUBKEY,
                                                    &wrong->pCertInfo->SubjectPublicKeyInfo};
            EXPECT_ERROR(NTE_BAD_SIGNATURE,
                         CryptMsgControl(message.get(), 0, CMSG_CTRL_VERIFY_SIGNATURE_EX, &para));
        }
    }
}

TEST(Message, ParametersAreThoseOfTheMessage) {
    const Octets content = test_file("content.txt");
    const auto bytes = test_file("rsa.p7m");
    const auto message = open_file("rsa.p7m");
    EXPECT_EQ(number(message, CMSG_TYPE_PARAM), CMSG_SIGNED);
    EXPECT_EQ(number(message, CMSG_SIGNER_COUNT_PARAM), 1U);
    EXPECT_EQ(number(message, CMSG_CERT_COUNT_PARAM), 2U);
    EXPECT_EQ(number(message, CMSG_CRL_COUNT_PARAM), 0U);
    EXPECT_EQ(parameter(message, CMSG_CONTENT_PARAM), content);
    EXPECT_EQ(parameter(message, CMSG_ENCODED_MESSAGE), bytes);
    const Octets type = parameter(message, CMSG_INNER_CONTENT_TYPE_PARAM);
    EXPECT_STREQ(reinterpret_cast<const char*>(type.data()), "1.2.840.113549.1.7.1");
    EXPECT_EQ(type.back(), 0);
    std::vector<Octets> certificates = {parameter(message, CMSG_CERT_PARAM, 0),
                                        parameter(message, CMSG_CERT_PARAM, 1)};
    EXPECT_THAT(certificates,
                testing::UnorderedElementsAre(test_file("rsa.cer"), test_file("root.cer")));

    const Octets signer = parameter(message, CMSG_ENCODED_SIGNER);
    EXPECT_EQ(Octets(bytes.end() - static_cast<long>(signer.size()), bytes.end()), signer);
    EXPECT_EQ(parameter(message, CMSG_COMPUTED_HASH_PARAM).size(), 32U);
}

TEST(Message, SignerRecordsAgreeWithEachOtherAndWithTheCertificate) {
    const auto certificate = test_certificate("rsa.cer");
    const auto message = open_file("token.tst");
    const Octets id_bytes = parameter(message, CMSG_SIGNER_CERT_ID_PARAM);
    const auto* id = reinterpret_cast<const CERT_ID*>(id_bytes.data());
    ASSERT_EQ(id->dwIdChoice, CERT_ID_ISSUER_SERIAL_NUMBER);
    EXPECT_EQ(bytes_of_blob(id->IssuerSerialNumber.Issuer),
              bytes_of_blob(certificate->pCertInfo->Issuer));
    EXPECT_EQ(bytes_of_blob(id->IssuerSerialNumber.SerialNumber),
              bytes_of_blob(certificate->pCertInfo->SerialNumber));

    const Octets signer = parameter(message, CMSG_ENCODED_SIGNER);
    DWORD size = 0;
    ASSERT_TRUE(CryptDecodeObject(0x10001, CMS_SIGNER_INFO, signer.data(),
                                  static_cast<DWORD>(signer.size()), 0, nullptr, &size));
    Octets decoded(size);
    ASSERT_TRUE(CryptDecodeObject(0x10001, CMS_SIGNER_INFO, signer.data(),
                                  static_cast<DWORD>(signer.size()), 0, decoded.data(), &size));
    const auto* info = reinterpret_cast<const CMSG_CMS_SIGNER_INFO*>(decoded.data());
    EXPECT_EQ(info->dwVersion, 1U);
    EXPECT_STREQ(info->HashAlgorithm.pszObjId, "2.16.840.1.101.3.4.2.1");
    EXPECT_EQ(info->EncryptedHash.cbData, 256U);
    EXPECT_EQ(info->UnauthAttrs.cAttr, 0U);

    const Octets attribute_bytes = parameter(message, CMSG_SIGNER_AUTH_ATTR_PARAM);
    const auto* attributes = reinterpret_cast<const CRYPT_ATTRIBUTES*>(attribute_bytes.data());
    ASSERT_EQ(attributes->cAttr, info->AuthAttrs.cAttr);
    for (DWORD i = 0; i < attributes->cAttr; ++i) {
        EXPECT_STREQ(attributes->rgAttr[i].pszObjId, info->AuthAttrs.rgAttr[i].pszObjId);
        ASSERT_EQ(attributes->rgAttr[i].cValue, 1U);
        EXPECT_TRUE(contains(signer, bytes_of_blob(attributes->rgAttr[i].rgValue[0])));
    }
    EXPECT_NE(
        CertFindAttribute("1.2.840.113549.1.9.16.2.47", attributes->cAttr, attributes->rgAttr),
        nullptr);
    EXPECT_ERROR(CRYPT_E_ATTRIBUTES_MISSING,
                 CryptMsgGetParam(message.get(), CMSG_SIGNER_UNAUTH_ATTR_PARAM, 0, nullptr, &size));
    EXPECT_ERROR(CRYPT_E_INVALID_INDEX,
                 CryptMsgGetParam(message.get(), CMSG_SIGNER_AUTH_ATTR_PARAM, 1, nullptr, &size));
}

TEST(Message, KeyIdentifierSignersGiveTheirIdentifierAndNoIssuer) {
    const auto message = open_file("rsa_key_identifier.p7m");
    const Octets id_bytes = parameter(message, CMSG_SIGNER_CERT_ID_PARAM);
    const auto* id = reinterpret_cast<const CERT_ID*>(id_bytes.data());
    ASSERT_EQ(id->dwIdChoice, CERT_ID_KEY_IDENTIFIER);
    DWORD size = 20;
    Octets expected(size);
    ASSERT_TRUE(CertGetCertificateContextProperty(
        test_certificate("rsa.cer").get(), CERT_KEY_IDENTIFIER_PROP_ID, expected.data(), &size));
    EXPECT_EQ(bytes_of_blob(id->KeyId), expected);
    EXPECT_ERROR(CRYPT_E_ISSUER_SERIALNUMBER,
                 CryptMsgGetParam(message.get(), CMSG_SIGNER_INFO_PARAM, 0, nullptr, &size));
}

TEST(Message, EachOfSeveralSignersVerifiesByItsIndex) {
    const auto message = open_file("two_signers.p7m");
    ASSERT_EQ(number(message, CMSG_SIGNER_COUNT_PARAM), 2U);
    const auto rsa = test_certificate("rsa.cer");
    const auto ec = test_certificate("ec.cer");
    const DWORD rsa_index = verify(message, rsa.get(), 0) == 0 ? 0 : 1;
    EXPECT_EQ(verify(message, rsa.get(), rsa_index), 0U);
    EXPECT_EQ(verify(message, ec.get(), 1 - rsa_index), 0U);
    EXPECT_EQ(verify(message, ec.get(), rsa_index), CRYPT_E_SIGNER_NOT_FOUND);
    EXPECT_EQ(verify(message, ec.get(), 2), CRYPT_E_INVALID_INDEX);
    EXPECT_TRUE(CryptMsgControl(message.get(), 0, CMSG_CTRL_VERIFY_SIGNATURE, rsa->pCertInfo));
    EXPECT_TRUE(CryptMsgControl(message.get(), 0, CMSG_CTRL_VERIFY_SIGNATURE, ec->pCertInfo));
}

TEST(Message, FaultsHaveTheirOwnCodes) {
    const auto certificate = test_certificate("rsa.cer");
    const Octets good = test_file("rsa.p7m");
    const Octets content = test_file("content.txt");

    auto bytes = good;
    bytes[find(bytes, content)] ^= 1;
    EXPECT_EQ(verify(open(bytes), certificate.get()), CRYPT_E_HASH_VALUE);

    bytes = good;
    bytes.back() ^= 1;
    EXPECT_EQ(verify(open(bytes), certificate.get()), NTE_BAD_SIGNATURE);

    // The content type of the message no longer that of the attribute.
    bytes = good;
    const Octets data_type = {0x06, 0x09, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x07, 0x01};
    const std::size_t content_type = find(bytes, data_type) + 10;
    bytes[content_type] = 5;
    EXPECT_EQ(verify(open(bytes), certificate.get()), CRYPT_E_UNEXPECTED_MSG_TYPE);

    const Octets digest_type = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x09, 0x04};

    // The type no identifier at all, of the content and of an attribute.
    bytes[content_type] |= 0x80;
    EXPECT_ERROR(CRYPT_E_ASN1_CORRUPT, open(bytes));
    bytes = good;
    bytes[find(bytes, digest_type) + 8] |= 0x80;
    EXPECT_EQ(verify(open(bytes), certificate.get()), CRYPT_E_ASN1_CORRUPT);

    // messageDigest turned into another attribute; then a second contentType.
    for (const BYTE other : {BYTE{0x07}, BYTE{0x03}}) {
        bytes = good;
        bytes[find(bytes, digest_type) + 8] = other;
        EXPECT_EQ(verify(open(bytes), certificate.get()), CRYPT_E_AUTH_ATTR_MISSING);
    }

    // An unknown signature algorithm.
    bytes = good;
    const Octets rsa_oid = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x01, 0x01};
    const auto last = std::find_end(bytes.begin(), bytes.end(), rsa_oid.begin(), rsa_oid.end());
    ASSERT_NE(last, bytes.end());
    *(last + 8) = 0x7F;
    EXPECT_EQ(verify(open(bytes), certificate.get()), CRYPT_E_UNKNOWN_ALGO);

    EXPECT_ERROR(CRYPT_E_ASN1_EOD, open({}));
    EXPECT_ERROR(CRYPT_E_ASN1_BADTAG, open(test_file("rsa.cer")));
}

// The content digest is compared with the attribute even where the signature over the attributes is
// good.
TEST(Message, DetachedContentIsFedBehindTheMessage) {
    const auto certificate = test_certificate("rsa.cer");
    const Octets content = test_file("content.txt");
    const auto feed = [](const MessagePtr& message, const BYTE* data, std::size_t size, BOOL last) {
        return CryptMsgUpdate(message.get(), data, static_cast<DWORD>(size), last);
    };
    const auto message = open(test_file("detached.p7m"), CMSG_DETACHED_FLAG);
    ASSERT_NE(message, nullptr);
    EXPECT_EQ(verify(message, certificate.get()), CRYPT_E_STREAM_MSG_NOT_READY);
    ASSERT_TRUE(feed(message, content.data(), 5, FALSE));
    ASSERT_TRUE(feed(message, content.data() + 5, content.size() - 5, TRUE));
    EXPECT_EQ(verify(message, certificate.get()), 0U);
    EXPECT_ERROR(CRYPT_E_MSG_ERROR, feed(message, content.data(), 1, TRUE));

    const auto wrong = open(test_file("detached.p7m"), CMSG_DETACHED_FLAG);
    ASSERT_TRUE(feed(wrong, content.data(), content.size() - 1, TRUE));
    EXPECT_EQ(verify(wrong, certificate.get()), CRYPT_E_HASH_VALUE);
    // Without the flag the content is empty.
    EXPECT_EQ(verify(open_file("detached.p7m"), certificate.get()), CRYPT_E_HASH_VALUE);
}

TEST(Message, UpdatesInPiecesAndAHalfFedMessage) {
    const Octets bytes = test_file("rsa.p7m");
    const MessagePtr message(CryptMsgOpenToDecode(0x10001, 0, 0, 0, nullptr, nullptr));
    for (const BYTE& octet : bytes) {
        ASSERT_TRUE(CryptMsgUpdate(message.get(), &octet, 1, FALSE));
    }
    DWORD size = 0;
    EXPECT_ERROR(CRYPT_E_STREAM_MSG_NOT_READY,
                 CryptMsgGetParam(message.get(), CMSG_TYPE_PARAM, 0, nullptr, &size));
    ASSERT_TRUE(CryptMsgUpdate(message.get(), nullptr, 0, TRUE));
    EXPECT_EQ(verify(message, test_certificate("rsa.cer").get()), 0U);

    const MessagePtr broken(CryptMsgOpenToDecode(0x10001, 0, 0, 0, nullptr, nullptr));
    EXPECT_FALSE(CryptMsgUpdate(broken.get(), bytes.data(), 20, TRUE));
    EXPECT_ERROR(CRYPT_E_STREAM_MSG_NOT_READY,
                 CryptMsgGetParam(broken.get(), CMSG_SIGNER_AUTH_ATTR_PARAM, 0, nullptr, &size));
    EXPECT_ERROR(CRYPT_E_MSG_ERROR, CryptMsgUpdate(broken.get(), bytes.data(), 20, TRUE));
}

TEST(Message, PlainDataHasContentAndNoSigners) {
    const auto message = open_file("data.p7m");
    EXPECT_EQ(number(message, CMSG_TYPE_PARAM), CMSG_DATA);
    EXPECT_EQ(parameter(message, CMSG_CONTENT_PARAM), test_file("content.txt"));
    DWORD size = 0;
    EXPECT_ERROR(CRYPT_E_INVALID_MSG_TYPE,
                 CryptMsgGetParam(message.get(), CMSG_SIGNER_COUNT_PARAM, 0, nullptr, &size));
}

// A certificate set with an attribute certificate ([2]) and another kind ([3]) in front of the real
// ones.
TEST(Message, OddEntriesInTheCertificateSetAreLeftOut) {
    const auto without = test_file("rsa_no_certificate.p7m");
    // An entry of each odd tag in a [0] put before the signers: all lengths here need two bytes.
    const Octets odd = {0xA0, 0x0E, 0xA2, 0x02, 0x05, 0x00, 0xA3, 0x02,
                        0x05, 0x00, 0xA1, 0x00, 0x9F, 0x81, 0x00, 0x00};
    const Octets content = test_file("content.txt");
    auto bytes = without;
    const std::size_t at = find(bytes, content) + content.size();
    bytes.insert(bytes.begin() + static_cast<long>(at), odd.begin(), odd.end());
    for (const std::size_t length_at : {2U, 17U, 21U}) {
        if (bytes[length_at - 1] == 0x82) {
            const auto length =
                (bytes[length_at] << 8 | bytes[length_at + 1]) + static_cast<int>(odd.size());
            bytes[length_at] = static_cast<BYTE>(length >> 8);
            bytes[length_at + 1] = static_cast<BYTE>(length);
        }
    }
    const auto message = open(bytes);
    ASSERT_NE(message, nullptr) << std::hex << GetLastError();
    EXPECT_EQ(number(message, CMSG_CERT_COUNT_PARAM), 0U);
    EXPECT_EQ(verify(message, test_certificate("rsa.cer").get()), 0U);
}

// Whatever byte is changed: if the signer still verifies here, OpenSSL says so too. Left out are
// places that only OpenSSL reads: the certificates in the message, and the list of digest
// algorithms, which it needs for streaming.
TEST(Message, NoChangedByteVerifiesHereAndNotInOpenssl) {
    for (const char* name :
         {"rsa_no_certificate.p7m", "ec.p7m", "rsa_indefinite.p7m", "token.tst"}) {
        SCOPED_TRACE(name);
        const auto certificate = test_certificate(name[0] == 'e' ? "ec.cer" : "rsa.cer");
        const Octets good = test_file(name);
        const Octets inside(certificate->pbCertEncoded,
                            certificate->pbCertEncoded + certificate->cbCertEncoded);
        const auto embedded = static_cast<std::size_t>(
            std::search(good.begin(), good.end(), inside.begin(), inside.end()) - good.begin());
        ASSERT_TRUE(openssl_verifies(good, certificate.get()));
        const std::size_t digests =
            find(good, {0x02, 0x01, good[find(good, {0x02, 0x01}) + 2], 0x31}) + 3;
        for (std::size_t i = 0; i < good.size(); ++i) {
            const bool left_out = (i + 4 >= embedded && i < embedded + inside.size()) ||
                                  (i > digests && i < digests + 17);
            for (const int change : {0x01, 0x20, 0xFF}) {
                auto changed = good;
                changed[i] = static_cast<BYTE>(changed[i] ^ change);
                const auto message = left_out ? nullptr : open(changed);
                if (message && verify(message, certificate.get()) == 0) {
                    EXPECT_TRUE(openssl_verifies(changed, certificate.get())) << i << ' ' << change;
                }
            }
        }
    }
}

TEST(Message, EveryTruncationIsRefused) {
    for (const char* name : {"rsa.p7m", "rsa_indefinite.p7m", "token.tst"}) {
        const Octets bytes = test_file(name);
        for (std::size_t size = 0; size < bytes.size(); ++size) {
            EXPECT_EQ(open({bytes.begin(), bytes.begin() + static_cast<long>(size)}), nullptr)
                << size;
        }
        auto longer = bytes;
        longer.push_back(0);
        EXPECT_EQ(open(longer), nullptr);
    }
}

} // namespace
