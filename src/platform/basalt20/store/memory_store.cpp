// Objects put into a store by disposition.
#include <basalt/store/memory_store.h>

namespace basalt {
namespace {

template <class Item>
std::shared_ptr<Item> find_equal(const Snapshot<Item>& list, const Item& wanted) {
    for (const auto& item : *list) {
        if (same_bytes(item->encoded(), wanted.encoded())) {
            return item;
        }
    }
    return nullptr;
}

std::shared_ptr<CertificateItem> find_same_name(const Snapshot<CertificateItem>& list,
                                                const CertificateItem& wanted) {
    for (const auto& item : *list) {
        if (CertCompareCertificate(X509_ASN_ENCODING, &item->body->info(), &wanted.body->info())) {
            return item;
        }
    }
    return nullptr;
}

std::shared_ptr<CrlItem> find_same_name(const Snapshot<CrlItem>& list, const CrlItem& wanted) {
    for (const auto& item : *list) {
        if (CertCompareCertificateName(X509_ASN_ENCODING, &item->body->info().Issuer,
                                       &wanted.body->info().Issuer)) {
            return item;
        }
    }
    return nullptr;
}

ULONGLONG ticks(const FILETIME& time) {
    return (static_cast<ULONGLONG>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
}

bool newer(const CertificateItem& item, const CertificateItem& than) {
    return ticks(item.body->info().NotBefore) > ticks(than.body->info().NotBefore);
}

bool newer(const CrlItem& item, const CrlItem& than) {
    return ticks(item.body->info().ThisUpdate) > ticks(than.body->info().ThisUpdate);
}

enum class Action { kAdd, kUseExisting, kReplace };

template <class Item>
Action action_of(DWORD disposition, const Item& item, const Item* existing) {
    require(disposition >= CERT_STORE_ADD_NEW && disposition <= CERT_STORE_ADD_NEWER);
    if (existing == nullptr || disposition == CERT_STORE_ADD_ALWAYS) {
        return Action::kAdd;
    }
    switch (disposition) {
    case CERT_STORE_ADD_USE_EXISTING:
        return Action::kUseExisting;
    case CERT_STORE_ADD_REPLACE_EXISTING:
    case CERT_STORE_ADD_REPLACE_EXISTING_INHERIT_PROPERTIES:
        return Action::kReplace;
    case CERT_STORE_ADD_NEWER:
        require(newer(item, *existing), CRYPT_E_EXISTS);
        return Action::kReplace;
    default:
        fail(CRYPT_E_EXISTS);
    }
}

} // namespace

template <class Item>
ItemList<Item>& SharedList<Item>::changeable() {
    if (list_.use_count() != 1) {
        list_ = std::make_shared<ItemList<Item>>(*list_);
    }
    // The count is read without order. A share that is taken and given back, though, changes the
    // count behind the release of the last other one, and so orders all that its owner has read
    // before what is written now. (A fence would do the same, but the thread sanitizer knows none.)
    static_cast<void>(std::shared_ptr<ItemList<Item>>(list_));
    return *list_;
}

template <class Item>
bool SharedList<Item>::replace(const Item* old, std::shared_ptr<Item> item) {
    for (auto& present : changeable()) {
        if (present.get() == old) {
            present = std::move(item);
            return true;
        }
    }
    return false;
}

template <class Item>
bool SharedList<Item>::remove(const Item* item) {
    return std::erase_if(changeable(),
                         [&](const auto& present) { return present.get() == item; }) != 0;
}

Snapshot<CertificateItem> MemoryStore::certificates() const {
    const std::shared_lock lock(mutex_);
    return certificates_.snapshot();
}

Snapshot<CrlItem> MemoryStore::crls() const {
    const std::shared_lock lock(mutex_);
    return crls_.snapshot();
}

Snapshot<OcspItem> MemoryStore::ocsp_responses() const {
    const std::shared_lock lock(mutex_);
    return ocsp_responses_.snapshot();
}

std::weak_ptr<MemoryStore> MemoryStore::self() {
    return std::static_pointer_cast<MemoryStore>(shared_from_this());
}

std::shared_ptr<MemoryStore> MemoryStore::writable() {
    return read_only_ ? nullptr : self().lock();
}

void MemoryStore::load(std::shared_ptr<const CertificateBody> body, const PropertyMap& properties) {
    auto item =
        std::make_shared<CertificateItem>(CertificateItem{std::move(body), properties, self()});
    const std::unique_lock lock(mutex_);
    certificates_.add(std::move(item));
}

void MemoryStore::load(std::shared_ptr<const CrlBody> body) {
    auto item = std::make_shared<CrlItem>(CrlItem{std::move(body), self()});
    const std::unique_lock lock(mutex_);
    crls_.add(std::move(item));
}

void MemoryStore::load_ocsp(Bytes encoded) {
    auto item = std::make_shared<OcspItem>(
        OcspItem{std::vector<BYTE>(encoded.begin(), encoded.end()), self()});
    const std::unique_lock lock(mutex_);
    ocsp_responses_.add(std::move(item));
}

std::shared_ptr<CertificateItem> MemoryStore::add(const CertificateItem& item, DWORD disposition) {
    const std::lock_guard adding(adding_);
    auto existing =
        disposition == CERT_STORE_ADD_ALWAYS ? nullptr : find_same_name(certificates(), item);
    const Action action = action_of(disposition, item, existing.get());
    if (action == Action::kUseExisting) {
        existing->properties.merge(item.properties, false);
        keep(*existing);
        return existing;
    }
    auto added =
        std::make_shared<CertificateItem>(CertificateItem{item.body, item.properties, self()});
    if (action == Action::kReplace &&
        disposition == CERT_STORE_ADD_REPLACE_EXISTING_INHERIT_PROPERTIES) {
        added->properties.merge(existing->properties, true);
    }
    keep(*added);
    const std::unique_lock lock(mutex_);
    if (action == Action::kAdd) {
        certificates_.add(added);
        return added;
    }
    if (!same_bytes(existing->encoded(), added->encoded())) {
        drop(*existing);
    }
    certificates_.replace(existing.get(), added);
    return added;
}

std::shared_ptr<CrlItem> MemoryStore::add(const CrlItem& item, DWORD disposition) {
    const std::lock_guard adding(adding_);
    auto existing = disposition == CERT_STORE_ADD_ALWAYS ? nullptr : find_same_name(crls(), item);
    const Action action = action_of(disposition, item, existing.get());
    if (action == Action::kUseExisting) {
        return existing;
    }
    auto added = std::make_shared<CrlItem>(CrlItem{item.body, self()});
    keep(*added);
    const std::unique_lock lock(mutex_);
    if (action == Action::kAdd) {
        crls_.add(added);
        return added;
    }
    if (!same_bytes(existing->encoded(), added->encoded())) {
        drop(*existing);
    }
    crls_.replace(existing.get(), added);
    return added;
}

void MemoryStore::add_ocsp(Bytes encoded) {
    const std::lock_guard adding(adding_);
    auto added = std::make_shared<OcspItem>(
        OcspItem{std::vector<BYTE>(encoded.begin(), encoded.end()), self()});
    if (find_equal(ocsp_responses(), *added)) {
        return;
    }
    keep(*added);
    const std::unique_lock lock(mutex_);
    ocsp_responses_.add(std::move(added));
}

void MemoryStore::remove(const CertificateItem& item) {
    require(!read_only_, E_ACCESSDENIED);
    const std::lock_guard adding(adding_);
    drop(item);
    const std::unique_lock lock(mutex_);
    certificates_.remove(&item);
}

void MemoryStore::remove(const CrlItem& item) {
    require(!read_only_, E_ACCESSDENIED);
    const std::lock_guard adding(adding_);
    drop(item);
    const std::unique_lock lock(mutex_);
    crls_.remove(&item);
}

void MemoryStore::properties_changed(const CertificateItem& item) {
    if (read_only_) {
        return;
    }
    const std::lock_guard adding(adding_);
    keep(item);
}

} // namespace basalt
