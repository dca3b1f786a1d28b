// For tests of the network functions: a configuration with short time-outs, and a TLS certificate
// of the test's own that it trusts. Made once for the program, before the first exchange, which
// reads it for good.
#pragma once

#include <basalt/network.h>

#include <openssl/ssl.h>
#include <openssl/x509v3.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

struct TlsIdentity {
    EVP_PKEY* key = EVP_EC_gen("P-256");
    X509* certificate = X509_new();
    SSL_CTX* context = SSL_CTX_new(TLS_server_method());

    // A certificate for 127.0.0.1, signed by itself, that ends `seconds` from now.
    explicit TlsIdentity(long seconds = 86400) {
        X509_set_version(certificate, X509_VERSION_3);
        ASN1_INTEGER_set(X509_get_serialNumber(certificate), 1);
        X509_gmtime_adj(X509_getm_notBefore(certificate), -7200);
        X509_gmtime_adj(X509_getm_notAfter(certificate), seconds);
        X509_set_pubkey(certificate, key);
        X509_NAME* name = X509_get_subject_name(certificate);
        X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC,
                                   reinterpret_cast<const unsigned char*>("loopback"), -1, -1, 0);
        X509_set_issuer_name(certificate, name);
        X509_EXTENSION* address =
            X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_alt_name, "IP:127.0.0.1");
        X509_add_ext(certificate, address, -1);
        X509_EXTENSION_free(address);
        X509_sign(certificate, key, EVP_sha256());
        SSL_CTX_use_certificate(context, certificate);
        SSL_CTX_use_PrivateKey(context, key);
    }
    ~TlsIdentity() {
        SSL_CTX_free(context);
        X509_free(certificate);
        EVP_PKEY_free(key);
    }
    TlsIdentity(const TlsIdentity&) = delete;
    TlsIdentity& operator=(const TlsIdentity&) = delete;

    void write_certificate(const std::string& file) const {
        const std::unique_ptr<BIO, int (*)(BIO*)> out(BIO_new_file(file.c_str(), "a"), BIO_free);
        PEM_write_bio_X509(out.get(), certificate);
    }
};

class NetworkFixture {
public:
    static constexpr int kTotalTimeoutMilliseconds = 2000;
    static constexpr int kMaxAnswerBytes = 1 << 20;

    static NetworkFixture& get() {
        static NetworkFixture fixture;
        return fixture;
    }

    const std::string& folder() const { return folder_; }
    SSL_CTX* trusted() const { return trusted_.context; }
    SSL_CTX* untrusted() const { return untrusted_.context; }
    SSL_CTX* ended() const { return ended_.context; } // trusted once

private:
    NetworkFixture() {
        umask(S_IWGRP | S_IWOTH); // configuration that others may write to is refused
        std::string pattern = std::filesystem::temp_directory_path() / "basalt_network_XXXXXX";
        folder_ = mkdtemp(pattern.data());
        trusted_.write_certificate(folder_ + "/root.pem");
        ended_.write_certificate(folder_ + "/root.pem");
        std::ofstream(folder_ + "/config.toml")
            << "[config.network]\nConnectTimeoutMilliseconds = 1000\nTotalTimeoutMilliseconds = "
            << kTotalTimeoutMilliseconds << "\nMaxAnswerBytes = " << kMaxAnswerBytes
            << "\nCaFile = '" << folder_ << "/root.pem'\nFetchIssuers = 'anywhere'\n";
        setenv("BASALT_CONFIG", (folder_ + "/config.toml").c_str(), 1);
        PKI_BUFFER none{};
        SendPKIRequest(L"none:", nullptr, nullptr, nullptr, nullptr, &none, &none);
        unsetenv("BASALT_CONFIG");
    }
    ~NetworkFixture() { std::filesystem::remove_all(folder_); }

    std::string folder_;
    TlsIdentity trusted_;
    TlsIdentity untrusted_;
    TlsIdentity ended_{-3600};
};
