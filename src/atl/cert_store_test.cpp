#include <chronoseal/atl/cert_store.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <optional>
#include <vector>

#include <gtest/gtest.h>

#include <basalt/error_codes.h>
#include <basalt/last_error.h>
#include <chronoseal/atl/cert_context.h>
#include <chronoseal/atl/platform_answer.h>
#include <chronoseal/base/atl_exception.h>
#include <chronoseal/base/blob.h>

namespace ATL2 {
namespace {

constexpr HRESULT kFailed = Halcyon::hr(0x80004005u);

// A self-signed certificate, DER: see testdata/make.sh.
Halcyon::CBlob certificate_bytes() {
    Halcyon::CBlob bytes;
    bytes.readFromFile(CHRONOSEAL_TESTDATA "/plain.cer");
    return bytes;
}

CCertContext certificate() {
    const auto bytes = certificate_bytes();
    return CCertContext(CertCreateCertificateContext(kAnyEncoding, bytes.pbData(),
                                                     static_cast<DWORD>(bytes.cbData())));
}

CCertStore memory_store() {
    CCertStore store;
    store.Open(CERT_STORE_PROV_MEMORY, 0, 0, 0, nullptr);
    return store;
}

int count_in(HCERTSTORE store) {
    int count = 0;
    CCertContext current;
    for (;; ++count) {
        current.attach(CertEnumCertificatesInStore(store, current.detach()));
        if (!current) {
            return count;
        }
    }
}

void add(const CCertStore& store) {
    ASSERT_TRUE(CertAddCertificateContextToStore(store.get(), certificate().get(),
                                                 CERT_STORE_ADD_ALWAYS, nullptr));
}

bool is_open(HCERTSTORE store) {
    const HCERTSTORE duplicate = CertDuplicateStore(store);
    if (duplicate) {
        CertCloseStore(duplicate, 0);
    }
    return duplicate != nullptr;
}

TEST(CertStore, StaysOpenForItsCopies) {
    std::optional<CCertStore> store(memory_store());
    const auto handle = store->get();
    CCertStore copy(*store);
    CCertStore second(copy);
    store.reset();
    EXPECT_TRUE(is_open(handle));
    second.Destroy();
    EXPECT_TRUE(is_open(handle));
    {
        CCertStore weak; // holds a duplicate
        ASSERT_EQ(weak.AttachWeak(handle), 0);
    }
    EXPECT_TRUE(is_open(handle));
    copy.Destroy();
    EXPECT_EQ(copy.get(), nullptr);
    EXPECT_FALSE(is_open(handle));
}

TEST(CertStore, CopySeesAStoreThatWasOpenedLater) {
    CCertStore store;
    const CCertStore copy(store);
    store.Open(CERT_STORE_PROV_MEMORY, 0, 0, 0, nullptr);
    EXPECT_EQ(copy.get(), store.get());
}

TEST(CertStore, RefusesASecondHandle) {
    auto store = memory_store();
    const auto other = memory_store();
    const auto handle = store.get();
    EXPECT_EQ(store.AttachWeak(other.get()), kFailed);
    EXPECT_EQ(store.get(), handle);
    EXPECT_THROW(store.Open(CERT_STORE_PROV_MEMORY, 0, 0, 0, nullptr), ATL::CAtlException);
    CCertStore empty;
    EXPECT_LT(empty.AttachWeak(reinterpret_cast<void*>(0x10)), 0);
    EXPECT_EQ(empty.AddStoreToCollection(other), kFailed);
}

TEST(CertStore, CollectionKeepsItsChildren) {
    CCertStore collection;
    collection.Open(CERT_STORE_PROV_COLLECTION, 0, 0, 0, nullptr);
    {
        const auto child = memory_store();
        add(child);
        ASSERT_EQ(collection.AddStoreToCollection(child), 0);
    }
    EXPECT_EQ(count_in(collection.get()), 1);
}

TEST(CertContext, DetachingTakesPropertiesAlongButNotHashesAndHandles) {
    const auto store = memory_store();
    const auto plain = certificate();
    std::wstring container(1000, L'c');
    CRYPT_KEY_PROV_INFO key{};
    key.pwszContainerName = container.data();
    ASSERT_TRUE(
        CertSetCertificateContextProperty(plain.get(), CERT_KEY_PROV_INFO_PROP_ID, 0, &key));
    BYTE name[] = {'n', 0, 0, 0, 0, 0, 0, 0};
    const CRYPT_DATA_BLOB blob{sizeof(name), name};
    ASSERT_TRUE(
        CertSetCertificateContextProperty(plain.get(), CERT_FRIENDLY_NAME_PROP_ID, 0, &blob));
    for (const DWORD id : {CERT_SHA1_HASH_PROP_ID, DWORD{78}, DWORD{100}}) {
        ASSERT_TRUE(CertSetCertificateContextProperty(plain.get(), id, 0, &blob));
    }
    PCCERT_CONTEXT in_store = nullptr;
    ASSERT_TRUE(CertAddCertificateContextToStore(store.get(), plain.get(), CERT_STORE_ADD_ALWAYS,
                                                 &in_store));
    CCertContext context(in_store);
    ASSERT_EQ(context.DetachFromStore(), 0);
    EXPECT_EQ(context->hCertStore, nullptr);
    EXPECT_NE(context.get(), in_store);

    std::vector<DWORD> ids;
    for (DWORD id = 0; (id = CertEnumCertificateContextProperties(context.get(), id)) != 0;) {
        ids.push_back(id);
    }
    EXPECT_EQ(ids, (std::vector<DWORD>{CERT_KEY_PROV_INFO_PROP_ID, CERT_FRIENDLY_NAME_PROP_ID}));
    ATL::CStringA value;
    ASSERT_EQ(context.GetKeyProvInfo(value), 0);
    const auto* info = reinterpret_cast<const CRYPT_KEY_PROV_INFO*>(value.GetString());
    EXPECT_EQ(info->pwszContainerName, container);
    ASSERT_EQ(context.GetProperty(CERT_FRIENDLY_NAME_PROP_ID, value), 0);
    EXPECT_EQ(value.GetLength(), static_cast<int>(sizeof(name)));
}

TEST(CertContext, TellsWhatIsMissing) {
    ATL::CStringA value;
    CCertContext none;
    EXPECT_EQ(none.GetProperty(2, value), kFailed);
    EXPECT_EQ(none.DetachFromStore(), kFailed);
    EXPECT_EQ(certificate().GetProperty(CERT_KEY_PROV_INFO_PROP_ID, value),
              Halcyon::hr(CRYPT_E_NOT_FOUND));
    EXPECT_EQ(certificate().GetKeyProvInfo(value), Halcyon::hr(CRYPT_E_NOT_FOUND));
}

TEST(PlatformAnswer, RefusesASizeBeyondTheBuffer) {
    ATL::CStringA value;
    auto grows = [](char* buffer, DWORD* size) {
        *size = buffer ? 100000 : 10;
        return TRUE;
    };
    EXPECT_THROW(fetch_answer(value, grows), ATL::CAtlException);
    auto huge = [](char*, DWORD* size) {
        *size = 0x80000000u;
        return TRUE;
    };
    EXPECT_THROW(fetch_answer(value, huge), ATL::CAtlException);
    auto nothing = [](char*, DWORD* size) {
        *size = 0;
        return TRUE;
    };
    EXPECT_EQ(fetch_answer(value, nothing), 0);
    EXPECT_TRUE(value.IsEmpty());
}

TEST(PlatformAnswer, FailureWithoutALastErrorNeverReadsAsSuccess) {
    SetLastError(0);
    EXPECT_EQ(result_from_last_error_or_fail(), kFailed);
    SetLastError(8);
    EXPECT_EQ(result_from_last_error_or_fail(), Halcyon::hr(0x80070008u));
    SetLastError(CRYPT_E_NOT_FOUND);
    EXPECT_EQ(result_from_last_error_or_fail(), Halcyon::hr(CRYPT_E_NOT_FOUND));
}

} // namespace
} // namespace ATL2
