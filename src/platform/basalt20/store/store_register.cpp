// Open store handles. A handle is looked up, never followed, so that a stale or made-up one does no
// harm.
#include <basalt/store/store_object.h>

#include <mutex>
#include <shared_mutex>
#include <unordered_map>

namespace basalt {
namespace {

struct OpenStore {
    std::shared_ptr<StoreObject> store;
    long references = 1;
};

struct Register {
    std::shared_mutex mutex;
    std::unordered_map<HCERTSTORE, OpenStore> stores;
};

// Never destroyed: stores may be closed by destructors that run at the very end.
Register& open_stores() {
    static auto* stores = new Register;
    return *stores;
}

} // namespace

HCERTSTORE register_store(std::shared_ptr<StoreObject> store) {
    const HCERTSTORE handle = store->handle();
    const std::unique_lock lock(open_stores().mutex);
    // A store that several owners share, such as the system's roots, keeps one handle.
    const auto [entry, added] =
        open_stores().stores.try_emplace(handle, OpenStore{std::move(store)});
    if (!added) {
        ++entry->second.references;
    }
    return handle;
}

std::shared_ptr<StoreObject> store_of(HCERTSTORE handle) {
    const std::shared_lock lock(open_stores().mutex);
    const auto found = open_stores().stores.find(handle);
    require(found != open_stores().stores.end(), ERROR_INVALID_HANDLE);
    return found->second.store;
}

} // namespace basalt

using namespace basalt;

HCERTSTORE CertDuplicateStore(HCERTSTORE hCertStore) {
    return guarded<HCERTSTORE>(nullptr, [&] {
        const std::unique_lock lock(open_stores().mutex);
        const auto found = open_stores().stores.find(hCertStore);
        require(found != open_stores().stores.end(), ERROR_INVALID_HANDLE);
        ++found->second.references;
        return hCertStore;
    });
}

BOOL CertCloseStore(HCERTSTORE hCertStore, DWORD dwFlags) {
    return guarded<BOOL>(FALSE, [&] {
        if (hCertStore == nullptr) {
            return TRUE;
        }
        // Destroyed behind the lock: a collection closes its children.
        std::shared_ptr<StoreObject> closed;
        {
            const std::unique_lock lock(open_stores().mutex);
            const auto found = open_stores().stores.find(hCertStore);
            require(found != open_stores().stores.end(), ERROR_INVALID_HANDLE);
            const bool force = (dwFlags & CERT_CLOSE_STORE_FORCE_FLAG) != 0;
            if (--found->second.references > 0 && !force) {
                require((dwFlags & CERT_CLOSE_STORE_CHECK_FLAG) == 0, CRYPT_E_PENDING_CLOSE);
                return TRUE;
            }
            closed = std::move(found->second.store);
            open_stores().stores.erase(found);
        }
        require((dwFlags & CERT_CLOSE_STORE_CHECK_FLAG) == 0 || closed->contexts == 0,
                CRYPT_E_PENDING_CLOSE);
        return TRUE;
    });
}
