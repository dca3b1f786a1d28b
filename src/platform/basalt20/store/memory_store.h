// A store in memory: the base of every store that objects can be put into. What is added, replaced,
// removed or changed is told to a derived store, which may keep it elsewhere as well.
#pragma once

#include <basalt/store/store_object.h>

#include <mutex>
#include <shared_mutex>

namespace basalt {

/// A list that is copied only when someone still looks at it. The owner's lock guards it.
template <class Item>
class SharedList {
public:
    Snapshot<Item> snapshot() const { return list_; }
    void add(std::shared_ptr<Item> item) { changeable().push_back(std::move(item)); }
    bool replace(const Item* old, std::shared_ptr<Item> item);
    bool remove(const Item* item);

private:
    ItemList<Item>& changeable();

    std::shared_ptr<ItemList<Item>> list_ = std::make_shared<ItemList<Item>>();
};

class MemoryStore : public StoreObject {
public:
    /// A read-only store refuses new objects from its users; its own loading goes on.
    explicit MemoryStore(bool read_only = false) : read_only_(read_only) {}

    Snapshot<CertificateItem> certificates() const override;
    Snapshot<CrlItem> crls() const override;
    Snapshot<OcspItem> ocsp_responses() const override;
    std::shared_ptr<MemoryStore> writable() override;

    /// Puts the object in without looking and without telling anyone: for loading.
    void load(std::shared_ptr<const CertificateBody> body, const PropertyMap& properties);
    void load(std::shared_ptr<const CrlBody> body);
    void load_ocsp(Bytes encoded);

    // The CertAdd operations; each gives the object that lies in the store afterwards.
    std::shared_ptr<CertificateItem> add(const CertificateItem& item, DWORD disposition);
    std::shared_ptr<CrlItem> add(const CrlItem& item, DWORD disposition);
    void add_ocsp(Bytes encoded);

    void remove(const CertificateItem& item);
    void remove(const CrlItem& item);

    /// A property of the certificate has changed.
    void properties_changed(const CertificateItem& item);

    bool read_only() const { return read_only_; }

protected:
    // Called before the change shows in memory, so that a fault leaves the store as it was.
    virtual void keep(const CertificateItem&) {}
    virtual void keep(const CrlItem&) {}
    virtual void keep(const OcspItem&) {}
    virtual void drop(const CertificateItem&) {}
    virtual void drop(const CrlItem&) {}

private:
    std::weak_ptr<MemoryStore> self();

    bool read_only_;
    std::mutex adding_; // one add, removal or change of a property at a time
    mutable std::shared_mutex mutex_;
    SharedList<CertificateItem> certificates_;
    SharedList<CrlItem> crls_;
    SharedList<OcspItem> ocsp_responses_;
};

} // namespace basalt
