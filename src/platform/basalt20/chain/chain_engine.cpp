#include <basalt/chain/chain_engine.h>

#include <algorithm>
#include <mutex>
#include <unordered_map>

namespace basalt {

namespace {

struct Engine {
    std::shared_ptr<const TrustAnchors> anchors; // null: those in force
    std::optional<RevocationMode> revocation;
    std::optional<StrengthLevel> strength;
    std::optional<FileTicks> now;
    bool may_fetch = true;
    bool given_only = false;
    std::chrono::milliseconds fetching_time = kFetchingTime;
    bool uses_system_stores = true;
    std::vector<std::shared_ptr<void>> stores;
};

struct Engines {
    std::mutex mutex;
    std::unordered_map<HCERTCHAINENGINE, std::shared_ptr<const Engine>> open;
};

Engines& engines() {
    // Never destroyed: chains may be built while the process ends.
    static auto* const state = new Engines;
    return *state;
}

std::shared_ptr<void> shared_store(HCERTSTORE store) {
    StoreReference held = duplicate_store(store);
    require(held != nullptr, ERROR_INVALID_HANDLE);
    return held;
}

std::optional<StrengthLevel> strength_of(DWORD strength) {
    switch (strength) {
    case BASALT_STRENGTH_DEFAULT:
        return std::nullopt;
    case BASALT_STRENGTH_FLOOR:
        return StrengthLevel::floor;
    case BASALT_STRENGTH_CURRENT:
        return StrengthLevel::current;
    default:
        fail(E_INVALIDARG);
    }
}

void read_published(const CERT_CHAIN_ENGINE_CONFIG& config, Engine& engine) {
    require(config.hRestrictedRoot == nullptr && config.hRestrictedTrust == nullptr &&
            config.MaximumCachedCertificates == 0 && config.CycleDetectionModulus == 0 &&
            config.hExclusiveTrustedPeople == nullptr && config.dwExclusiveFlags == 0 &&
            (config.dwFlags & ~(CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL | BASALT_CHAIN_GIVEN_ONLY)) ==
                0);
    if (config.hExclusiveRoot != nullptr) {
        const std::shared_ptr<void> root = shared_store(config.hExclusiveRoot);
        engine.anchors = anchors_of(root.get());
    }
    if (config.hRestrictedOther != nullptr) {
        engine.uses_system_stores = false;
        engine.stores.push_back(shared_store(config.hRestrictedOther));
    }
    require(config.cAdditionalStore == 0 || config.rghAdditionalStore != nullptr);
    for (DWORD i = 0; i < config.cAdditionalStore; ++i) {
        engine.stores.push_back(shared_store(config.rghAdditionalStore[i]));
    }
    engine.given_only = (config.dwFlags & BASALT_CHAIN_GIVEN_ONLY) != 0;
    engine.may_fetch =
        !engine.given_only && (config.dwFlags & CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL) == 0;
    engine.uses_system_stores = engine.uses_system_stores && !engine.given_only;
    if (config.dwUrlRetrievalTimeout != 0) {
        engine.fetching_time =
            std::min(engine.fetching_time, std::chrono::milliseconds(config.dwUrlRetrievalTimeout));
    }
}

void read_own(const BASALT_CHAIN_ENGINE_CONFIG& config, Engine& engine) {
    engine.revocation = mode_of(config.dwRevocationMode);
    engine.strength = strength_of(config.dwStrength);
    if (config.pNow != nullptr) {
        engine.now = ticks_of(*config.pNow);
    }
}

} // namespace

HCERTCHAINENGINE create_engine(const CERT_CHAIN_ENGINE_CONFIG& config) {
    require(config.cbSize == sizeof(CERT_CHAIN_ENGINE_CONFIG) ||
            config.cbSize >= sizeof(BASALT_CHAIN_ENGINE_CONFIG));
    const auto engine = std::make_shared<Engine>();
    read_published(config, *engine);
    if (config.cbSize >= sizeof(BASALT_CHAIN_ENGINE_CONFIG)) {
        read_own(reinterpret_cast<const BASALT_CHAIN_ENGINE_CONFIG&>(config), *engine);
    }
    const HCERTCHAINENGINE handle = engine.get();
    const std::lock_guard lock(engines().mutex);
    engines().open[handle] = engine;
    return handle;
}

void free_engine(HCERTCHAINENGINE handle) {
    const std::lock_guard lock(engines().mutex);
    engines().open.erase(handle);
}

ChainSettings settings_of(HCERTCHAINENGINE handle) {
    Engine engine;
    if (handle != HCCE_CURRENT_USER && handle != HCCE_LOCAL_MACHINE) {
        const std::lock_guard lock(engines().mutex);
        const auto found = engines().open.find(handle);
        require(found != engines().open.end(), ERROR_INVALID_HANDLE);
        engine = *found->second;
    }
    ChainSettings settings;
    settings.anchors = engine.anchors ? engine.anchors : trust_anchors();
    settings.revocation = engine.revocation ? *engine.revocation : revocation_mode();
    settings.strength = engine.strength ? *engine.strength : configured_strength();
    settings.now = engine.now;
    settings.may_fetch = engine.may_fetch;
    settings.issuers = configured_issuer_reach();
    settings.given_only = engine.given_only;
    settings.fetching_time = engine.fetching_time;
    settings.uses_system_stores = engine.uses_system_stores;
    settings.stores = std::move(engine.stores);
    return settings;
}

} // namespace basalt
