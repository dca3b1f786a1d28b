// Collections of stores.
#include <basalt/store/collection_store.h>

#include <basalt/store/memory_store.h>

#include <mutex>

namespace basalt {
namespace {

constexpr unsigned kMaxDepth = 16;

// Two collections being put into each other by two threads must not both pass the test for cycles.
std::mutex& nesting_mutex() {
    static auto* mutex = new std::mutex;
    return *mutex;
}

} // namespace

std::vector<CollectionStore::Child> CollectionStore::children() const {
    const std::shared_lock lock(mutex_);
    return children_;
}

bool CollectionStore::holds(const StoreObject& store, unsigned depth) const {
    require(depth < kMaxDepth);
    for (const Child& child : children()) {
        if (child.store.get() == &store) {
            return true;
        }
        const auto* nested = dynamic_cast<const CollectionStore*>(child.store.get());
        if (nested != nullptr && nested->holds(store, depth + 1)) {
            return true;
        }
    }
    return false;
}

template <class Item>
Snapshot<Item> CollectionStore::merged() const {
    const std::vector<Child> parts = children();
    if (parts.size() == 1) {
        return snapshot_of<Item>(*parts.front().store);
    }
    auto all = std::make_shared<ItemList<Item>>();
    for (const Child& part : parts) {
        const Snapshot<Item> list = snapshot_of<Item>(*part.store);
        all->insert(all->end(), list->begin(), list->end());
    }
    return all;
}

Snapshot<CertificateItem> CollectionStore::certificates() const {
    return merged<CertificateItem>();
}

Snapshot<CrlItem> CollectionStore::crls() const {
    return merged<CrlItem>();
}

Snapshot<OcspItem> CollectionStore::ocsp_responses() const {
    return merged<OcspItem>();
}

std::shared_ptr<MemoryStore> CollectionStore::writable() {
    for (const Child& child : children()) {
        if (child.takes_objects) {
            if (auto store = child.store->writable()) {
                return store;
            }
        }
    }
    return nullptr;
}

void CollectionStore::add_child(HCERTSTORE handle, bool takes_objects, DWORD priority) {
    const std::lock_guard nesting(nesting_mutex());
    Child child{store_of(handle), handle, takes_objects, priority};
    require(child.store.get() != this);
    if (const auto* nested = dynamic_cast<const CollectionStore*>(child.store.get())) {
        require(!nested->holds(*this, 1));
    }
    const std::unique_lock lock(mutex_);
    children_.reserve(children_.size() + 1);
    const auto behind = std::find_if(children_.begin(), children_.end(),
                                     [&](const Child& other) { return other.priority < priority; });
    require(CertDuplicateStore(handle) != nullptr, ERROR_INVALID_HANDLE);
    children_.insert(behind, std::move(child));
}

void CollectionStore::remove_child(const StoreObject& child) {
    HCERTSTORE handle = nullptr;
    {
        const std::unique_lock lock(mutex_);
        const auto found =
            std::find_if(children_.begin(), children_.end(),
                         [&](const Child& other) { return other.store.get() == &child; });
        if (found == children_.end()) {
            return;
        }
        handle = found->handle;
        children_.erase(found);
    }
    CertCloseStore(handle, 0);
}

CollectionStore::~CollectionStore() {
    for (const Child& child : children_) {
        CertCloseStore(child.handle, 0);
    }
}

} // namespace basalt
