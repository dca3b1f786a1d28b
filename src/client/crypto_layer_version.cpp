// The crypto layer's version, asked of a provider.
#include <chronoseal/client/crypto_layer_version.h>

#include <pthread.h>

#include <array>
#include <cstring>

#include <basalt/provider.h>
#include <chronoseal/atl/crypt_prov.h>

namespace Halcyon::PKI::TSP::Client {

namespace {

constexpr DWORD kFirstGoodVersion = 0x500;
constexpr DWORD kLastSilentBuild = 13300;

pthread_once_t onceCspVersion = PTHREAD_ONCE_INIT;
DWORD g_dwCspVersion = 0;
DWORD g_dwCspBuild = 0;

extern "C" void SetCspVersion() {
    ATL::CCryptProv provider;
    if (!CryptAcquireContextA(provider.put(), nullptr, nullptr, PROV_GOST_2012_256,
                              CRYPT_VERIFYCONTEXT)) {
        return;
    }
    std::array<BYTE, 4> version{};
    DWORD size = version.size();
    if (!CryptGetProvParam(provider.get(), PP_VERSION, version.data(), &size, 0)) {
        return;
    }
    std::memcpy(&g_dwCspVersion, version.data(), version.size());
    std::array<BYTE, 20> build{};
    size = build.size();
    if (CryptGetProvParam(provider.get(), PP_BUILD_INFORMATION, build.data(), &size, 0)) {
        std::memcpy(&g_dwCspBuild, build.data(), sizeof(g_dwCspBuild));
    }
}

} // namespace

bool is_old_crypto_layer() noexcept {
    pthread_once(&onceCspVersion, &SetCspVersion);
    return g_dwCspVersion < kFirstGoodVersion ||
           (g_dwCspVersion == kFirstGoodVersion && g_dwCspBuild <= kLastSilentBuild);
}

} // namespace Halcyon::PKI::TSP::Client
