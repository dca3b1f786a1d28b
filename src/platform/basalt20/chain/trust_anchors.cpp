#include <basalt/chain/trust_anchors.h>

#include <basalt/chain/name_key.h>
#include <basalt/coding/flat_block.h>
#include <basalt/store/certificate_reference.h>

#include <algorithm>
#include <chrono>
#include <mutex>

namespace basalt {

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kReadAgainAfter = std::chrono::seconds(10);

Bytes subject_of(const CertificateItem& item) {
    return bytes_of(item.body->info().Subject);
}

struct InForce {
    std::mutex mutex;
    std::shared_ptr<const TrustAnchors> own;
    std::shared_ptr<const TrustAnchors> machine;
    Clock::time_point machine_read_at;
};

InForce& in_force() {
    // Never destroyed: chains may be built while the process ends.
    static auto* const state = new InForce;
    return *state;
}

std::shared_ptr<const TrustAnchors> read_machine_anchors() {
    const StoreReference root(
        CertOpenStore(CERT_STORE_PROV_SYSTEM_A, 0, 0,
                      CERT_SYSTEM_STORE_CURRENT_USER | CERT_STORE_READONLY_FLAG, "Root"));
    return std::make_shared<TrustAnchors>(root.get());
}

} // namespace

TrustAnchors::TrustAnchors(HCERTSTORE store)
    : TrustAnchors(store == nullptr ? nullptr : store_of(store)->certificates()) {}

TrustAnchors::TrustAnchors(Snapshot<CertificateItem> certificates)
    : certificates_(std::move(certificates)) {
    if (certificates_ == nullptr) {
        return;
    }
    for (const Item& item : *certificates_) {
        anchors_.emplace(name_key(subject_of(*item)), item);
    }
}

std::shared_ptr<const TrustAnchors> anchors_of(HCERTSTORE store) {
    static std::mutex mutex;
    static auto* const last = new std::weak_ptr<const TrustAnchors>; // as in_force
    Snapshot<CertificateItem> certificates = store_of(store)->certificates();
    const std::lock_guard lock(mutex);
    if (auto known = last->lock(); known && known->is_of(certificates)) {
        return known;
    }
    auto anchors = std::make_shared<const TrustAnchors>(std::move(certificates));
    *last = anchors;
    return anchors;
}

std::vector<TrustAnchors::Item> TrustAnchors::by_key(std::uint64_t key) const {
    std::vector<Item> found;
    const auto [first, last] = anchors_.equal_range(key);
    for (auto it = first; it != last; ++it) {
        found.push_back(it->second);
    }
    return found;
}

bool TrustAnchors::contains(const CertificateItem& certificate) const {
    const auto [first, last] = anchors_.equal_range(name_key(subject_of(certificate)));
    return std::any_of(first, last, [&](const auto& entry) {
        return same_bytes(entry.second->encoded(), certificate.encoded());
    });
}

std::shared_ptr<const TrustAnchors> trust_anchors() {
    InForce& state = in_force();
    const std::lock_guard lock(state.mutex);
    if (state.own) {
        return state.own;
    }
    const Clock::time_point now = Clock::now();
    if (!state.machine || now - state.machine_read_at > kReadAgainAfter) {
        state.machine = read_machine_anchors();
        state.machine_read_at = now;
    }
    return state.machine;
}

void set_trust_anchors(HCERTSTORE store) {
    auto anchors = store == nullptr ? nullptr : std::make_shared<const TrustAnchors>(store);
    InForce& state = in_force();
    const std::lock_guard lock(state.mutex);
    state.own = std::move(anchors);
}

} // namespace basalt
