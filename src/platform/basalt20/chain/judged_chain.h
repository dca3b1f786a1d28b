// For tests: a question to the exported functions about made-up parties, and what comes back. Times
// are hours from the stamp of test_authority.h, which is also the present moment unless told.
#pragma once

#include <basalt/chain.h>
#include <basalt/error_codes.h>
#include <basalt/revocation/test_authority.h>
#include <basalt/store/certificate_reference.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace basalt::test {

inline CertificateReference context_of(const std::string& der) {
    return CertificateReference(
        CertCreateCertificateContext(X509_ASN_ENCODING, reinterpret_cast<const BYTE*>(der.data()),
                                     static_cast<DWORD>(der.size())));
}

inline StoreReference store_of(const std::vector<std::string>& certificates,
                               const std::vector<std::string>& lists = {},
                               const std::vector<std::string>& answers = {}) {
    StoreReference store(CertOpenStore(CERT_STORE_PROV_MEMORY, 0, 0, 0, nullptr));
    for (const std::string& der : certificates) {
        CertAddCertificateContextToStore(store.get(), context_of(der).get(), CERT_STORE_ADD_ALWAYS,
                                         nullptr);
    }
    for (const std::string& der : lists) {
        CertAddEncodedCRLToStore(store.get(), X509_ASN_ENCODING,
                                 reinterpret_cast<const BYTE*>(der.data()),
                                 static_cast<DWORD>(der.size()), CERT_STORE_ADD_ALWAYS, nullptr);
    }
    for (const std::string& der : answers) {
        BasaltAddOcspResponseToStore(store.get(), reinterpret_cast<const BYTE*>(der.data()),
                                     static_cast<DWORD>(der.size()));
    }
    return store;
}

// Of two that are equally likely as issuers the one with the smaller digest is tried first.
inline Sha256 digest_of(const Party& party) {
    const std::string der = encoded(&party);
    return sha256(bytes_of(der));
}

inline std::vector<std::string> encoded_all(const std::vector<const Party*>& parties) {
    std::vector<std::string> all;
    for (const Party* party : parties) {
        all.push_back(encoded(party));
    }
    return all;
}

// As another signer, key and digest would have made it. Null leaves the key as it is.
inline std::string remade(const Party& party, EVP_PKEY* signer, const EVP_MD* digest,
                          EVP_PKEY* own_key = nullptr) {
    const OpensslOwner<X509, X509_free> copy(X509_dup(party.certificate()));
    if (own_key != nullptr) {
        X509_set_pubkey(copy.get(), own_key);
    }
    X509_sign(copy.get(), signer, digest);
    return encoded(copy.get());
}

struct EngineCloser {
    void operator()(HCERTCHAINENGINE engine) const { CertFreeCertificateChainEngine(engine); }
};
using EngineReference = std::unique_ptr<void, EngineCloser>;

struct ChainCloser {
    void operator()(PCCERT_CHAIN_CONTEXT chain) const { CertFreeCertificateChain(chain); }
};
using ChainReference = std::unique_ptr<const CERT_CHAIN_CONTEXT, ChainCloser>;

struct Setting {
    std::vector<std::string> anchors{};
    DWORD revocation = BASALT_REVOCATION_OFF;
    DWORD strength = BASALT_STRENGTH_FLOOR;
    DWORD flags = 0;
    FileTicks now = ticks_at(0);
    std::vector<std::string> own{}; // certificates of the machine and its user
    std::vector<std::string> own_lists{};
    std::vector<std::string> own_answers{};
};

inline EngineReference make_engine(const Setting& setting) {
    const StoreReference anchors = store_of(setting.anchors);
    const StoreReference nothing = store_of({});
    const StoreReference own = store_of(setting.own, setting.own_lists, setting.own_answers);
    HCERTSTORE additional = own.get();
    const FILETIME now = file_time_of(setting.now);
    BASALT_CHAIN_ENGINE_CONFIG config{};
    config.Base.cbSize = sizeof config;
    config.Base.hExclusiveRoot = anchors.get();
    config.Base.hRestrictedOther = nothing.get();
    config.Base.cAdditionalStore = 1;
    config.Base.rghAdditionalStore = &additional;
    config.Base.dwFlags = setting.flags;
    config.dwRevocationMode = setting.revocation;
    config.dwStrength = setting.strength;
    config.pNow = &now;
    HCERTCHAINENGINE engine = nullptr;
    EXPECT_TRUE(CertCreateCertificateChainEngine(&config.Base, &engine));
    return EngineReference(engine);
}

struct Given {
    std::string end{};
    std::vector<std::string> bag{};
    std::vector<std::string> lists{};
    std::vector<std::string> answers{};
};

inline ChainReference build(const EngineReference& engine, const Given& given, DWORD flags = 0) {
    CERT_CHAIN_PARA para{};
    para.cbSize = sizeof para;
    PCCERT_CHAIN_CONTEXT chain = nullptr;
    EXPECT_TRUE(CertGetCertificateChain(
        engine.get(), context_of(given.end).get(), nullptr,
        store_of(given.bag, given.lists, given.answers).get(), &para,
        CERT_CHAIN_REVOCATION_CHECK_CHAIN_EXCLUDE_ROOT | flags, nullptr, &chain));
    return ChainReference(chain);
}

inline DWORD stamp_verdict(const ChainReference& chain, FileTicks at = ticks_at(0),
                           BASALT_TIME_STAMP_POLICY_STATUS* told = nullptr) {
    const FILETIME time = file_time_of(at);
    BASALT_TIME_STAMP_POLICY_PARA extra{sizeof extra, &time};
    CERT_CHAIN_POLICY_PARA para{sizeof para, CERT_CHAIN_POLICY_TIME_STAMP_CLIENT_FLAG, &extra};
    CERT_CHAIN_POLICY_STATUS status{};
    status.cbSize = sizeof status;
    status.pvExtraPolicyStatus = told;
    EXPECT_TRUE(CertVerifyCertificateChainPolicy(CERT_CHAIN_POLICY_TIME_STAMP, chain.get(), &para,
                                                 &status));
    return status.dwError;
}

inline DWORD stamp_verdict(const Setting& setting, const Given& given, FileTicks at = ticks_at(0)) {
    return stamp_verdict(build(make_engine(setting), given), at);
}

} // namespace basalt::test
