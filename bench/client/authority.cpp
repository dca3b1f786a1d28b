// The making of keys, certificates and answers.
#include "authority.h"

#include <filesystem>

#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/x509v3.h>

#include "operation.h"
#include <basalt/certificate.h>
#include <basalt/chain.h>

namespace bench {

namespace {

// The platform keeps 512 prepared certificates, and each round brings two.
std::size_t pool_size = 300;

template <class T>
std::string der(T* object, int (*write)(const T*, unsigned char**)) {
    unsigned char* data = nullptr;
    const int size = write(object, &data);
    require(size > 0, "encoding");
    std::string result(reinterpret_cast<char*>(data), static_cast<std::size_t>(size));
    OPENSSL_free(data);
    return result;
}

// Where keys are kept between runs; none without a name.
Owner<BIO, BIO_free_all> kept_keys;
bool kept_keys_are_read = false;

Key make_key(Authority::Kind kind) {
    if (kept_keys_are_read) {
        Key key(PEM_read_bio_PrivateKey(kept_keys.get(), nullptr, nullptr, nullptr));
        require(key != nullptr, "reading of a kept key");
        return key;
    }
    Key key(kind == Authority::Kind::rsa ? EVP_RSA_gen(2048) : EVP_EC_gen("P-256"));
    require(key != nullptr, "key generation");
    require(!kept_keys || PEM_write_bio_PrivateKey(kept_keys.get(), key.get(), nullptr, nullptr, 0,
                                                   nullptr, nullptr) == 1,
            "keeping of a key");
    return key;
}

void add_name(X509_NAME* name, const char* commonName) {
    auto add = [name](const char* type, const char* text) {
        X509_NAME_add_entry_by_txt(name, type, MBSTRING_UTF8,
                                   reinterpret_cast<const unsigned char*>(text), -1, -1, 0);
    };
    add("C", "ZZ");
    add("L", "Some Town");
    add("O", "An Organization with a Name of Usual Length");
    add("OU", "Certification Department");
    add("CN", commonName);
}

// What tells one certificate from another.
struct Subject {
    const char* name;
    long serial;
    EVP_PKEY* key;
};

// A null `issuer` means a self-signed one.
Certificate certify(const Subject& subject, X509* issuer, EVP_PKEY* issuer_key,
                    const std::vector<std::pair<int, const char*>>& extensions) {
    Certificate made(X509_new());
    X509_set_version(made.get(), X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(made.get()), subject.serial);
    X509_gmtime_adj(X509_getm_notBefore(made.get()), -86400L);
    X509_gmtime_adj(X509_getm_notAfter(made.get()), 86400L * 3650);
    add_name(X509_get_subject_name(made.get()), subject.name);
    X509_set_issuer_name(made.get(), X509_get_subject_name(issuer ? issuer : made.get()));
    X509_set_pubkey(made.get(), subject.key);
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, issuer ? issuer : made.get(), made.get(), nullptr, nullptr, 0);
    for (const auto& [nid, value] : extensions) {
        const Owner<X509_EXTENSION, X509_EXTENSION_free> extension(
            X509V3_EXT_conf_nid(nullptr, &context, nid, value));
        require(extension != nullptr, "extension");
        X509_add_ext(made.get(), extension.get(), -1);
    }
    require(X509_sign(made.get(), issuer_key, EVP_sha256()) > 0, "signing");
    return made;
}

std::vector<std::pair<int, const char*>> authority_extensions(bool root) {
    std::vector<std::pair<int, const char*>> list{{NID_basic_constraints, "critical,CA:TRUE"},
                                                  {NID_key_usage, "critical,keyCertSign,cRLSign"},
                                                  {NID_subject_key_identifier, "hash"}};
    if (!root) {
        list.emplace_back(NID_authority_key_identifier, "keyid:always");
    }
    return list;
}

void trust(std::initializer_list<const Authority*> authorities) {
    auto* const store = CertOpenStore(CERT_STORE_PROV_MEMORY, 0, 0, 0, nullptr);
    for (const auto* each : authorities) {
        const auto root = der(each->root(), &i2d_X509);
        require(CertAddEncodedCertificateToStore(store, X509_ASN_ENCODING, bytes(root),
                                                 static_cast<DWORD>(root.size()),
                                                 CERT_STORE_ADD_ALWAYS, nullptr),
                "root");
    }
    require(BasaltSetTrustAnchors(store), "trust");
    CertCloseStore(store, 0);
}

struct Authorities {
    Authorities() { trust({&rsa, &ec}); }

    Authority rsa{Authority::Kind::rsa};
    Authority ec{Authority::Kind::ec};
};

} // namespace

Authority::Authority(Kind kind)
    : root_key_(make_key(kind)), authority_key_(make_key(kind)), signer_key_(make_key(kind)) {
    const char* const name = kind == Kind::rsa ? "Benchmark Root (RSA)" : "Benchmark Root (EC)";
    root_ =
        certify({name, 1, root_key_.get()}, nullptr, root_key_.get(), authority_extensions(true));
    for (std::size_t i = 0; i < pool_size; ++i) {
        pool_.push_back(issue(static_cast<long>(0x10000 + i)));
    }
}

Issued Authority::issue(long serial) const {
    Issued issued;
    issued.authority = certify({"Benchmark Authority", serial, authority_key_.get()}, root_.get(),
                               root_key_.get(), authority_extensions(false));
    issued.signer = certify({"Benchmark Time-Stamp Signer", serial, signer_key_.get()},
                            issued.authority.get(), authority_key_.get(),
                            {{NID_basic_constraints, "critical,CA:FALSE"},
                             {NID_key_usage, "critical,digitalSignature"},
                             {NID_ext_key_usage, "critical,timeStamping"},
                             {NID_subject_key_identifier, "hash"},
                             {NID_authority_key_identifier, "keyid:always"}});
    issued.response = answer(issued, true);
    return issued;
}

std::string Authority::bare_response() const {
    return answer(first(), false);
}

std::string Authority::answer(const Issued& issued, bool with_certificates) const {
    const Owner<TS_RESP_CTX, TS_RESP_CTX_free> context(TS_RESP_CTX_new());
    const Owner<ASN1_OBJECT, ASN1_OBJECT_free> policy(OBJ_txt2obj("1.2.3.4", 1));
    STACK_OF(X509)* const certificates = sk_X509_new_null();
    sk_X509_push(certificates, issued.authority.get());
    TS_RESP_CTX_set_signer_cert(context.get(), issued.signer.get());
    TS_RESP_CTX_set_signer_key(context.get(), signer_key_.get());
    TS_RESP_CTX_set_signer_digest(context.get(), EVP_sha256());
    TS_RESP_CTX_set_ess_cert_id_digest(context.get(), EVP_sha256());
    TS_RESP_CTX_set_def_policy(context.get(), policy.get());
    TS_RESP_CTX_set_certs(context.get(), with_certificates ? certificates : nullptr);
    TS_RESP_CTX_add_md(context.get(), EVP_sha256());
    TS_RESP_CTX_set_accuracy(context.get(), 1, 500, 0);
    TS_RESP_CTX_add_flags(context.get(), TS_TSA_NAME);
    sk_X509_free(certificates);
    const auto query = request(with_certificates);
    const Owner<BIO, BIO_free_all> input(
        BIO_new_mem_buf(query.data(), static_cast<int>(query.size())));
    const Response response(TS_RESP_create_response(context.get(), input.get()));
    require(response && TS_RESP_get_tst_info(response.get()), "answer");
    return der(response.get(), &i2d_TS_RESP);
}

const Issued& Authority::next() const {
    static std::size_t turn = 0;
    turn = (turn + 1) % pool_.size();
    return pool_[turn];
}

void Authority::set_pool_size(std::size_t size) {
    pool_size = size;
}

void Authority::keep_keys(const char* path) {
    kept_keys_are_read = std::filesystem::exists(path);
    kept_keys.reset(BIO_new_file(path, kept_keys_are_read ? "r" : "w"));
    require(kept_keys != nullptr, "file of keys");
}

const Authority& authority(Authority::Kind kind) {
    static const Authorities made;
    return kind == Authority::Kind::rsa ? made.rsa : made.ec;
}

const std::string& digest() {
    static const std::string value = [] {
        std::string hash(32, '\0');
        EVP_Digest("data", 4, reinterpret_cast<unsigned char*>(hash.data()), nullptr, EVP_sha256(),
                   nullptr);
        return hash;
    }();
    return value;
}

std::string request(bool certReq) {
    const Owner<TS_REQ, TS_REQ_free> made(TS_REQ_new());
    const Owner<TS_MSG_IMPRINT, TS_MSG_IMPRINT_free> imprint(TS_MSG_IMPRINT_new());
    const Owner<X509_ALGOR, X509_ALGOR_free> algorithm(X509_ALGOR_new());
    const Owner<ASN1_INTEGER, ASN1_INTEGER_free> number(ASN1_INTEGER_new());
    X509_ALGOR_set0(algorithm.get(), OBJ_nid2obj(NID_sha256), V_ASN1_UNDEF, nullptr);
    TS_MSG_IMPRINT_set_algo(imprint.get(), algorithm.get());
    TS_MSG_IMPRINT_set_msg(imprint.get(), const_cast<unsigned char*>(bytes(digest())), 32);
    ASN1_STRING_set(number.get(), nonce, sizeof(nonce));
    TS_REQ_set_version(made.get(), 1);
    TS_REQ_set_msg_imprint(made.get(), imprint.get());
    TS_REQ_set_nonce(made.get(), number.get());
    TS_REQ_set_cert_req(made.get(), certReq);
    return der(made.get(), &i2d_TS_REQ);
}

} // namespace bench
