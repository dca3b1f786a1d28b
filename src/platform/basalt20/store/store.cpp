// Opening stores, collections, and what can be put in and taken out.
#include <basalt/store.h>

#include <basalt/coding/der_writer.h>
#include <basalt/coding/flat_block.h>
#include <basalt/message.h>
#include <basalt/store/certificate_reference.h>
#include <basalt/store/collection_store.h>
#include <basalt/store/object_file.h>
#include <basalt/store/record.h>
#include <basalt/store/system_store.h>
#include <basalt/text_conversion.h>

#include <cerrno>

namespace {

using namespace basalt;

std::string narrow(const void* wide_text) {
    require(wide_text != nullptr);
    const auto* text = static_cast<const wchar_t*>(wide_text);
    const int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    require(size > 0);
    std::string out(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, out.data(), size, nullptr, nullptr);
    out.pop_back();
    return out;
}

std::string text_parameter(const void* text) {
    require(text != nullptr);
    return static_cast<const char*>(text);
}

std::shared_ptr<StoreObject> open_file(const std::string& path) {
    require(!path.empty());
    const auto contents = read_file(path);
    require(contents.has_value(), error_of_errno(errno));
    auto store = std::make_shared<MemoryStore>(true);
    load_objects(*store, bytes_of(*contents));
    return store;
}

std::shared_ptr<StoreObject> open_signed_data(Bytes encoded) {
    auto store = std::make_shared<MemoryStore>();
    load_signed_data(*store, encoded);
    return store;
}

std::shared_ptr<StoreObject> open_message(const void* message) {
    require(message != nullptr);
    const HCRYPTMSG handle = const_cast<void*>(message);
    DWORD size = 0;
    require(CryptMsgGetParam(handle, CMSG_ENCODED_MESSAGE, 0, nullptr, &size), GetLastError());
    std::vector<BYTE> encoded(size);
    require(CryptMsgGetParam(handle, CMSG_ENCODED_MESSAGE, 0, encoded.data(), &size),
            GetLastError());
    return open_signed_data(encoded);
}

// The names of the providers (store.h) are numbers in the place of texts.
enum Provider : std::uintptr_t {
    kMessage = 1,
    kMemory = 2,
    kSignedData = 5,
    kFileA = 7,
    kFileW = 8,
    kSystemA = 9,
    kSystemW = 10,
    kCollection = 11,
};

std::shared_ptr<StoreObject> open(std::uintptr_t provider, DWORD flags, const void* para) {
    switch (provider) {
    case kMessage:
        return open_message(para);
    case kMemory:
        return std::make_shared<MemoryStore>();
    case kSignedData:
        require(para != nullptr);
        return open_signed_data(bytes_of(*static_cast<const CRYPT_DATA_BLOB*>(para)));
    case kFileA:
        return open_file(text_parameter(para));
    case kFileW:
        return open_file(narrow(para));
    case kSystemA:
        return open_system_store(text_parameter(para), flags);
    case kSystemW:
        return open_system_store(narrow(para), flags);
    case kCollection:
        return std::make_shared<CollectionStore>();
    default:
        fail(ERROR_FILE_NOT_FOUND);
    }
}

CollectionStore& collection_of(const std::shared_ptr<StoreObject>& store) {
    auto* collection = dynamic_cast<CollectionStore*>(store.get());
    require(collection != nullptr && !collection->sealed());
    return *collection;
}

std::shared_ptr<MemoryStore> writable_store(StoreObject& store) {
    auto target = store.writable();
    require(target != nullptr, E_ACCESSDENIED);
    return target;
}

template <class RecordType, class Context>
BOOL add_to_store(HCERTSTORE handle, const Context* context, DWORD disposition,
                  const Context** store_context) {
    return guarded<BOOL>(FALSE, [&] {
        require(context != nullptr);
        const auto store = store_of(handle);
        auto item = writable_store(*store)->add(RecordType::of(context).item(), disposition);
        if (store_context != nullptr) {
            *store_context = RecordType::make(std::move(item), {store, nullptr, 0});
        }
        return TRUE;
    });
}

// The same for a context that has just been made, or couldn't be: its last error stays.
template <class RecordType, class Context>
BOOL add_made_to_store(HCERTSTORE handle, const Context* context, DWORD disposition,
                       const Context** store_context) {
    return context == nullptr
               ? FALSE
               : add_to_store<RecordType>(handle, context, disposition, store_context);
}

template <class RecordType, class Context>
BOOL delete_from_store(const Context* context) {
    return guarded<BOOL>(FALSE, [&] {
        require(context != nullptr);
        auto& record = RecordType::of(context);
        const auto item = record.shared_item();
        const auto owner = item->owner.lock();
        record.release();
        require(owner != nullptr);
        owner->remove(*item);
        return TRUE;
    });
}

} // namespace

HCERTSTORE CertOpenStore(LPCSTR lpszStoreProvider, DWORD, HCRYPTPROV, DWORD dwFlags,
                         const void* pvPara) {
    return guarded<HCERTSTORE>(nullptr, [&] {
        return register_store(
            open(reinterpret_cast<std::uintptr_t>(lpszStoreProvider), dwFlags, pvPara));
    });
}

HCERTSTORE CertOpenSystemStoreA(HCRYPTPROV hProv, LPCSTR szSubsystemProtocol) {
    return CertOpenStore(CERT_STORE_PROV_SYSTEM_A, 0, hProv, CERT_SYSTEM_STORE_CURRENT_USER,
                         szSubsystemProtocol);
}

HCERTSTORE CertOpenSystemStoreW(HCRYPTPROV hProv, LPCWSTR szSubsystemProtocol) {
    return CertOpenStore(CERT_STORE_PROV_SYSTEM_W, 0, hProv, CERT_SYSTEM_STORE_CURRENT_USER,
                         szSubsystemProtocol);
}

BOOL CertAddStoreToCollection(HCERTSTORE hCollectionStore, HCERTSTORE hSiblingStore,
                              DWORD dwUpdateFlags, DWORD dwPriority) {
    return guarded<BOOL>(FALSE, [&] {
        const auto store = store_of(hCollectionStore);
        const bool takes_objects = (dwUpdateFlags & CERT_PHYSICAL_STORE_ADD_ENABLE_FLAG) != 0;
        collection_of(store).add_child(hSiblingStore, takes_objects, dwPriority);
        return TRUE;
    });
}

void CertRemoveStoreFromCollection(HCERTSTORE hCollectionStore, HCERTSTORE hSiblingStore) {
    guarded<BOOL>(FALSE, [&] {
        const auto store = store_of(hCollectionStore);
        collection_of(store).remove_child(*store_of(hSiblingStore));
        return TRUE;
    });
}

BOOL CertAddCertificateContextToStore(HCERTSTORE hCertStore, PCCERT_CONTEXT pCertContext,
                                      DWORD dwAddDisposition, PCCERT_CONTEXT* ppStoreContext) {
    return add_to_store<CertificateRecord>(hCertStore, pCertContext, dwAddDisposition,
                                           ppStoreContext);
}

BOOL CertAddEncodedCertificateToStore(HCERTSTORE hCertStore, DWORD dwCertEncodingType,
                                      const BYTE* pbCertEncoded, DWORD cbCertEncoded,
                                      DWORD dwAddDisposition, PCCERT_CONTEXT* ppCertContext) {
    const CertificateReference context(
        CertCreateCertificateContext(dwCertEncodingType, pbCertEncoded, cbCertEncoded));
    return add_made_to_store<CertificateRecord>(hCertStore, context.get(), dwAddDisposition,
                                                ppCertContext);
}

BOOL CertDeleteCertificateFromStore(PCCERT_CONTEXT pCertContext) {
    return delete_from_store<CertificateRecord>(pCertContext);
}

BOOL CertAddCRLContextToStore(HCERTSTORE hCertStore, PCCRL_CONTEXT pCrlContext,
                              DWORD dwAddDisposition, PCCRL_CONTEXT* ppStoreContext) {
    return add_to_store<CrlRecord>(hCertStore, pCrlContext, dwAddDisposition, ppStoreContext);
}

BOOL CertAddEncodedCRLToStore(HCERTSTORE hCertStore, DWORD dwCertEncodingType,
                              const BYTE* pbCrlEncoded, DWORD cbCrlEncoded, DWORD dwAddDisposition,
                              PCCRL_CONTEXT* ppCrlContext) {
    const CrlReference context(
        CertCreateCRLContext(dwCertEncodingType, pbCrlEncoded, cbCrlEncoded));
    return add_made_to_store<CrlRecord>(hCertStore, context.get(), dwAddDisposition, ppCrlContext);
}

BOOL CertDeleteCRLFromStore(PCCRL_CONTEXT pCrlContext) {
    return delete_from_store<CrlRecord>(pCrlContext);
}

BOOL BasaltAddOcspResponseToStore(HCERTSTORE hCertStore, const BYTE* pbEncoded, DWORD cbEncoded) {
    return guarded<BOOL>(FALSE, [&] {
        require(pbEncoded != nullptr);
        const auto store = store_of(hCertStore);
        require(is_ocsp_response({pbEncoded, cbEncoded}), CRYPT_E_ASN1_CORRUPT);
        writable_store(*store)->add_ocsp({pbEncoded, cbEncoded});
        return TRUE;
    });
}
