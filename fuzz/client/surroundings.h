// What the client's fuzzers stand in: an empty configuration, no stores of user or machine, no
// trusted root and no network, so that a run sees nothing but its input.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include <basalt/chain.h>
#include <basalt/store.h>
#include <chronoseal/base/atl_exception.h>

namespace fuzzing {

inline void require(bool holds, int line = __builtin_LINE()) {
    if (!holds) {
        std::fprintf(stderr, "line %d doesn't hold\n", line);
        std::abort();
    }
}

inline void isolate() {
    static const bool done = [] {
        for (const char* name :
             {"BASALT_USER_STORES", "BASALT_MACHINE_STORES", "BASALT_SYSTEM_ROOTS"}) {
            setenv(name, "/nonexistent/chronoseal", 1);
        }
        setenv("BASALT_CONFIG", "/dev/null", 1);
        BasaltSetTrustAnchors(CertOpenStore(CERT_STORE_PROV_MEMORY, 0, 0, 0, nullptr));
        BasaltSetRevocationMode(BASALT_REVOCATION_OFF);
        return true;
    }();
    require(done);
}

// The result code that `call` throws; 0 if it throws none. Nothing else may come out of it, and no
// code that doesn't say "failed".
template <class Call>
std::uint32_t code_of(Call call) {
    try {
        call();
    } catch (const ATL::CAtlException& failure) {
        require(failure.m_hr < 0);
        return static_cast<std::uint32_t>(failure.m_hr);
    }
    return 0;
}

} // namespace fuzzing
