// Messages made here for one algorithm or oddity each: which digests a signature may go with,
// serial numbers, and the evidence that a message carries.
#include <basalt/coding/der_writer.h>
#include <basalt/coding/signed_message.h>
#include <basalt/error_codes.h>
#include <basalt/last_error.h>
#include <basalt/message.h>
#include <basalt/store.h>
#include <basalt/store/test_file.h>

#include <openssl/ocsp.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

namespace {

using basalt::bytes_of;
using basalt::element;
using basalt::text_of;
namespace tag = basalt::tag;

constexpr char kContent[] = "the content";
constexpr char kSha256[] = "2.16.840.1.101.3.4.2.1";
constexpr char kSha512[] = "2.16.840.1.101.3.4.2.3";

using Key = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;

Key make_key(EVP_PKEY* key) {
    return {key, EVP_PKEY_free};
}

template <class Object, class Encode>
std::string der(Encode encode, const Object* object) {
    unsigned char* bytes = nullptr;
    const int size = encode(object, &bytes);
    std::string text(reinterpret_cast<char*>(bytes), static_cast<std::size_t>(size));
    OPENSSL_free(bytes);
    return text;
}

std::string oid(const char* dotted) {
    return element(tag::kOid, basalt::oid_contents(dotted));
}

std::string algorithm(const char* dotted, const std::string& parameters = "") {
    return element(tag::kSequence, oid(dotted) + parameters);
}

// `size` is for digests that have any length.
std::string hash(const char* name, std::size_t size = 0) {
    std::string value(EVP_MAX_MD_SIZE, '\0');
    auto* const place = reinterpret_cast<unsigned char*>(value.data());
    unsigned length = static_cast<unsigned>(size);
    EVP_MD_CTX* context = EVP_MD_CTX_new();
    EVP_DigestInit_ex(context, EVP_get_digestbyname(name), nullptr);
    EVP_DigestUpdate(context, kContent, sizeof kContent - 1);
    if (size != 0) {
        EVP_DigestFinalXOF(context, place, size);
    } else {
        EVP_DigestFinal_ex(context, place, &length);
    }
    EVP_MD_CTX_free(context);
    value.resize(length);
    return value;
}

struct SignerParts {
    EVP_PKEY* key = nullptr;
    std::string identifier = element(tag::context(0), "key");
    std::string digest_algorithm;
    std::string content_digest;
    std::string signature_algorithm;
    const char* signature_digest = nullptr;
    std::string unsigned_attributes;
    std::string revocation_choices;
};

// `used` is the digest that the signature is really made with; null for EdDSA.
SignerParts parts_of(EVP_PKEY* key, const std::string& digest_algorithm, const std::string& digest,
                     const char* signature, const char* used) {
    SignerParts parts;
    parts.key = key;
    parts.digest_algorithm = digest_algorithm;
    parts.content_digest = digest;
    parts.signature_algorithm = algorithm(signature);
    parts.signature_digest = used;
    return parts;
}

// By a key of P-256, with nothing odd about it.
SignerParts plain_parts(const Key& key) {
    return parts_of(key.get(), algorithm(kSha256), hash("SHA256"), "1.2.840.10045.4.3.2", "SHA256");
}

std::string attribute(const char* type, const std::string& value) {
    return element(tag::kSequence, oid(type) + element(tag::kSet, value));
}

std::string sign(const SignerParts& parts, const std::string& message) {
    EVP_MD_CTX* context = EVP_MD_CTX_new();
    const EVP_MD* digest =
        parts.signature_digest != nullptr ? EVP_get_digestbyname(parts.signature_digest) : nullptr;
    EVP_DigestSignInit(context, nullptr, digest, nullptr, parts.key);
    const auto* const data = reinterpret_cast<const unsigned char*>(message.data());
    std::size_t size = 0;
    EVP_DigestSign(context, nullptr, &size, data, message.size());
    std::string signature(size, '\0');
    EVP_DigestSign(context, reinterpret_cast<unsigned char*>(signature.data()), &size, data,
                   message.size());
    EVP_MD_CTX_free(context);
    signature.resize(size);
    return signature;
}

std::string message_of(const SignerParts& parts) {
    const std::string type = attribute("1.2.840.113549.1.9.3", oid(basalt::kDataOid));
    const std::string digest =
        attribute("1.2.840.113549.1.9.4", element(tag::kOctetString, parts.content_digest));
    const std::string attributes = basalt::set_contents({type, digest});
    const std::string version = element(tag::kInteger, "\x03");
    const std::string signer =
        version + parts.identifier + parts.digest_algorithm +
        element(tag::context_constructed(0), attributes) + parts.signature_algorithm +
        element(tag::kOctetString, sign(parts, element(tag::kSet, attributes))) +
        (parts.unsigned_attributes.empty()
             ? ""
             : element(tag::context_constructed(1), parts.unsigned_attributes));
    const std::string content =
        oid(basalt::kDataOid) +
        element(tag::context_constructed(0), element(tag::kOctetString, kContent));
    const std::string data =
        version + element(tag::kSet, parts.digest_algorithm) + element(tag::kSequence, content) +
        (parts.revocation_choices.empty()
             ? ""
             : element(tag::context_constructed(1), parts.revocation_choices)) +
        element(tag::kSet, element(tag::kSequence, signer));
    return element(tag::kSequence,
                   oid(basalt::kSignedDataOid) +
                       element(tag::context_constructed(0), element(tag::kSequence, data)));
}

DWORD control(const std::string& message, DWORD signer_type, const void* signer) {
    const HCRYPTMSG handle = CryptMsgOpenToDecode(0x10001, 0, 0, 0, nullptr, nullptr);
    const basalt::Bytes bytes = bytes_of(message);
    CMSG_CTRL_VERIFY_SIGNATURE_EX_PARA para{sizeof(para), 0, 0, signer_type,
                                            const_cast<void*>(signer)};
    const bool good =
        CryptMsgUpdate(handle, bytes.data(), static_cast<DWORD>(bytes.size()), TRUE) &&
        CryptMsgControl(handle, 0, CMSG_CTRL_VERIFY_SIGNATURE_EX, &para);
    const DWORD error = good ? 0 : GetLastError();
    CryptMsgClose(handle);
    return error;
}

// 0 for a good signature, else the last error.
DWORD verify(const std::string& message, EVP_PKEY* key) {
    const std::string encoded = der(i2d_PUBKEY, key);
    basalt::DerReader fields(basalt::sole_element(bytes_of(encoded), tag::kSequence).contents);
    const basalt::Algorithm read = basalt::read_algorithm(fields.take(tag::kSequence).contents);
    const basalt::Bits bits = basalt::bits_of(fields.take(tag::kBitString).contents);
    std::string name = basalt::oid_text(read.oid);
    CERT_PUBLIC_KEY_INFO info{};
    info.Algorithm.pszObjId = name.data();
    info.Algorithm.Parameters = {static_cast<DWORD>(read.parameters.size()),
                                 const_cast<BYTE*>(read.parameters.data())};
    info.PublicKey = {static_cast<DWORD>(bits.bytes.size()), const_cast<BYTE*>(bits.bytes.data()),
                      0};
    return control(message, CMSG_VERIFY_SIGNER_PUBKEY, &info);
}

DWORD verify(const SignerParts& parts) {
    return verify(message_of(parts), parts.key);
}

} // namespace

TEST(SignerAlgorithm, OnlyTheDigestThatTheSignatureAlgorithmNames) {
    const Key rsa = make_key(EVP_RSA_gen(2048));
    const Key ec = make_key(EVP_EC_gen("P-256"));
    const char* const sha256_rsa = "1.2.840.113549.1.1.11";
    const char* const sha256_ecdsa = "1.2.840.10045.4.3.2";
    const struct {
        EVP_PKEY* key;
        const char* named;
        const char* used;
        DWORD error;
    } cases[] = {
        {rsa.get(), sha256_rsa, "SHA256", 0},
        {rsa.get(), sha256_rsa, "SHA512", NTE_BAD_SIGNATURE},
        {rsa.get(), "1.2.840.113549.1.1.1", "SHA512", 0}, // the key's OID: the announced one
        {rsa.get(), "1.2.840.113549.1.1.1", "SHA256", NTE_BAD_SIGNATURE},
        {rsa.get(), "1.2.840.113549.1.1.14", "SHA224", 0},
        {rsa.get(), "2.16.840.1.101.3.4.3.14", "SHA3-256", 0},
        {ec.get(), sha256_ecdsa, "SHA256", 0},
        {ec.get(), sha256_ecdsa, "SHA512", NTE_BAD_SIGNATURE},
    };
    for (const auto& each : cases) {
        const auto parts =
            parts_of(each.key, algorithm(kSha512), hash("SHA512"), each.named, each.used);
        EXPECT_EQ(verify(parts), each.error) << each.named << ' ' << each.used;
    }
}

// A message is signed with no less than its certificates are.
TEST(SignerAlgorithm, WeakSignaturesAreRefusedAsInChains) {
    const Key short_rsa = make_key(EVP_RSA_gen(512));
    const Key old_rsa = make_key(EVP_RSA_gen(1024));
    const Key rsa = make_key(EVP_RSA_gen(2048));
    const char* const sha1 = "1.3.14.3.2.26";
    const char* const md5 = "1.2.840.113549.2.5";
    const struct {
        EVP_PKEY* key;
        const char* content_digest;
        const char* content_name;
        const char* signature;
        const char* signature_name;
        DWORD floor;
        DWORD current;
    } cases[] = {
        {rsa.get(), kSha256, "SHA256", "1.2.840.113549.1.1.11", "SHA256", 0, 0},
        {short_rsa.get(), kSha256, "SHA256", "1.2.840.113549.1.1.11", "SHA256", NTE_BAD_ALGID,
         NTE_BAD_ALGID},
        {old_rsa.get(), kSha256, "SHA256", "1.2.840.113549.1.1.11", "SHA256", 0, NTE_BAD_ALGID},
        {rsa.get(), sha1, "SHA1", "1.2.840.113549.1.1.11", "SHA256", 0, NTE_BAD_ALGID},
        {rsa.get(), kSha256, "SHA256", "1.2.840.113549.1.1.5", "SHA1", 0, NTE_BAD_ALGID},
        {rsa.get(), md5, "MD5", "1.2.840.113549.1.1.11", "SHA256", NTE_BAD_ALGID, NTE_BAD_ALGID},
        {rsa.get(), kSha256, "SHA256", "1.2.840.113549.1.1.4", "MD5", NTE_BAD_ALGID, NTE_BAD_ALGID},
    };
    const std::string configuration = testing::TempDir() + "basalt_strength.toml";
    umask(S_IWGRP | S_IWOTH);
    std::ofstream(configuration) << "[config.basalt]\nStrength = 'current'\n";
    for (const auto& each : cases) {
        const auto parts = parts_of(each.key, algorithm(each.content_digest),
                                    hash(each.content_name), each.signature, each.signature_name);
        EXPECT_EQ(verify(parts), each.floor) << each.content_name << ' ' << each.signature_name;
        setenv("BASALT_CONFIG", configuration.c_str(), 1);
        EXPECT_EQ(verify(parts), each.current) << each.content_name << ' ' << each.signature_name;
        unsetenv("BASALT_CONFIG");
    }
    std::filesystem::remove(configuration);
}

TEST(SignerAlgorithm, Ed448GoesWithShake256Alone) {
    const Key key = make_key(EVP_PKEY_Q_keygen(nullptr, nullptr, "ED448"));
    const std::string bits512 = element(tag::kInteger, std::string_view("\x02\x00", 2));
    const std::string bits256 = element(tag::kInteger, std::string_view("\x01\x00", 2));
    const char* const shake256 = "2.16.840.1.101.3.4.2.12";
    const char* const shake256_with_length = "2.16.840.1.101.3.4.2.18";
    const struct {
        std::string algorithm;
        std::string digest;
        DWORD error;
    } cases[] = {
        {algorithm(shake256), hash("SHAKE256", 64), 0},
        {algorithm(shake256_with_length, bits512), hash("SHAKE256", 64), 0},
        {algorithm(shake256), hash("SHAKE256", 32), CRYPT_E_HASH_VALUE},
        {algorithm(shake256_with_length, bits256), hash("SHAKE256", 32), CRYPT_E_UNKNOWN_ALGO},
        {algorithm(kSha512), hash("SHA512"), CRYPT_E_UNKNOWN_ALGO},
    };
    for (const auto& each : cases) {
        const auto parts = parts_of(key.get(), each.algorithm, each.digest, "1.3.101.113", nullptr);
        EXPECT_EQ(verify(parts), each.error);
    }
}

// Some signers copy a serial number with superfluous zeros where the certificate has none.
TEST(SignerAlgorithm, SerialNumbersAreComparedAsNumbers) {
    const Key key = make_key(EVP_EC_gen("P-256"));
    const std::unique_ptr<X509, decltype(&X509_free)> certificate(X509_new(), X509_free);
    X509_set_version(certificate.get(), X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), 0x85);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), 0);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 1000);
    X509_set_pubkey(certificate.get(), key.get());
    X509_NAME* name = X509_get_subject_name(certificate.get());
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char*>("x"), -1, -1, 0);
    X509_set_issuer_name(certificate.get(), name);
    X509_sign(certificate.get(), key.get(), EVP_sha256());
    const std::string encoded = der(i2d_X509, certificate.get());
    const PCCERT_CONTEXT context = CertCreateCertificateContext(
        X509_ASN_ENCODING, bytes_of(encoded).data(), static_cast<DWORD>(encoded.size()));
    ASSERT_NE(context, nullptr);
    SignerParts parts = plain_parts(key);
    for (const auto& [serial, error] :
         {std::pair(std::string("\x00\x85", 2), DWORD{0}),
          std::pair(std::string("\x00\x00\x00\x85", 4), DWORD{0}),
          std::pair(std::string("\x85", 1), CRYPT_E_SIGNER_NOT_FOUND)}) { // a negative one
        parts.identifier =
            element(tag::kSequence, der(i2d_X509_NAME, name) + element(tag::kInteger, serial));
        EXPECT_EQ(control(message_of(parts), CMSG_VERIFY_SIGNER_CERT, context), error);
    }
    CertFreeCertificateContext(context);
}

TEST(SignerAlgorithm, CutOffOidsAreNone) {
    for (const std::string& contents : {std::string("\x60\x86\x48\x01\x65\x03\x04\x02\x81"),
                                        std::string(), std::string("\x2A\x80\x01")}) {
        const std::string sequence = element(tag::kOid, contents);
        EXPECT_THROW(basalt::read_algorithm(bytes_of(sequence)), basalt::Fault);
    }
}

// The first two places of the hash's OID, whose last byte is made one that another has to follow.
TEST(SignerAlgorithm, MessagesWithACutOffDigestAlgorithmAreNone) {
    const Key key = make_key(EVP_EC_gen("P-256"));
    SignerParts parts = plain_parts(key);
    ASSERT_EQ(verify(parts), 0U);
    const std::string message = message_of(parts);
    const std::string digest = oid(kSha256);
    std::size_t at = 0;
    for (const char* place : {"of the message", "of the signer"}) {
        at = message.find(digest, at) + digest.size();
        std::string cut = message;
        cut[at - 1] |= '\x80';
        EXPECT_EQ(verify(cut, parts.key), CRYPT_E_ASN1_CORRUPT) << place;
    }
}

// Lists and answers inside the message, in both places that have room for them, are in its store.
TEST(SignerAlgorithm, EvidenceInTheMessageIsInItsStore) {
    const auto list_bytes = test_file("root.crl");
    const auto answer_bytes = test_file("rsa.ocsp");
    const std::string list(text_of(list_bytes));
    const std::string answer(text_of(answer_bytes));
    const unsigned char* at = answer_bytes.data();
    OCSP_RESPONSE* response =
        d2i_OCSP_RESPONSE(nullptr, &at, static_cast<long>(answer_bytes.size()));
    OCSP_BASICRESP* basic = OCSP_response_get1_basic(response);
    const std::string basic_der = der(i2d_OCSP_BASICRESP, basic);
    OCSP_BASICRESP_free(basic);
    OCSP_RESPONSE_free(response);

    const Key key = make_key(EVP_EC_gen("P-256"));
    SignerParts parts = plain_parts(key);
    const auto other = [](const char* format, const std::string& information) {
        return element(tag::context_constructed(1), oid(format) + information);
    };
    parts.revocation_choices =
        list + other("1.3.6.1.5.5.7.16.2", answer) + other("1.3.6.1.5.5.7.16.4", answer) +
        other("1.3.6.1.5.5.7.16.2", list + list) + other("1.3.6.1.5.5.7.16.2", list);
    const char* const revocation_values = "1.2.840.113549.1.9.16.2.24";
    const auto lists_of = [&](const std::string& before) {
        return element(tag::context_constructed(0), element(tag::kSequence, before + list));
    };
    std::string nothings; // nobody can have signed these
    for (int i = 0; i < 5000; ++i) {
        nothings += element(tag::kSequence, "");
    }
    const std::string lists = lists_of(nothings);
    const std::string answers =
        element(tag::context_constructed(1), element(tag::kSequence, basic_der));
    parts.unsigned_attributes =
        attribute(revocation_values, element(tag::kOctetString, "junk")) +
        attribute(revocation_values, element(tag::kSequence, lists + answers));
    const std::string message = message_of(parts);
    const CRYPT_DATA_BLOB blob{static_cast<DWORD>(message.size()),
                               const_cast<BYTE*>(bytes_of(message).data())};
    const Store store(CertOpenStore(CERT_STORE_PROV_PKCS7, 0, 0, 0, &blob));
    ASSERT_NE(store, nullptr) << std::hex << GetLastError();
    int count = 0;
    for (PCCRL_CONTEXT found = nullptr; (found = CertEnumCRLsInStore(store, found)) != nullptr;
         ++count) {
        EXPECT_EQ(std::vector<BYTE>(found->pbCrlEncoded, found->pbCrlEncoded + found->cbCrlEncoded),
                  list_bytes);
    }
    EXPECT_EQ(count, 2);
    count = 0;
    for (PCBASALT_OCSP_CONTEXT found = nullptr;
         (found = BasaltEnumOcspResponsesInStore(store, found)) != nullptr; ++count) {
        EXPECT_EQ(std::vector<BYTE>(found->pbEncoded, found->pbEncoded + found->cbEncoded),
                  answer_bytes);
    }
    EXPECT_EQ(count, 2);
    // Of thousands that are none it isn't looked for what is one.
    std::string junk;
    for (int i = 0; i < 4096; ++i) {
        junk += element(tag::kSequence, std::string(70, '\0'));
    }
    parts.unsigned_attributes =
        attribute(revocation_values, element(tag::kSequence, lists_of(junk) + answers));
    const std::string full = message_of(parts);
    const CRYPT_DATA_BLOB whole{static_cast<DWORD>(full.size()),
                                const_cast<BYTE*>(bytes_of(full).data())};
    const Store bounded(CertOpenStore(CERT_STORE_PROV_PKCS7, 0, 0, 0, &whole));
    ASSERT_NE(bounded, nullptr);
    PCCRL_CONTEXT one = CertEnumCRLsInStore(bounded, nullptr);
    EXPECT_NE(one, nullptr);
    EXPECT_EQ(CertEnumCRLsInStore(bounded, one), nullptr) << "but that among the lists";
}
