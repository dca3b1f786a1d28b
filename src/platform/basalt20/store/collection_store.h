// A store made of other stores, in order of priority. It shows what they hold and owns nothing
// itself.
#pragma once

#include <basalt/store/store_object.h>

#include <shared_mutex>

namespace basalt {

class CollectionStore final : public StoreObject {
public:
    /// A sealed collection is made up by the library: its users can't put stores into it.
    explicit CollectionStore(bool sealed = false) : sealed_(sealed) {}

    bool sealed() const { return sealed_; }

    Snapshot<CertificateItem> certificates() const override;
    Snapshot<CrlItem> crls() const override;
    Snapshot<OcspItem> ocsp_responses() const override;
    std::shared_ptr<MemoryStore> writable() override;

    /// Keeps a reference on `handle`. E_INVALIDARG when `child` is or holds this collection, or
    /// when collections would be nested deeper than 16.
    void add_child(HCERTSTORE handle, bool takes_objects, DWORD priority);
    void remove_child(const StoreObject& child);

    ~CollectionStore() override;

private:
    struct Child {
        std::shared_ptr<StoreObject> store;
        HCERTSTORE handle = nullptr;
        bool takes_objects = false;
        DWORD priority = 0;
    };

    std::vector<Child> children() const;
    bool holds(const StoreObject& store, unsigned depth) const;

    template <class Item>
    Snapshot<Item> merged() const;

    const bool sealed_;
    mutable std::shared_mutex mutex_;
    std::vector<Child> children_;
};

} // namespace basalt
