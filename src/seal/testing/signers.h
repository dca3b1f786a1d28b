// CMS signatures that OpenSSL makes.
#pragma once

#include <array>

#include <chronoseal/seal/testing/seal_fixture.h>

namespace chronoseal::testing {

inline auto memory(const std::string& text) {
    return tsp::owned(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())), &BIO_free_all);
}

inline std::string text_of(BIO* bio) {
    char* data = nullptr;
    const long size = BIO_get_mem_data(bio, &data);
    return {data, static_cast<std::size_t>(size)};
}

// Two people who sign these data.
class Signers {
public:
    explicit Signers(std::string data) : data_(std::move(data)) {
        for (std::size_t i = 0; i < 2; ++i) {
            keys_[i].reset(EVP_EC_gen("P-256"), &EVP_PKEY_free);
            X509* certificate = X509_new();
            certificates_[i].reset(certificate, &X509_free);
            ASN1_INTEGER_set(X509_get_serialNumber(certificate), static_cast<long>(i) + 5);
            X509_gmtime_adj(X509_getm_notBefore(certificate), 0);
            X509_gmtime_adj(X509_getm_notAfter(certificate), 86400);
            X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate), "CN", MBSTRING_UTF8,
                                       reinterpret_cast<const unsigned char*>("Person"), -1, -1, 0);
            X509_set_issuer_name(certificate, X509_get_subject_name(certificate));
            X509_set_pubkey(certificate, keys_[i].get());
            const auto identifier =
                tsp::owned(X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_key_identifier,
                                               i == 0 ? "01:02:03" : "04:05:06"),
                           &X509_EXTENSION_free);
            X509_set_version(certificate, X509_VERSION_3);
            X509_add_ext(certificate, identifier.get(), -1);
            X509_sign(certificate, keys_[i].get(), EVP_sha256());
        }
    }

    auto sign(unsigned flags, int count = 1) const {
        auto message = tsp::owned(CMS_sign(nullptr, nullptr, nullptr, nullptr, CMS_PARTIAL | flags),
                                  &CMS_ContentInfo_free);
        for (int i = 0; i < count; ++i) {
            const auto index = static_cast<std::size_t>(i % 2);
            CMS_add1_signer(message.get(), certificates_[index].get(), keys_[index].get(),
                            EVP_sha256(), flags | (i < 2 ? 0U : unsigned{CMS_NOCERTS}));
        }
        if ((flags & CMS_STREAM) == 0) {
            CMS_final(message.get(), memory(data_).get(), nullptr, flags);
        }
        return message;
    }
    std::string der(unsigned flags, int count = 1) const {
        return tsp::der(sign(flags, count).get(), &i2d_CMS_ContentInfo);
    }
    std::string certificate(std::size_t i) const {
        return tsp::der(certificates_[i].get(), &i2d_X509);
    }
    // What OpenSSL says of a DER message.
    bool verifies(const std::string& der, bool detached) const {
        const auto message = tsp::message_of(der);
        const auto data = memory(data_);
        return message != nullptr &&
               CMS_verify(message.get(), nullptr, nullptr, detached ? data.get() : nullptr, nullptr,
                          CMS_NO_SIGNER_CERT_VERIFY | CMS_BINARY) == 1;
    }

private:
    std::string data_;
    std::array<std::shared_ptr<EVP_PKEY>, 2> keys_;
    std::array<std::shared_ptr<X509>, 2> certificates_;
};

} // namespace chronoseal::testing
