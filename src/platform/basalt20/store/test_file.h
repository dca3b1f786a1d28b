// Files of testdata/ and contexts of them, for the tests.
#pragma once

#include <basalt/store.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

inline std::vector<BYTE> test_file(const std::string& name) {
    std::ifstream file(std::string(CHRONOSEAL_TESTDATA) + '/' + name, std::ios::binary);
    EXPECT_TRUE(file.good()) << name;
    return {std::istreambuf_iterator<char>(file), {}};
}

struct CertificateDeleter {
    void operator()(PCCERT_CONTEXT context) const { CertFreeCertificateContext(context); }
};
using CertificatePtr = std::unique_ptr<const CERT_CONTEXT, CertificateDeleter>;

inline CertificatePtr certificate_of(const std::vector<BYTE>& bytes) {
    return CertificatePtr(CertCreateCertificateContext(X509_ASN_ENCODING, bytes.data(),
                                                       static_cast<DWORD>(bytes.size())));
}

inline CertificatePtr test_certificate(const std::string& name) {
    auto context = certificate_of(test_file(name));
    EXPECT_NE(context, nullptr) << name;
    return context;
}

inline std::vector<BYTE> bytes_of_blob(const CRYPT_DATA_BLOB& blob) {
    return {blob.pbData, blob.pbData + blob.cbData};
}

// A store that closes with the object.
class Store {
public:
    explicit Store(HCERTSTORE handle) : handle_(handle) {}
    Store(Store&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    ~Store() { CertCloseStore(handle_, 0); }
    operator HCERTSTORE() const { return handle_; }

private:
    HCERTSTORE handle_;
};
