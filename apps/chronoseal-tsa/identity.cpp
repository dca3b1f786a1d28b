#include "identity.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <openssl/bn.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>

namespace tsa {

namespace {

namespace fs = std::filesystem;

KeyPtr make_key(KeyKind kind) {
    EVP_PKEY* key = kind == KeyKind::rsa2048 ? EVP_RSA_gen(2048) : EVP_EC_gen("P-256");
    return KeyPtr(require_made(key, "can't make a key"));
}

void set_random_serial(X509* certificate) {
    const std::unique_ptr<BIGNUM, Releaser<BN_free>> number(BN_new());
    require(BN_rand(number.get(), 127, BN_RAND_TOP_ONE, BN_RAND_BOTTOM_ANY) == 1,
            "can't draw a serial number");
    require(BN_to_ASN1_INTEGER(number.get(), X509_get_serialNumber(certificate)) != nullptr,
            "can't set a serial number");
}

void set_common_name(X509_NAME* name, const char* common_name) {
    const auto add = [name](const char* field, const char* text) {
        require(X509_NAME_add_entry_by_txt(name, field, MBSTRING_UTF8,
                                           reinterpret_cast<const unsigned char*>(text), -1, -1,
                                           0) == 1,
                "can't set a name");
    };
    add("O", "chronoseal throw-away authority");
    add("CN", common_name);
}

void add_extension(X509* certificate, X509* issuer, int nid, const std::string& value) {
    X509V3_CTX context;
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    const std::unique_ptr<X509_EXTENSION, Releaser<X509_EXTENSION_free>> extension(require_made(
        X509V3_EXT_conf_nid(nullptr, &context, nid, value.c_str()), "can't make an extension"));
    require(X509_add_ext(certificate, extension.get(), -1) == 1, "can't add an extension");
}

// A certificate with subject, key, validity and serial number, but neither issuer nor signature
// yet.
CertificatePtr make_certificate(EVP_PKEY* key, const char* common_name, int days) {
    CertificatePtr certificate(require_made(X509_new(), "can't make a certificate"));
    require(X509_set_version(certificate.get(), X509_VERSION_3) == 1, "can't set a version");
    set_random_serial(certificate.get());
    set_common_name(X509_get_subject_name(certificate.get()), common_name);
    // A minute back, so that a stamp made in this very second is inside.
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -60);
    X509_time_adj_ex(X509_getm_notAfter(certificate.get()), days, 0, nullptr);
    require(X509_set_pubkey(certificate.get(), key) == 1, "can't set a public key");
    return certificate;
}

void sign(X509* certificate, X509* issuer, EVP_PKEY* issuer_key) {
    require(X509_set_issuer_name(certificate, X509_get_subject_name(issuer)) == 1,
            "can't set an issuer");
    require(X509_sign(certificate, issuer_key, EVP_sha256()) != 0, "can't sign a certificate");
}

CertificatePtr make_root(EVP_PKEY* key, int days) {
    CertificatePtr root = make_certificate(key, "Throw-away root", days);
    add_extension(root.get(), root.get(), NID_basic_constraints, "critical,CA:TRUE");
    add_extension(root.get(), root.get(), NID_key_usage, "critical,keyCertSign,cRLSign");
    add_extension(root.get(), root.get(), NID_subject_key_identifier, "hash");
    sign(root.get(), root.get(), key);
    return root;
}

CertificatePtr make_tsa(EVP_PKEY* key, X509* root, EVP_PKEY* root_key,
                        const IdentityOptions& options) {
    CertificatePtr tsa = make_certificate(key, "Throw-away time-stamp authority", options.days);
    add_extension(tsa.get(), root, NID_basic_constraints, "critical,CA:FALSE");
    add_extension(tsa.get(), root, NID_key_usage, "critical,digitalSignature");
    add_extension(tsa.get(), root, NID_ext_key_usage, "critical,timeStamping");
    add_extension(tsa.get(), root, NID_subject_key_identifier, "hash");
    add_extension(tsa.get(), root, NID_authority_key_identifier, "keyid:always");
    if (!options.crl_url.empty()) {
        add_extension(tsa.get(), root, NID_crl_distribution_points, "URI:" + options.crl_url);
    }
    sign(tsa.get(), root, root_key);
    return tsa;
}

CrlPtr make_crl(X509* root, EVP_PKEY* root_key, int days) {
    CrlPtr crl(require_made(X509_CRL_new(), "can't make a CRL"));
    const std::unique_ptr<ASN1_TIME, Releaser<ASN1_TIME_free>> now(X509_gmtime_adj(nullptr, -60));
    const std::unique_ptr<ASN1_TIME, Releaser<ASN1_TIME_free>> next(
        X509_time_adj_ex(nullptr, days, 0, nullptr));
    const std::unique_ptr<ASN1_INTEGER, Releaser<ASN1_INTEGER_free>> number(ASN1_INTEGER_new());
    require(X509_CRL_set_version(crl.get(), X509_CRL_VERSION_2) == 1 &&
                X509_CRL_set_issuer_name(crl.get(), X509_get_subject_name(root)) == 1 &&
                X509_CRL_set1_lastUpdate(crl.get(), now.get()) == 1 &&
                X509_CRL_set1_nextUpdate(crl.get(), next.get()) == 1 &&
                ASN1_INTEGER_set(number.get(), 1) == 1 &&
                X509_CRL_add1_ext_i2d(crl.get(), NID_crl_number, number.get(), 0, 0) == 1 &&
                X509_CRL_sign(crl.get(), root_key, EVP_sha256()) != 0,
            "can't make a CRL");
    return crl;
}

BioPtr open_file(const fs::path& path) {
    if (::access(path.c_str(), R_OK) != 0) {
        throw std::runtime_error("can't read " + path.string() + ": " + std::strerror(errno) +
                                 "; --init DIR makes an authority");
    }
    return BioPtr(require_made(BIO_new_file(path.c_str(), "r"), path.c_str()));
}

// A new file: never one that is there, or that a link of that name leads to.
BioPtr make_file(const fs::path& path, mode_t mode) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode);
    if (fd < 0) {
        throw std::runtime_error("can't write " + path.string() + ": " + std::strerror(errno));
    }
    return BioPtr(require_made(BIO_new_fd(fd, BIO_CLOSE), path.c_str()));
}

void write_key(const fs::path& path, EVP_PKEY* key) {
    require(PEM_write_bio_PrivateKey(make_file(path, 0600).get(), key, nullptr, nullptr, 0, nullptr,
                                     nullptr) == 1,
            path.c_str());
}

void write_certificate(const fs::path& path, X509* certificate) {
    require(PEM_write_bio_X509(make_file(path, 0644).get(), certificate) == 1, path.c_str());
}

CertificatePtr read_certificate(const fs::path& path) {
    return CertificatePtr(require_made(
        PEM_read_bio_X509(open_file(path).get(), nullptr, nullptr, nullptr), path.c_str()));
}

} // namespace

void make_identity(const fs::path& folder, const IdentityOptions& options) {
    for (const char* name : {"root.key", "root.pem", "tsa.key", "tsa.pem", "root.crl"}) {
        if (fs::exists(fs::symlink_status(folder / name))) {
            throw std::runtime_error(folder.string() + " already holds " + name +
                                     "; choose another folder");
        }
    }
    fs::create_directories(folder);
    const KeyPtr root_key = make_key(options.key);
    const CertificatePtr root = make_root(root_key.get(), options.days);
    const KeyPtr key = make_key(options.key);
    const CertificatePtr certificate = make_tsa(key.get(), root.get(), root_key.get(), options);
    const CrlPtr crl = make_crl(root.get(), root_key.get(), options.days);

    write_key(folder / "root.key", root_key.get());
    write_certificate(folder / "root.pem", root.get());
    write_key(folder / "tsa.key", key.get());
    write_certificate(folder / "tsa.pem", certificate.get());
    require(i2d_X509_CRL_bio(make_file(folder / "root.crl", 0644).get(), crl.get()) == 1,
            "can't write the CRL");
}

Identity load_identity(const fs::path& folder) {
    Identity identity;
    const fs::path key_path = folder / "tsa.key";
    identity.key.reset(
        require_made(PEM_read_bio_PrivateKey(open_file(key_path).get(), nullptr, nullptr, nullptr),
                     key_path.c_str()));
    identity.certificate = read_certificate(folder / "tsa.pem");
    identity.root = read_certificate(folder / "root.pem");
    require(X509_check_private_key(identity.certificate.get(), identity.key.get()) == 1,
            "tsa.key doesn't belong to tsa.pem");
    return identity;
}

} // namespace tsa
