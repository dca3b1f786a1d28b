#include <basalt/store.h>
#include <chronoseal/client/testing/suite.h>

namespace Halcyon::PKI::TSP::Client {
namespace {

using namespace testing;

class Verification : public ::testing::Test {
protected:
    Verification() { Configuration::instance().set(""); }

    std::uint32_t verdict(const std::string& der, const char* extensions = nullptr,
                          const _CERT_CONTEXT* hint = nullptr) {
        CStamp stamp;
        import(stamp, der);
        return static_cast<std::uint32_t>(stamp.Verify(hint, extensions));
    }
    std::uint32_t chain_verdict(const Authority& authority, const TstInfo& info) {
        const Trust trust(authority.root_der());
        CStamp stamp;
        import(stamp, authority.token(info));
        return static_cast<std::uint32_t>(stamp.VerifyCertificate(nullptr, nullptr, 0));
    }

    Authority authority_;
    Trust trust_{authority_.root_der()};
};

TEST_F(Verification, ExtensionListNamesWhatIsRefused) {
    constexpr std::uint32_t kRefused = 0x800B0105;
    using Case = std::tuple<std::string, const char*, std::uint32_t>;
    const auto critical = extension("1.2.3", true);
    for (const auto& [extensions, list, code] :
         {Case{"", nullptr, 0}, Case{critical, nullptr, kRefused}, Case{critical, "*", 0},
          Case{critical, "", 0}, Case{critical, "1.2.3", kRefused}, Case{critical, "1.2.4", 0},
          Case{critical, "5.1.2.3;1.2.34", 0}, Case{critical, "1.2.4;1.2.3", kRefused},
          Case{extension("1.2.3", false), nullptr, 0}, Case{extension("1.2.3", false), "1.2.3", 0},
          Case{extension("1.2.5", false) + critical, nullptr, kRefused}}) {
        const TstInfo info{.extensions = extensions};
        EXPECT_EQ(verdict(authority_.token(info), list), code) << (list ? list : "(null)");
    }
}

TEST_F(Verification, RefusesAChangedTokenAndOtherContent) {
    const auto der = authority_.token();
    for (const auto place : {der.find("20240601120000"), der.size() - 1}) { // in the signature
        auto changed = der;
        changed[place] ^= 1;
        EXPECT_EQ(verdict(changed), 0x80090006u) << place;
    }
    EXPECT_EQ(verdict(der), 0u);
    const auto data = authority_.signed_with({.contentType = "1.2.840.113549.1.7.1"});
    EXPECT_EQ(verdict(data), 0x80004005u);
    const auto named =
        attribute("1.2.840.113549.1.9.16.2.47",
                  sequence(sequence(sequence(element(0x04, sha256(authority_.signer_der()))))));
    const Parts untyped{.certificates = authority_.signer_der(), .signed_attributes = named};
    EXPECT_EQ(verdict(untyped.token()), 0x80004005u) << "the attributes tell no content type";
}

TEST_F(Verification, WantsOneSignerWhoNamesACertificate) {
    EXPECT_EQ(verdict(authority_.signed_with({.flags = 0})), 0x80092004u);
    EXPECT_EQ(verdict(authority_.signed_with({.signers = 2})), 0x80090006u);
    const auto no_attributes = authority_.signed_with({.flags = CMS_NOATTR});
    EXPECT_NE(verdict(no_attributes), 0u);
    CStamp stamp;
    EXPECT_CODE(0x80093101u, import(stamp, authority_.signed_with({.flags = CMS_USE_KEYID})));
    EXPECT_LT(CStamp().Verify(nullptr, nullptr), 0);
}

TEST_F(Verification, FindsTheSignerByEitherKey) {
    CStamp unnamed; // no signing-certificate attribute: by issuer and serial number
    import(unnamed, authority_.signed_with({.flags = 0}));
    const auto* const found = unnamed.get_TSACertificate(nullptr, 0);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(
        std::string(reinterpret_cast<const char*>(found->pbCertEncoded), found->cbCertEncoded),
        authority_.signer_der());
    EXPECT_EQ(unnamed.get_TSACertificate(nullptr, 0), nullptr)
        << "the search goes on behind the one that is held, and uses it up";
    EXPECT_NE(unnamed.get_TSACertificate(nullptr, 0), nullptr);
    EXPECT_EQ(verdict(authority_.signed_with({.digest = EVP_sha1()})), 0u)
        << "SigningCertificate of the first version";
}

TEST_F(Verification, SearchesTheCallersStoresAndTheAddressBook) {
    const auto der = authority_.signed_with({.flags = CMS_CADES, .with_certificates = false});
    const _CERT_CONTEXT* found = nullptr;
    CStamp stamp;
    import(stamp, der);
    EXPECT_EQ(stamp.get_TSACertificate(nullptr, 0), nullptr);
    EXPECT_CODE(0x80092004u, stamp.VerifyCertificate(nullptr, nullptr, 0));
    {
        const auto wrong = store_with(authority_.root_der());
        const auto right = store_with(authority_.signer_der());
        void* stores[] = {nullptr, wrong.get(), right.get()};
        found = stamp.get_TSACertificate(stores, 3);
        ASSERT_NE(found, nullptr);
        EXPECT_EQ(stamp.VerifyCertificate(nullptr, stores, 3), 0);
    }
    EXPECT_EQ(found->cbCertEncoded, authority_.signer_der().size()) << "free of its store";

    CStamp other;
    import(other, der);
    ATL2::CCertStore address_book;
    address_book.Open(CERT_STORE_PROV_SYSTEM_W, 0, 0, CERT_SYSTEM_STORE_CURRENT_USER,
                      L"AddressBook");
    PCCERT_CONTEXT stored = nullptr;
    ASSERT_TRUE(CertAddCertificateContextToStore(address_book.get(),
                                                 certificate_of(authority_.signer_der()).get(),
                                                 CERT_STORE_ADD_ALWAYS, &stored));
    EXPECT_EQ(other.Verify(nullptr, nullptr), 0);
    CertDeleteCertificateFromStore(stored);
}

TEST_F(Verification, HintIsTriedButNotTrusted) {
    const auto without = authority_.signed_with({.flags = CMS_CADES, .with_certificates = false});
    const auto signer = certificate_of(authority_.signer_der());
    const auto stranger = certificate_of(authority_.root_der());
    EXPECT_EQ(verdict(without, nullptr, stranger.get()), 0x80092004u);
    EXPECT_EQ(verdict(authority_.token(), nullptr, stranger.get()), 0u);
    CStamp stamp;
    import(stamp, without);
    EXPECT_EQ(stamp.Verify(signer.get(), nullptr), 0);
    const auto again = certificate_of(authority_.signer_der());
    EXPECT_EQ(stamp.Verify(again.get(), nullptr), 0);
    EXPECT_EQ(stamp.VerifyCertificate(nullptr, nullptr, 0), 0) << "the hint was kept";
}

TEST_F(Verification, JudgesTheChainAtTheStampsTime) {
    const Authority expired("20200101000000Z", "20231231000000Z");
    EXPECT_EQ(chain_verdict(expired, {.genTime = "20220601000000Z"}), 0u);
    EXPECT_EQ(chain_verdict(expired, {}), 0x800B0101u);
    const Authority future("20250101000000Z", "20491231000000Z");
    EXPECT_EQ(chain_verdict(future, {}), 0x800B0101u);
    EXPECT_EQ(chain_verdict(authority_, {}), 0u);
}

TEST_F(Verification, JudgesAGivenCertificateWhateverTheAttributesSay) {
    CStamp stamp;
    import(stamp, authority_.token());
    const auto root = certificate_of(authority_.root_der());
    const auto signer = certificate_of(authority_.signer_der());
    EXPECT_NE(stamp.VerifyCertificate(root.get(), nullptr, 0), 0) << "no usage for time stamping";
    EXPECT_EQ(stamp.VerifyCertificate(signer.get(), nullptr, 0), 0);
    const CStamp empty;
    EXPECT_CODE(0x8007139Fu, empty.VerifyCertificate(nullptr, nullptr, 0));
    EXPECT_CODE(0x8007139Fu, empty.VerifyCertificate(signer.get(), nullptr, 0));
    void* stores[] = {reinterpret_cast<void*>(0x10)};
    EXPECT_CODE(0x80070006u, stamp.VerifyCertificate(signer.get(), stores, 1));
}

TEST_F(Verification, CertificatesOfTheTokenAreNotTrusted) {
    const Authority rogue;
    const auto token = rogue.token();
    CStamp stamp;
    import(stamp, token);
    EXPECT_EQ(stamp.Verify(nullptr, nullptr), 0);
    const auto rogue_root = store_with(rogue.root_der());
    void* stores[] = {rogue_root.get()};
    EXPECT_NE(stamp.VerifyCertificate(nullptr, stores, 1), 0);
}

} // namespace
} // namespace Halcyon::PKI::TSP::Client
