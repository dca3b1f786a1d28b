// Stores inside the library: what lies in a store, and what every kind of store can do. Open
// handles lead here through a register, so that a handle that isn't an open store's is never
// touched. All stores may be used by several threads at once.
#pragma once

#include <basalt/certificate/certificate_body.h>
#include <basalt/certificate/crl_body.h>
#include <basalt/certificate/property_map.h>
#include <basalt/store.h>

#include <atomic>
#include <memory>
#include <vector>

namespace basalt {

class MemoryStore;

/// One certificate of a store. `owner` is the store that it lies in, empty for a free-standing one.
struct CertificateItem {
    std::shared_ptr<const CertificateBody> body;
    PropertyMap properties;
    std::weak_ptr<MemoryStore> owner;

    Bytes encoded() const { return body->encoded(); }
};

struct CrlItem {
    std::shared_ptr<const CrlBody> body;
    std::weak_ptr<MemoryStore> owner;

    Bytes encoded() const { return body->encoded(); }
};

struct OcspItem {
    std::vector<BYTE> bytes;
    std::weak_ptr<MemoryStore> owner;

    Bytes encoded() const { return bytes; }
};

template <class Item>
using ItemList = std::vector<std::shared_ptr<Item>>;

/// What a walk sees: never changed once it is handed out.
template <class Item>
using Snapshot = std::shared_ptr<const ItemList<Item>>;

class StoreObject : public std::enable_shared_from_this<StoreObject> {
public:
    StoreObject() = default;
    StoreObject(const StoreObject&) = delete;
    StoreObject& operator=(const StoreObject&) = delete;
    virtual ~StoreObject() = default;

    virtual Snapshot<CertificateItem> certificates() const = 0;
    virtual Snapshot<CrlItem> crls() const = 0;
    virtual Snapshot<OcspItem> ocsp_responses() const = 0;

    /// The store that new objects go into, null when none takes them.
    virtual std::shared_ptr<MemoryStore> writable() = 0;

    HCERTSTORE handle() { return static_cast<HCERTSTORE>(this); }

    /// Contexts that came from this store and are still there.
    std::atomic<long> contexts{0};
};

template <class Item>
Snapshot<Item> snapshot_of(const StoreObject& store) {
    if constexpr (std::is_same_v<Item, CertificateItem>) {
        return store.certificates();
    } else if constexpr (std::is_same_v<Item, CrlItem>) {
        return store.crls();
    } else {
        return store.ocsp_responses();
    }
}

/// Gives the store a handle with one reference.
HCERTSTORE register_store(std::shared_ptr<StoreObject> store);

/// The store of an open handle; fault ERROR_INVALID_HANDLE.
std::shared_ptr<StoreObject> store_of(HCERTSTORE handle);

} // namespace basalt
