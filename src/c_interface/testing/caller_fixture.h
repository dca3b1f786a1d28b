// For tests of this floor: a caller in C with an authority of its own, and what it needs for a
// sealer and a verifier.
#pragma once

#include <chronoseal/c_interface/testing/caller.h>

namespace chronoseal::testing {

class CInterfaceTest : public SealTest, public Caller {
protected:
    CInterfaceTest()
        : root(authority.authority().root_der()), url(authority.url()),
          rates(folder.path() / "rates"), roots(source_of(root)), trust(trust_in(roots)) {
        options.url = url.c_str();
        options.trust = &trust;
        options.first_wait_ms = 5;
        options.longest_wait_ms = 50;
        options.rate_file = rates.c_str();
    }

    std::string token(const tsp::TstInfo& info = {}, const tsp::Signing& signing = {}) {
        return authority.authority().token(info.encode(), signing);
    }

    LiveAuthority authority;
    std::string root, url, rates;
    chronoseal_source roots;
    chronoseal_trust trust;
    chronoseal_sealer_options options = sized<chronoseal_sealer_options>();
};

} // namespace chronoseal::testing
