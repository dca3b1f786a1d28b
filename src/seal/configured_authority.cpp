// The authorities that the machine's configuration names.
#include "client/request_policy.h"
#include "seal/failure.h"
#include "seal/platform_text.h"
#include "seal/request_rules.h"

namespace chronoseal {

std::vector<Authority> configured_authorities() {
    return guarded("read the authorities", [] {
        std::vector<Authority> authorities;
        const std::string url = narrow(read_rules().DefaultTSPURL.value);
        if (!url.empty()) {
            authorities.push_back({.url = url});
        }
        return authorities;
    });
}

} // namespace chronoseal
