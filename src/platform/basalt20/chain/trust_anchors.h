// The certificates that chains may end in: those of the `Root` store, or the ones that the process
// or an engine has put in its place. Read once and looked up by subject; never fails, an unreadable
// store has no anchors.
#pragma once

#include <basalt/store/store_object.h>

#include <memory>
#include <unordered_map>
#include <vector>

namespace basalt {

class TrustAnchors {
public:
    using Item = std::shared_ptr<CertificateItem>;

    // Null: none.
    explicit TrustAnchors(HCERTSTORE store);
    explicit TrustAnchors(Snapshot<CertificateItem> certificates);

    // Those whose subject has that key (name_key.h), and so all whose subject is the same name.
    std::vector<Item> by_key(std::uint64_t key) const;

    bool is_one() const { return anchors_.size() == 1; }

    bool contains(const CertificateItem& certificate) const;

    // Whether it was made of just these.
    bool is_of(const Snapshot<CertificateItem>& certificates) const {
        return certificates_ == certificates;
    }

private:
    Snapshot<CertificateItem> certificates_;
    std::unordered_multimap<std::uint64_t, Item> anchors_;
};

// Those of the store, which must be open; the same object as for the one asked for before, while
// that is in use and the store holds what it held: engines come in rows, one for each moment.
std::shared_ptr<const TrustAnchors> anchors_of(HCERTSTORE store);

// The anchors in force. The machine's are read again after ten seconds, so that a root that an
// administrator takes away is soon without effect in processes that run on.
std::shared_ptr<const TrustAnchors> trust_anchors();

// Puts the certificates of `store` in the place of the machine's; null puts the machine's back.
void set_trust_anchors(HCERTSTORE store);

} // namespace basalt
