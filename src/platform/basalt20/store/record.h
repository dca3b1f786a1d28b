// Contexts as they are handed out: the published record, a reference count, the object that it
// shows, and the place of that object in the walk that found it.
#pragma once

#include <basalt/store/store_object.h>

#include <cstddef>

namespace basalt {

/// `store` is null for a free-standing context, `walk` null for one that no walk has found.
template <class Item>
struct Place {
    std::shared_ptr<StoreObject> store;
    Snapshot<Item> walk;
    std::size_t index = 0;
};

template <class Context, class Item>
class Record final : public Context {
public:
    using ItemType = Item;

    /// The context of `item`, with one reference for the caller.
    static const Context* make(std::shared_ptr<Item> item, Place<Item> place = {}) {
        return new Record(std::move(item), std::move(place));
    }

    static Record& of(const Context* context) {
        return *const_cast<Record*>(static_cast<const Record*>(context));
    }

    void add_reference() { references_.fetch_add(1, std::memory_order_relaxed); }
    void release() {
        if (references_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            delete this;
        }
    }

    Item& item() const { return *item_; }
    const std::shared_ptr<Item>& shared_item() const { return item_; }
    const Place<Item>& place() const { return place_; }
    const auto& body() const { return *item_->body; }

private:
    Record(std::shared_ptr<Item> item, Place<Item> place)
        : Context{}, item_(std::move(item)), place_(std::move(place)) {
        fill(*this, *item_);
        if (place_.store) {
            this->hCertStore = place_.store->handle();
            place_.store->contexts.fetch_add(1, std::memory_order_relaxed);
        }
    }
    ~Record() {
        if (place_.store) {
            place_.store->contexts.fetch_sub(1, std::memory_order_relaxed);
        }
    }

    static void fill(CERT_CONTEXT& context, const CertificateItem& item) {
        context.dwCertEncodingType = X509_ASN_ENCODING;
        context.pbCertEncoded = const_cast<BYTE*>(item.encoded().data());
        context.cbCertEncoded = static_cast<DWORD>(item.encoded().size());
        context.pCertInfo = &item.body->info();
    }
    static void fill(CRL_CONTEXT& context, const CrlItem& item) {
        context.dwCertEncodingType = X509_ASN_ENCODING;
        context.pbCrlEncoded = const_cast<BYTE*>(item.encoded().data());
        context.cbCrlEncoded = static_cast<DWORD>(item.encoded().size());
        context.pCrlInfo = &item.body->info();
    }
    static void fill(BASALT_OCSP_CONTEXT& context, const OcspItem& item) {
        context.pbEncoded = const_cast<BYTE*>(item.encoded().data());
        context.cbEncoded = static_cast<DWORD>(item.encoded().size());
    }

    std::atomic<long> references_{1};
    std::shared_ptr<Item> item_;
    Place<Item> place_;
};

using CertificateRecord = Record<CERT_CONTEXT, CertificateItem>;
using CrlRecord = Record<CRL_CONTEXT, CrlItem>;
using OcspRecord = Record<BASALT_OCSP_CONTEXT, OcspItem>;

/// The prepared certificate of a context, which keeps it. Fault CRYPT_E_ASN1_CORRUPT.
inline std::shared_ptr<const X509Entry> x509_of(PCCERT_CONTEXT context) {
    return CertificateRecord::of(context).body().x509();
}

} // namespace basalt
