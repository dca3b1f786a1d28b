// By what a chain is judged: anchors, candidates, revocation, strength, the present moment.
#pragma once

#include <basalt/certificate/strength.h>
#include <basalt/chain/trust_anchors.h>
#include <basalt/coding/file_ticks.h>
#include <basalt/network/http_client.h>
#include <basalt/revocation/fetching.h>
#include <basalt/revocation/revocation_mode.h>
#include <basalt/store/certificate_reference.h>

#include <chrono>
#include <memory>
#include <optional>
#include <vector>

namespace basalt {

struct ChainSettings {
    std::shared_ptr<const TrustAnchors> anchors;
    RevocationMode revocation = RevocationMode::require;
    StrengthLevel strength = StrengthLevel::floor;
    std::optional<FileTicks> now; // nothing: the clock
    bool may_fetch = true;
    IssuerReach issuers = IssuerReach::outside;
    bool given_only = false; // neither the cache nor the system store `CA` is looked at
    std::chrono::milliseconds fetching_time = kFetchingTime;
    std::shared_ptr<Fetching> fetching;        // with other chains; null: there are none
    bool uses_system_stores = true;            // `CA` and `My` as candidates
    std::vector<std::shared_ptr<void>> stores; // candidates beside those of the question
};

} // namespace basalt
