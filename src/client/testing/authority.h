// A time-stamp authority in the test's own process: a root, a signer under it, and tokens signed by
// OpenSSL over whatever content a test wants.
#pragma once

#include <atomic>
#include <memory>
#include <string>

#include <openssl/cms.h>
#include <openssl/err.h>
#include <openssl/ts.h>
#include <openssl/x509v3.h>

namespace Halcyon::PKI::TSP::Client::testing {

// An object of OpenSSL's with what releases it.
template <class Object, class Release>
std::unique_ptr<Object, Release> owned(Object* object, Release release) {
    return {object, release};
}

// DER by hand: one element, and the usual ones.
inline std::string element(int tag, const std::string& content) {
    std::string head(1, static_cast<char>(tag));
    std::string length;
    for (auto rest = content.size(); rest != 0; rest >>= 8) {
        length.insert(length.begin(), static_cast<char>(rest & 0xFF));
    }
    if (content.size() >= 0x80) {
        head += static_cast<char>(0x80 + length.size());
    }
    head += content.empty() ? std::string(1, '\0') : length;
    return head + content;
}

inline std::string sequence(const std::string& content) {
    return element(0x30, content);
}

inline std::string integer(const std::string& content) {
    return element(0x02, content);
}

inline std::string oid(const std::string& text) {
    const auto object = owned(OBJ_txt2obj(text.c_str(), 1), &ASN1_OBJECT_free);
    return element(0x06, {reinterpret_cast<const char*>(OBJ_get0_data(object.get())),
                          OBJ_length(object.get())});
}

// The DER of any OpenSSL object by its i2d function.
template <class Object, class Encode>
std::string der(Object* object, Encode encode) {
    unsigned char* bytes = nullptr;
    const int size = encode(object, &bytes);
    std::string result(reinterpret_cast<char*>(bytes), static_cast<std::size_t>(size));
    OPENSSL_free(bytes);
    return result;
}

// A message as OpenSSL reads it.
inline auto message_of(const std::string& der) {
    const auto* place = reinterpret_cast<const unsigned char*>(der.data());
    return owned(d2i_CMS_ContentInfo(nullptr, &place, static_cast<long>(der.size())),
                 &CMS_ContentInfo_free);
}

// The message with a value more, a SEQUENCE, in an attribute of its first signer that no signature
// covers.
inline std::string with_unsigned(const std::string& message, const char* attribute,
                                 const std::string& value) {
    const auto read = message_of(message);
    CMS_unsigned_add1_attr_by_txt(sk_CMS_SignerInfo_value(CMS_get0_SignerInfos(read.get()), 0),
                                  attribute, V_ASN1_SEQUENCE, value.data(),
                                  static_cast<int>(value.size()));
    return der(read.get(), &i2d_CMS_ContentInfo);
}

inline std::string base64(const std::string& bytes) {
    std::string text(bytes.size() * 2 + 4, '\0');
    text.resize(static_cast<std::size_t>(EVP_EncodeBlock(
        reinterpret_cast<unsigned char*>(text.data()),
        reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<int>(bytes.size()))));
    return text;
}

inline constexpr char kDataOid[] = "1.2.840.113549.1.7.1";
inline constexpr char kSha256Oid[] = "2.16.840.1.101.3.4.2.1";
inline constexpr char kTstInfoOid[] = "1.2.840.113549.1.9.16.1.4";

inline std::string hashed(const std::string& data, const EVP_MD* algorithm = EVP_sha256()) {
    std::string digest(static_cast<std::size_t>(EVP_MD_get_size(algorithm)), '\0');
    EVP_Digest(data.data(), data.size(), reinterpret_cast<unsigned char*>(digest.data()), nullptr,
               algorithm, nullptr);
    return digest;
}

inline std::string sha256(const std::string& data) {
    return hashed(data);
}

// What stands in a TSTInfo. Optional fields are left out when empty.
struct TstInfo {
    std::string encode() const {
        return sequence(
            integer("\x01") + oid(policy) +
            sequence(sequence(oid(hash_oid) + element(0x05, "")) + element(0x04, digest)) +
            integer(serial) + element(0x18, genTime) + accuracy +
            (ordering ? element(0x01, "\xFF") : "") + (nonce.empty() ? "" : integer(nonce)) +
            (tsa.empty() ? "" : element(0xA0, tsa)) +
            (extensions.empty() ? "" : element(0xA1, extensions)));
    }

    std::string digest = sha256("data");
    std::string hash_oid = kSha256Oid;
    std::string policy = "1.2.3.4";
    std::string serial = "\x12\x34";
    std::string genTime = "20240601120000Z";
    std::string accuracy = {};   // the whole SEQUENCE
    bool ordering = false;       //
    std::string nonce = {};      // contents of the INTEGER
    std::string tsa = {};        // a GeneralName
    std::string extensions = {}; // Extension after Extension
};

inline std::string extension(const std::string& type, bool critical) {
    return sequence(oid(type) + (critical ? element(0x01, "\xFF") : "") +
                    element(0x04, element(0x05, "")));
}

inline std::string repeated(std::size_t count, const std::string& text) {
    std::string all;
    all.reserve(count * text.size());
    for (std::size_t i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}

inline std::string attribute(const std::string& type, const std::string& values) {
    return sequence(oid(type) + element(0x31, values));
}

// A token without a signature, of whatever parts a test wants.
struct Parts {
    std::string token() const {
        const auto algorithm = sequence(oid(kSha256Oid));
        const auto signer =
            sequence(integer("\x01") + sequence(sequence("") + integer("\x01")) + algorithm +
                     (signed_attributes.empty() ? "" : element(0xA0, signed_attributes)) +
                     sequence(oid("1.2.840.10045.4.3.2")) + element(0x04, "signature") +
                     (unsigned_attributes.empty() ? "" : element(0xA1, unsigned_attributes)));
        const auto data = sequence(integer("\x03") + element(0x31, algorithm) +
                                   sequence(content_type + element(0xA0, element(0x04, info))) +
                                   (certificates.empty() ? "" : element(0xA0, certificates)) +
                                   (lists.empty() ? "" : element(0xA1, lists)) +
                                   element(0x31, repeated(signers, signer)));
        return sequence(type + element(0xA0, data));
    }

    std::string info = TstInfo().encode();
    std::string certificates = {}; // the entries of the set, and so with the others
    std::string lists = {};
    std::string signed_attributes = {};
    std::string unsigned_attributes = {};
    std::size_t signers = 1;
    std::string type = oid("1.2.840.113549.1.7.2");
    std::string content_type = oid(kTstInfoOid);
};

inline std::string token_of(const TstInfo& info) {
    return Parts{.info = info.encode()}.token();
}

struct Signing {
    std::string contentType = kTstInfoOid;
    const EVP_MD* digest = EVP_sha256(); // SHA-1 gives a SigningCertificate, any other a V2
    unsigned int flags = CMS_CADES;      // of CMS_add1_signer
    bool with_certificates = true;
    bool extra_certificate = false; // the root's beside the signer's
    int signers = 1;
};

class Authority {
public:
    // Validity of the signer as GeneralizedTime; with an address of lists its certificate names it.
    explicit Authority(const char* from = "20200101000000Z", const char* to = "20491231000000Z",
                       const std::string& lists = {})
        : root_key_(EVP_EC_gen("P-256"), &EVP_PKEY_free), key_(EVP_EC_gen("P-256"), &EVP_PKEY_free),
          root_(X509_new(), &X509_free), signer_(X509_new(), &X509_free) {
        fill(root_.get(), root_key_.get(), root_name_.c_str(), 1, "20200101000000Z",
             "20491231000000Z");
        extend(root_.get(), NID_basic_constraints, "critical,CA:TRUE");
        extend(root_.get(), NID_key_usage, "critical,keyCertSign,cRLSign");
        X509_sign(root_.get(), root_key_.get(), EVP_sha256());
        fill(signer_.get(), key_.get(), "Test Authority", 77, from, to);
        extend(signer_.get(), NID_ext_key_usage, "critical,timeStamping");
        if (!lists.empty()) {
            extend(signer_.get(), NID_crl_distribution_points, ("URI:" + lists).c_str());
        }
        X509_sign(signer_.get(), root_key_.get(), EVP_sha256());
    }

    std::string root_der() const { return der(root_.get(), &i2d_X509); }
    std::string signer_der() const { return der(signer_.get(), &i2d_X509); }
    X509* root() const { return root_.get(); }
    X509* signer() const { return signer_.get(); }
    EVP_PKEY* root_key() const { return root_key_.get(); }
    // The directoryName of the signer.
    std::string name() const {
        return element(0xA4, der(X509_get_subject_name(signer_.get()), &i2d_X509_NAME));
    }

    // With an encoded SigningCertificate it has that beside the V2.
    std::string token(const std::string& content, const Signing& options = {},
                      const std::string& signing_certificate = {}) const {
        const auto message =
            owned(CMS_sign(nullptr, nullptr, nullptr, nullptr, CMS_PARTIAL | CMS_BINARY),
                  &CMS_ContentInfo_free);
        const auto type = owned(OBJ_txt2obj(options.contentType.c_str(), 1), &ASN1_OBJECT_free);
        CMS_set1_eContentType(message.get(), type.get());
        const unsigned int flags = options.flags | CMS_NOSMIMECAP | CMS_BINARY |
                                   (options.with_certificates ? 0u : unsigned{CMS_NOCERTS});
        for (int i = 0; i < options.signers; ++i) {
            CMS_add1_signer(message.get(), signer_.get(), key_.get(), options.digest,
                            i == 0 ? flags : flags | CMS_NOCERTS);
        }
        if (!signing_certificate.empty()) {
            CMS_signed_add1_attr_by_txt(
                sk_CMS_SignerInfo_value(CMS_get0_SignerInfos(message.get()), 0),
                "1.2.840.113549.1.9.16.2.12", V_ASN1_SEQUENCE, signing_certificate.data(),
                static_cast<int>(signing_certificate.size()));
        }
        if (options.extra_certificate) {
            CMS_add1_cert(message.get(), root_.get());
        }
        const auto data =
            owned(BIO_new_mem_buf(content.data(), static_cast<int>(content.size())), &BIO_free);
        CMS_final(message.get(), data.get(), nullptr, CMS_BINARY);
        return der(message.get(), &i2d_CMS_ContentInfo);
    }

    std::string token(const TstInfo& info = {}, const Signing& options = {}) const {
        return token(info.encode(), options);
    }
    std::string signed_with(const Signing& options) const { return token(TstInfo(), options); }

    // A granted answer to an encoded request, made by OpenSSL's own authority.
    std::string answer(const std::string& request, const EVP_MD* ess_digest = EVP_sha256(),
                       bool ordering = false) const {
        const auto context = owned(TS_RESP_CTX_new(), &TS_RESP_CTX_free);
        const auto policy = owned(OBJ_txt2obj("1.2.3.4", 1), &ASN1_OBJECT_free);
        TS_RESP_CTX_set_signer_cert(context.get(), signer_.get());
        TS_RESP_CTX_set_signer_key(context.get(), key_.get());
        TS_RESP_CTX_set_signer_digest(context.get(), EVP_sha256());
        TS_RESP_CTX_set_ess_cert_id_digest(context.get(), ess_digest);
        TS_RESP_CTX_set_def_policy(context.get(), policy.get());
        TS_RESP_CTX_add_md(context.get(), EVP_sha256());
        TS_RESP_CTX_add_md(context.get(), EVP_sha512());
        TS_RESP_CTX_set_accuracy(context.get(), 1, 500, 0);
        TS_RESP_CTX_add_flags(context.get(), TS_TSA_NAME | (ordering ? TS_ORDERING : 0));
        const auto input =
            owned(BIO_new_mem_buf(request.data(), static_cast<int>(request.size())), &BIO_free);
        const auto response =
            owned(TS_RESP_create_response(context.get(), input.get()), &TS_RESP_free);
        return der(response.get(), &i2d_TS_RESP);
    }

private:
    template <class T>
    using Owner = std::unique_ptr<T, void (*)(T*)>;

    void fill(X509* certificate, EVP_PKEY* key, const char* name, long serial, const char* from,
              const char* to) {
        X509_set_version(certificate, X509_VERSION_3);
        ASN1_INTEGER_set(X509_get_serialNumber(certificate), serial);
        ASN1_TIME_set_string(X509_getm_notBefore(certificate), from);
        ASN1_TIME_set_string(X509_getm_notAfter(certificate), to);
        ASN1_TIME_normalize(X509_getm_notBefore(certificate));
        ASN1_TIME_normalize(X509_getm_notAfter(certificate));
        add(X509_get_subject_name(certificate), name);
        add(X509_get_issuer_name(certificate), root_name_.c_str());
        X509_set_pubkey(certificate, key);
    }

    static void add(X509_NAME* target, const char* name) {
        X509_NAME_add_entry_by_txt(target, "CN", MBSTRING_UTF8,
                                   reinterpret_cast<const unsigned char*>(name), -1, -1, 0);
    }

    static void extend(X509* certificate, int nid, const char* value) {
        const auto entry =
            owned(X509V3_EXT_conf_nid(nullptr, nullptr, nid, value), &X509_EXTENSION_free);
        X509_add_ext(certificate, entry.get(), -1);
    }

    static inline std::atomic<int> count_ = 0;
    std::string root_name_ = "Test Root " + std::to_string(++count_);
    Owner<EVP_PKEY> root_key_;
    Owner<EVP_PKEY> key_;
    Owner<X509> root_;
    Owner<X509> signer_;
};

// An answer of that status around a token, or without one.
inline std::string response(int status, const std::string& token, const std::string& texts = {},
                            const std::string& failInfo = {}) {
    return sequence(sequence(integer(std::string(1, static_cast<char>(status))) +
                             (texts.empty() ? "" : sequence(texts)) + failInfo) +
                    token);
}

// The PKIFailureInfo with the bits of the number, bit n being 1 << n.
inline std::string fail_info_bits(unsigned int bits) {
    std::string bytes(5, '\0');
    for (int n = 0; n < 32; ++n) {
        if ((bits >> n & 1u) != 0) {
            bytes[static_cast<std::size_t>(1 + n / 8)] |= static_cast<char>(0x80 >> (n % 8));
        }
    }
    while (bytes.size() > 2 && bytes.back() == '\0') {
        bytes.pop_back();
    }
    return element(0x03, bytes);
}

} // namespace Halcyon::PKI::TSP::Client::testing
