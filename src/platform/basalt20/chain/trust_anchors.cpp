#include "basalt20/chain/trust_anchors.h"

#include <chrono>
#include <cstring>
#include <mutex>

namespace basalt {

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kReadAgainAfter = std::chrono::seconds(10);

std::string text_of(const CERT_NAME_BLOB& name) {
    return {reinterpret_cast<const char*>(name.pbData), name.cbData};
}

bool same_bytes(PCCERT_CONTEXT a, PCCERT_CONTEXT b) {
    return a->cbCertEncoded == b->cbCertEncoded &&
           std::memcmp(a->pbCertEncoded, b->pbCertEncoded, a->cbCertEncoded) == 0;
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

TrustAnchors::TrustAnchors(HCERTSTORE store) {
    if (store == nullptr) {
        return;
    }
    PCCERT_CONTEXT anchor = nullptr;
    while ((anchor = CertEnumCertificatesInStore(store, anchor)) != nullptr) {
        anchors_.push_back(duplicate(anchor));
        by_subject_.emplace(text_of(anchor->pCertInfo->Subject), anchors_.back().get());
    }
}

std::vector<PCCERT_CONTEXT> TrustAnchors::by_subject(const CERT_NAME_BLOB& name) const {
    std::vector<PCCERT_CONTEXT> found;
    const auto [first, last] = by_subject_.equal_range(text_of(name));
    for (auto it = first; it != last; ++it) {
        found.push_back(it->second);
    }
    return found;
}

bool TrustAnchors::contains(PCCERT_CONTEXT certificate) const {
    for (const PCCERT_CONTEXT anchor : by_subject(certificate->pCertInfo->Subject)) {
        if (same_bytes(anchor, certificate)) {
            return true;
        }
    }
    return false;
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
