#include <basalt/chain.h>

#include <basalt/coding/file_ticks.h>
#include <basalt/coding/openssl_owner.h>
#include <basalt/error_codes.h>
#include <basalt/last_error.h>
#include <basalt/store/certificate_reference.h>

#include <openssl/ec.h>
#include <openssl/x509v3.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace basalt {
namespace {

using Key = std::shared_ptr<EVP_PKEY>;
constexpr long kDay = 24 * 3600;

Key make_key() {
    return {EVP_EC_gen("P-256"), EVP_PKEY_free};
}

struct Authority {
    Key key = make_key();
    std::string name;
    int name_type = MBSTRING_UTF8;
};

struct Wanted {
    std::string subject;
    Key key;
    const Authority* issuer = nullptr;
    bool ca = false;
    const char* usage = "critical,timeStamping";
    long begin = -10 * kDay; // seconds from now
    long end = 10 * kDay;
    int name_type = MBSTRING_UTF8;
};

void set_name(X509_NAME* name, const std::string& text, int type) {
    X509_NAME_add_entry_by_txt(name, "CN", type,
                               reinterpret_cast<const unsigned char*>(text.c_str()), -1, -1, 0);
}

void add_extension(X509* certificate, int nid, const char* value) {
    const OpensslOwner<X509_EXTENSION, X509_EXTENSION_free> extension(
        X509V3_EXT_conf_nid(nullptr, nullptr, nid, value));
    X509_add_ext(certificate, extension.get(), -1);
}

CertificateReference make(const Wanted& wanted) {
    static long serial = 1000;
    const OpensslOwner<X509, X509_free> x(X509_new());
    X509_set_version(x.get(), X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(x.get()), ++serial);
    set_name(X509_get_subject_name(x.get()), wanted.subject, wanted.name_type);
    set_name(X509_get_issuer_name(x.get()), wanted.issuer ? wanted.issuer->name : wanted.subject,
             wanted.issuer ? wanted.issuer->name_type : wanted.name_type);
    X509_gmtime_adj(X509_getm_notBefore(x.get()), wanted.begin);
    X509_gmtime_adj(X509_getm_notAfter(x.get()), wanted.end);
    X509_set_pubkey(x.get(), wanted.key.get());
    add_extension(x.get(), NID_basic_constraints,
                  wanted.ca ? "critical,CA:TRUE" : "critical,CA:FALSE");
    if (!wanted.ca) {
        add_extension(x.get(), NID_ext_key_usage, wanted.usage);
    }
    X509_sign(x.get(), (wanted.issuer ? wanted.issuer->key : wanted.key).get(), EVP_sha256());
    unsigned char* der = nullptr;
    const int size = i2d_X509(x.get(), &der);
    CertificateReference context(
        CertCreateCertificateContext(X509_ASN_ENCODING, der, static_cast<DWORD>(size)));
    OPENSSL_free(der);
    return context;
}

StoreReference store_of(const std::vector<PCCERT_CONTEXT>& certificates) {
    StoreReference store(CertOpenStore(CERT_STORE_PROV_MEMORY, 0, 0, 0, nullptr));
    for (const PCCERT_CONTEXT certificate : certificates) {
        CertAddCertificateContextToStore(store.get(), certificate, CERT_STORE_ADD_ALWAYS, nullptr);
    }
    return store;
}

FILETIME in_seconds(long seconds) {
    return file_time_of(now_in_ticks() + static_cast<FileTicks>(seconds) * kTicksPerSecond);
}

class ChainTest : public ::testing::Test {
protected:
    void trust(const std::vector<PCCERT_CONTEXT>& anchors) {
        ASSERT_TRUE(BasaltSetTrustAnchors(store_of(anchors).get()));
    }

    void build(PCCERT_CONTEXT end, const std::vector<PCCERT_CONTEXT>& candidates) {
        CERT_CHAIN_PARA para{};
        para.cbSize = sizeof para;
        ASSERT_TRUE(CertGetCertificateChain(nullptr, end, nullptr, store_of(candidates).get(),
                                            &para, CERT_CHAIN_REVOCATION_CHECK_CHAIN_EXCLUDE_ROOT,
                                            nullptr, &chain_));
    }

    DWORD judge(FILETIME at) {
        BASALT_TIME_STAMP_POLICY_PARA extra{sizeof extra, &at};
        CERT_CHAIN_POLICY_PARA para{sizeof para, CERT_CHAIN_POLICY_TIME_STAMP_CLIENT_FLAG, &extra};
        CERT_CHAIN_POLICY_STATUS status{};
        status.cbSize = sizeof status;
        EXPECT_TRUE(
            CertVerifyCertificateChainPolicy(CERT_CHAIN_POLICY_TIME_STAMP, chain_, &para, &status));
        return status.dwError;
    }

    void TearDown() override {
        CertFreeCertificateChain(chain_);
        BasaltSetTrustAnchors(nullptr);
        BasaltSetRevocationMode(BASALT_REVOCATION_CONFIGURED);
    }

    Authority root_{make_key(), "root"};
    CertificateReference root_certificate_ = make({"root", root_.key, nullptr, true});
    PCCERT_CHAIN_CONTEXT chain_ = nullptr;
};

TEST_F(ChainTest, RecordsTellTheChainFromLeafToRoot) {
    trust({root_certificate_.get()});
    const CertificateReference leaf = make({"leaf", make_key(), &root_});
    build(leaf.get(), {});
    ASSERT_EQ(chain_->cChain, 1u);
    const CERT_SIMPLE_CHAIN& simple = *chain_->rgpChain[0];
    ASSERT_EQ(simple.cElement, 2u);
    EXPECT_TRUE(CertCompareCertificate(X509_ASN_ENCODING, leaf->pCertInfo,
                                       simple.rgpElement[0]->pCertContext->pCertInfo));
    EXPECT_EQ(chain_->TrustStatus.dwErrorStatus, 0u);
    EXPECT_EQ(simple.rgpElement[1]->TrustStatus.dwInfoStatus & CERT_TRUST_IS_SELF_SIGNED,
              CERT_TRUST_IS_SELF_SIGNED);
    EXPECT_EQ(judge(in_seconds(0)), 0u);
    CertFreeCertificateChain(CertDuplicateCertificateChain(chain_));
    EXPECT_EQ(chain_->cChain, 1u);
}

TEST_F(ChainTest, ARootAmongTheCandidatesIsNotTrusted) {
    trust({});
    const CertificateReference leaf = make({"leaf", make_key(), &root_});
    build(leaf.get(), {root_certificate_.get()});
    EXPECT_NE(chain_->TrustStatus.dwErrorStatus & CERT_TRUST_IS_UNTRUSTED_ROOT, 0u);
    EXPECT_EQ(judge(in_seconds(0)), CERT_E_UNTRUSTEDROOT);
}

TEST_F(ChainTest, AMissingMiddleIsToldAsAnIncompleteChain) {
    trust({root_certificate_.get()});
    const Authority middle{make_key(), "middle"};
    const CertificateReference middle_certificate = make({"middle", middle.key, &root_, true});
    const CertificateReference leaf = make({"leaf", make_key(), &middle});
    build(leaf.get(), {});
    EXPECT_NE(chain_->TrustStatus.dwErrorStatus & CERT_TRUST_IS_PARTIAL_CHAIN, 0u);
    EXPECT_EQ(judge(in_seconds(0)), CERT_E_CHAINING);
    CertFreeCertificateChain(chain_);
    build(leaf.get(), {middle_certificate.get()});
    EXPECT_EQ(judge(in_seconds(0)), 0u);
}

TEST_F(ChainTest, AnAnchorNeedNotBeARoot) {
    const Authority middle{make_key(), "middle"};
    const CertificateReference middle_certificate = make({"middle", middle.key, &root_, true});
    trust({middle_certificate.get()});
    const CertificateReference leaf = make({"leaf", make_key(), &middle});
    build(leaf.get(), {});
    EXPECT_EQ(judge(in_seconds(0)), 0u);
}

TEST_F(ChainTest, NamesInOtherStringTypesStillMatch) {
    const Authority other{root_.key, "root", V_ASN1_PRINTABLESTRING};
    trust({root_certificate_.get()});
    const CertificateReference leaf = make({"leaf", make_key(), &other});
    build(leaf.get(), {});
    EXPECT_EQ(judge(in_seconds(0)), 0u);
}

TEST_F(ChainTest, TheCertificateInForceAtTheCheckTimeIsFound) {
    trust({root_certificate_.get()});
    const Authority middle{make_key(), "middle"};
    // One authority, one key, renewed: the path of today goes through a certificate that didn't
    // exist yet.
    const CertificateReference old =
        make({"middle", middle.key, &root_, true, "", -9 * kDay, -2 * kDay});
    const CertificateReference renewed = make({"middle", middle.key, &root_, true, "", -kDay});
    const CertificateReference leaf = make({"leaf", make_key(), &middle});
    build(leaf.get(), {renewed.get(), old.get()});
    EXPECT_EQ(judge(in_seconds(0)), 0u);
    EXPECT_EQ(judge(in_seconds(-3 * kDay)), 0u);
    EXPECT_EQ(judge(in_seconds(-kDay - kDay / 2)), CERT_E_EXPIRED) << "between the two";
}

TEST_F(ChainTest, ACertificateWhoseKeyIsNotTheIssuersIsRefused) {
    trust({root_certificate_.get()});
    const Authority impostor{make_key(), "root"};
    const CertificateReference leaf = make({"leaf", make_key(), &impostor});
    build(leaf.get(), {});
    EXPECT_EQ(judge(in_seconds(0)), TRUST_E_CERT_SIGNATURE);
}

// A pair of certificates whose signature has been found good isn't looked at again.
TEST_F(ChainTest, ASignatureFoundGoodCountsForThatIssuerAndThatCertificateAlone) {
    const CertificateReference leaf = make({"leaf", make_key(), &root_});
    const Authority impostor{make_key(), "root"};
    const CertificateReference impostor_root = make({"root", impostor.key, nullptr, true});
    const CertificateReference other_leaf = make({"leaf", make_key(), &impostor});
    std::string bytes(reinterpret_cast<const char*>(leaf->pbCertEncoded), leaf->cbCertEncoded);
    bytes.back() ^= 1; // of the signature
    const CertificateReference damaged(
        CertCreateCertificateContext(X509_ASN_ENCODING, reinterpret_cast<const BYTE*>(bytes.data()),
                                     static_cast<DWORD>(bytes.size())));
    const auto verdict = [&](PCCERT_CONTEXT anchor, PCCERT_CONTEXT end) {
        trust({anchor});
        CertFreeCertificateChain(chain_);
        build(end, {});
        return judge(in_seconds(0));
    };
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(verdict(root_certificate_.get(), leaf.get()), 0u);
        EXPECT_EQ(verdict(impostor_root.get(), leaf.get()), TRUST_E_CERT_SIGNATURE);
        EXPECT_EQ(verdict(impostor_root.get(), other_leaf.get()), 0u);
        EXPECT_EQ(verdict(root_certificate_.get(), other_leaf.get()), TRUST_E_CERT_SIGNATURE);
        EXPECT_EQ(verdict(root_certificate_.get(), damaged.get()), TRUST_E_CERT_SIGNATURE);
    }
}

TEST_F(ChainTest, BadArgumentsAreRefused) {
    PCCERT_CHAIN_CONTEXT chain = nullptr;
    CERT_CHAIN_PARA para{};
    EXPECT_FALSE(CertGetCertificateChain(nullptr, root_certificate_.get(), nullptr, nullptr, &para,
                                         0, nullptr, &chain));
    EXPECT_EQ(GetLastError(), E_INVALIDARG);
    para.cbSize = sizeof para;
    EXPECT_FALSE(
        CertGetCertificateChain(nullptr, nullptr, nullptr, nullptr, &para, 0, nullptr, &chain));
    EXPECT_EQ(chain, nullptr);
    CertFreeCertificateChain(nullptr);
    EXPECT_FALSE(BasaltSetRevocationMode(4));
    int not_a_store = 0;
    EXPECT_FALSE(BasaltSetTrustAnchors(&not_a_store));
    build(root_certificate_.get(), {});
    CERT_CHAIN_POLICY_STATUS status{};
    EXPECT_FALSE(CertVerifyCertificateChainPolicy("{no such policy}", chain_, nullptr, &status));
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
}

} // namespace
} // namespace basalt
