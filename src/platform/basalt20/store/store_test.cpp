// Stores in memory, collections and files.
#include <basalt/store.h>

#include <basalt/error_codes.h>
#include <basalt/last_error.h>
#include <basalt/message.h>
#include <basalt/store/test_file.h>
#include <basalt/sup/test_error.h>

#include <thread>

namespace {

Store memory_store() {
    return Store(CertOpenStore(CERT_STORE_PROV_MEMORY, 0, 0, 0, nullptr));
}

Store collection() {
    return Store(CertOpenStore(CERT_STORE_PROV_COLLECTION, 0, 0, 0, nullptr));
}

void add(HCERTSTORE store, const std::string& name, DWORD disposition = CERT_STORE_ADD_ALWAYS) {
    EXPECT_TRUE(CertAddCertificateContextToStore(store, test_certificate(name).get(), disposition,
                                                 nullptr));
}

// The names of the test files that a walk meets, in order.
std::vector<std::string> walk(HCERTSTORE store) {
    std::vector<std::string> names;
    PCCERT_CONTEXT context = nullptr;
    while ((context = CertEnumCertificatesInStore(store, context)) != nullptr) {
        const std::vector<BYTE> bytes(context->pbCertEncoded,
                                      context->pbCertEncoded + context->cbCertEncoded);
        for (const char* name : {"root.cer", "rsa.cer", "ec.cer", "dsa.cer"}) {
            if (test_file(name) == bytes) {
                names.emplace_back(name);
            }
        }
    }
    EXPECT_EQ(GetLastError(), CRYPT_E_NOT_FOUND);
    return names;
}

using Names = std::vector<std::string>;

TEST(Store, WalksInTheOrderOfAddingWithDuplicates) {
    const Store store = memory_store();
    EXPECT_EQ(walk(store), Names{});
    for (const char* name : {"rsa.cer", "ec.cer", "rsa.cer"}) {
        add(store, name);
    }
    EXPECT_EQ(walk(store), (Names{"rsa.cer", "ec.cer", "rsa.cer"}));
}

TEST(Store, DispositionsDecideAgainstTheSameIssuerAndSerialNumber) {
    const Store store = memory_store();
    const auto rsa = test_certificate("rsa.cer");
    add(store, "rsa.cer", CERT_STORE_ADD_NEW);
    for (const DWORD disposition : {CERT_STORE_ADD_NEW, CERT_STORE_ADD_NEWER}) {
        EXPECT_ERROR(CRYPT_E_EXISTS,
                     CertAddCertificateContextToStore(store, rsa.get(), disposition, nullptr));
    }
    BYTE value[] = {1};
    const CRYPT_DATA_BLOB blob{1, value};
    ASSERT_TRUE(CertSetCertificateContextProperty(rsa.get(), 11, 0, &blob));
    PCCERT_CONTEXT kept = nullptr;
    ASSERT_TRUE(
        CertAddCertificateContextToStore(store, rsa.get(), CERT_STORE_ADD_USE_EXISTING, &kept));
    EXPECT_EQ(CertEnumCertificateContextProperties(kept, 0), 11U);
    CertFreeCertificateContext(kept);
    const auto plain = test_certificate("rsa.cer");
    PCCERT_CONTEXT heir = nullptr;
    ASSERT_TRUE(CertAddCertificateContextToStore(
        store, plain.get(), CERT_STORE_ADD_REPLACE_EXISTING_INHERIT_PROPERTIES, &heir));
    EXPECT_EQ(CertEnumCertificateContextProperties(heir, 0), 11U);
    CertFreeCertificateContext(heir);
    ASSERT_TRUE(CertAddCertificateContextToStore(store, plain.get(),
                                                 CERT_STORE_ADD_REPLACE_EXISTING, &heir));
    EXPECT_EQ(CertEnumCertificateContextProperties(heir, 0), 0U);
    CertFreeCertificateContext(heir);
    EXPECT_EQ(walk(store), Names{"rsa.cer"});
    EXPECT_ERROR(E_INVALIDARG, CertAddCertificateContextToStore(store, rsa.get(), 9, nullptr));
}

TEST(Store, PropertiesSetOnAWalkedContextStayInTheStore) {
    const Store store = memory_store();
    add(store, "ec.cer");
    BYTE value[] = {7};
    const CRYPT_DATA_BLOB blob{1, value};
    PCCERT_CONTEXT context = CertEnumCertificatesInStore(store, nullptr);
    ASSERT_TRUE(CertSetCertificateContextProperty(context, 50, 0, &blob));
    CertFreeCertificateContext(context);
    context = CertEnumCertificatesInStore(store, nullptr);
    EXPECT_EQ(CertEnumCertificateContextProperties(context, 0), 50U);
    CertFreeCertificateContext(context);
}

TEST(Store, FindsByEveryKey) {
    const Store store = memory_store();
    for (const char* name : {"root.cer", "rsa.cer", "ec.cer"}) {
        add(store, name);
    }
    const auto wanted = test_certificate("rsa.cer");
    CERT_INFO& info = *wanted->pCertInfo;
    CERT_ID by_name{};
    by_name.dwIdChoice = CERT_ID_ISSUER_SERIAL_NUMBER;
    by_name.IssuerSerialNumber = {info.Issuer, info.SerialNumber};
    BYTE hash_bytes[20];
    BYTE key_bytes[20];
    DWORD size = sizeof(hash_bytes);
    ASSERT_TRUE(
        CertGetCertificateContextProperty(wanted.get(), CERT_HASH_PROP_ID, hash_bytes, &size));
    ASSERT_TRUE(CertGetCertificateContextProperty(wanted.get(), CERT_KEY_IDENTIFIER_PROP_ID,
                                                  key_bytes, &size));
    CRYPT_HASH_BLOB hash{20, hash_bytes};
    CERT_ID by_key{};
    by_key.dwIdChoice = CERT_ID_KEY_IDENTIFIER;
    by_key.KeyId = {20, key_bytes};
    const struct {
        DWORD type;
        const void* para;
    } cases[] = {{CERT_FIND_CERT_ID, &by_name},
                 {CERT_FIND_CERT_ID, &by_key},
                 {CERT_FIND_HASH, &hash},
                 {CERT_FIND_KEY_IDENTIFIER, &by_key.KeyId},
                 {CERT_FIND_SUBJECT_NAME, &info.Subject},
                 {CERT_FIND_SUBJECT_CERT, &info},
                 {CERT_FIND_PUBLIC_KEY, &info.SubjectPublicKeyInfo},
                 {CERT_FIND_EXISTING, wanted.get()}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.type);
        PCCERT_CONTEXT found =
            CertFindCertificateInStore(store, 0x10001, 0, c.type, c.para, nullptr);
        ASSERT_NE(found, nullptr);
        EXPECT_TRUE(CertCompareCertificate(0x10001, found->pCertInfo, &info));
        EXPECT_ERROR(CRYPT_E_NOT_FOUND,
                     CertFindCertificateInStore(store, 0x10001, 0, c.type, c.para, found));
    }
    EXPECT_ERROR(E_INVALIDARG,
                 CertFindCertificateInStore(store, 0x10001, 0, 0x990000, &info, nullptr));
}

// A caller may hand over a free-standing copy of what it found before: the search goes on behind
// it.
TEST(Store, AForeignPreviousContextContinuesBehindItsCopy) {
    const Store store = memory_store();
    add(store, "rsa.cer");
    add(store, "ec.cer");
    auto next = CertEnumCertificatesInStore(store, test_certificate("rsa.cer").release());
    ASSERT_NE(next, nullptr);
    EXPECT_TRUE(CertCompareCertificate(1, next->pCertInfo, test_certificate("ec.cer")->pCertInfo));
    CertFreeCertificateContext(next);
    EXPECT_ERROR(CRYPT_E_NOT_FOUND,
                 CertEnumCertificatesInStore(store, test_certificate("ec.cer").release()));
    EXPECT_ERROR(E_INVALIDARG,
                 CertEnumCertificatesInStore(store, test_certificate("dsa.cer").release()));
}

TEST(Store, DeletingInTheMiddleOfAWalkDoesNotDisturbIt) {
    const Store store = memory_store();
    for (const char* name : {"rsa.cer", "ec.cer", "dsa.cer"}) {
        add(store, name);
    }
    PCCERT_CONTEXT first = CertEnumCertificatesInStore(store, nullptr);
    ASSERT_TRUE(CertDeleteCertificateFromStore(CertDuplicateCertificateContext(first)));
    PCCERT_CONTEXT second = CertEnumCertificatesInStore(store, first);
    ASSERT_NE(second, nullptr);
    CertFreeCertificateContext(second);
    EXPECT_EQ(walk(store), (Names{"ec.cer", "dsa.cer"}));
}

TEST(Store, HandlesAreCountedAndStaleOnesRefused) {
    HCERTSTORE store = CertOpenStore(CERT_STORE_PROV_MEMORY, 0, 0, 0, nullptr);
    add(store, "rsa.cer");
    EXPECT_EQ(CertDuplicateStore(store), store);
    ASSERT_TRUE(CertCloseStore(store, 0));
    PCCERT_CONTEXT context = CertEnumCertificatesInStore(store, nullptr);
    ASSERT_NE(context, nullptr);
    EXPECT_EQ(context->hCertStore, store);
    EXPECT_ERROR(CRYPT_E_PENDING_CLOSE, CertCloseStore(store, CERT_CLOSE_STORE_CHECK_FLAG));
    // Closed all the same; the context lives on.
    EXPECT_ERROR(ERROR_INVALID_HANDLE, CertDuplicateStore(store));
    EXPECT_EQ(test_file("rsa.cer").size(), context->cbCertEncoded);
    CertFreeCertificateContext(context);
    EXPECT_ERROR(ERROR_INVALID_HANDLE,
                 CertEnumCertificatesInStore(reinterpret_cast<HCERTSTORE>(16), nullptr));
    EXPECT_TRUE(CertCloseStore(nullptr, 0));
    EXPECT_ERROR(ERROR_FILE_NOT_FOUND,
                 CertOpenStore(reinterpret_cast<LPCSTR>(4), 0, 0, 0, nullptr));
}

TEST(Collection, ShowsItsStoresByPriorityAndKeepsThemOpen) {
    const Store whole = collection();
    {
        const Store first = memory_store();
        const Store second = memory_store();
        const Store third = memory_store();
        add(first, "rsa.cer");
        add(second, "ec.cer");
        add(third, "dsa.cer");
        ASSERT_TRUE(CertAddStoreToCollection(whole, first, 0, 0));
        ASSERT_TRUE(CertAddStoreToCollection(whole, second, 0, 0));
        ASSERT_TRUE(CertAddStoreToCollection(whole, third, 0, 5));
    }
    EXPECT_EQ(walk(whole), (Names{"dsa.cer", "rsa.cer", "ec.cer"}));
    EXPECT_ERROR(E_ACCESSDENIED,
                 CertAddCertificateContextToStore(whole, test_certificate("root.cer").get(),
                                                  CERT_STORE_ADD_ALWAYS, nullptr));

    const Store taking = memory_store();
    ASSERT_TRUE(CertAddStoreToCollection(whole, taking, CERT_PHYSICAL_STORE_ADD_ENABLE_FLAG, 1));
    add(whole, "root.cer");
    EXPECT_EQ(walk(taking), Names{"root.cer"});
    EXPECT_EQ(walk(whole), (Names{"dsa.cer", "root.cer", "rsa.cer", "ec.cer"}));
    CertRemoveStoreFromCollection(whole, taking);
    EXPECT_EQ(walk(whole), (Names{"dsa.cer", "rsa.cer", "ec.cer"}));
}

TEST(Collection, CannotHoldItself) {
    const Store outer = collection();
    const Store inner = collection();
    ASSERT_TRUE(CertAddStoreToCollection(outer, inner, 0, 0));
    for (const auto& [parent, child] :
         {std::pair<HCERTSTORE, HCERTSTORE>(outer, outer), {inner, outer}}) {
        EXPECT_ERROR(E_INVALIDARG, CertAddStoreToCollection(parent, child, 0, 0));
    }
    EXPECT_ERROR(E_INVALIDARG, CertAddStoreToCollection(memory_store(), inner, 0, 0));
}

TEST(Store, FilesAndMessagesOpenAsStores) {
    const auto path = [](const char* name) {
        return std::string(CHRONOSEAL_TESTDATA) + '/' + name;
    };
    const struct {
        const char* file;
        Names names;
    } cases[] = {{"bundle.pem", {"root.cer", "rsa.cer"}},
                 {"ec.cer", {"ec.cer"}},
                 {"two_signers.p7m", {"rsa.cer", "ec.cer"}},
                 {"root.crl", {}}};
    for (const auto& c : cases) {
        const Store store(CertOpenStore(CERT_STORE_PROV_FILENAME_A, 0, 0, 0, path(c.file).c_str()));
        ASSERT_NE(static_cast<HCERTSTORE>(store), nullptr) << c.file;
        EXPECT_THAT(walk(store), testing::UnorderedElementsAreArray(c.names)) << c.file;
    }
    EXPECT_ERROR(ERROR_FILE_NOT_FOUND,
                 CertOpenStore(CERT_STORE_PROV_FILENAME_A, 0, 0, 0, path("absent").c_str()));
    EXPECT_EQ(CertOpenStore(CERT_STORE_PROV_FILENAME_A, 0, 0, 0, path("content.txt").c_str()),
              nullptr);
    EXPECT_EQ(GetLastError() & 0xFFFFFF00, 0x80093100);

    auto bytes = test_file("rsa.p7m");
    const CRYPT_DATA_BLOB blob{static_cast<DWORD>(bytes.size()), bytes.data()};
    const Store from_blob(CertOpenStore(CERT_STORE_PROV_PKCS7, 0, 0, 0, &blob));
    EXPECT_EQ(walk(from_blob).size(), 2U);
    const HCRYPTMSG message = CryptMsgOpenToDecode(0x10001, 0, 0, 0, nullptr, nullptr);
    ASSERT_TRUE(CryptMsgUpdate(message, bytes.data(), blob.cbData, TRUE));
    const Store from_message(CertOpenStore(CERT_STORE_PROV_MSG, 0, 0, 0, message));
    EXPECT_EQ(walk(from_message).size(), 2U);
    CryptMsgClose(message);
}

TEST(Store, HoldsCrlsAndOcspAnswers) {
    const Store store = memory_store();
    const auto list = test_file("root.crl");
    const auto answer = test_file("rsa.ocsp");
    const auto size = static_cast<DWORD>(list.size());
    ASSERT_TRUE(CertAddEncodedCRLToStore(store, 1, list.data(), size, CERT_STORE_ADD_NEW, nullptr));
    EXPECT_ERROR(CRYPT_E_EXISTS, CertAddEncodedCRLToStore(store, 1, list.data(), size,
                                                          CERT_STORE_ADD_NEWER, nullptr));
    const auto root = test_certificate("root.cer");
    PCCRL_CONTEXT found = CertFindCRLInStore(store, 1, 0, CRL_FIND_ISSUED_BY, root.get(), nullptr);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(CertFindCRLInStore(store, 1, 0, CRL_FIND_ISSUED_BY, root.get(), found), nullptr);
    EXPECT_EQ(CertFindCRLInStore(store, 1, 0, CRL_FIND_ISSUED_BY, test_certificate("ec.cer").get(),
                                 nullptr),
              nullptr);

    for (int i = 0; i < 2; ++i) {
        ASSERT_TRUE(
            BasaltAddOcspResponseToStore(store, answer.data(), static_cast<DWORD>(answer.size())));
    }
    PCBASALT_OCSP_CONTEXT ocsp = BasaltEnumOcspResponsesInStore(store, nullptr);
    ASSERT_NE(ocsp, nullptr);
    EXPECT_EQ(std::vector<BYTE>(ocsp->pbEncoded, ocsp->pbEncoded + ocsp->cbEncoded), answer);
    EXPECT_EQ(BasaltEnumOcspResponsesInStore(store, ocsp), nullptr);
    EXPECT_FALSE(BasaltAddOcspResponseToStore(store, list.data(), size));
}

// Readers walk while writers add, remove and set
// properties.
TEST(Store, SeveralThreadsMayReadAndWriteAtOnce) {
    const Store store = memory_store();
    add(store, "root.cer");
    std::vector<std::thread> threads;
    for (int t = 0; t < 2; ++t) {
        threads.emplace_back([&] {
            const auto certificate = test_certificate("ec.cer");
            for (int i = 0; i < 200; ++i) {
                PCCERT_CONTEXT added = nullptr;
                EXPECT_TRUE(CertAddCertificateContextToStore(store, certificate.get(),
                                                             CERT_STORE_ADD_ALWAYS, &added));
                BYTE value[] = {1};
                const CRYPT_DATA_BLOB blob{1, value};
                EXPECT_TRUE(CertSetCertificateContextProperty(added, 11, 0, &blob));
                EXPECT_TRUE(CertDeleteCertificateFromStore(added));
            }
        });
        threads.emplace_back([&] {
            for (int i = 0; i < 200; ++i) {
                PCCERT_CONTEXT context = nullptr;
                int count = 0;
                while ((context = CertEnumCertificatesInStore(store, context)) != nullptr) {
                    CertEnumCertificateContextProperties(context, 0);
                    ++count;
                }
                EXPECT_GE(count, 1);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(walk(store), Names{"root.cer"});
}

} // namespace
