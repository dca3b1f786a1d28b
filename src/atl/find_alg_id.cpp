// The search for a provider by its algorithms.
#include <chronoseal/atl/find_alg_id.h>

#include <basalt/error_codes.h>
#include <basalt/last_error.h>
#include <basalt/provider.h>
#include <chronoseal/base/atl_exception.h>

namespace Halcyon {

bool CFindAlgIdIn::TryNextProv(unsigned type, const char* name) {
    if (!provider.release() && GetLastError() != 0) {
        throw_last_error();
    }
    if (!CryptAcquireContextA(provider.put(), nullptr, name, type, CRYPT_VERIFYCONTEXT)) {
        throw_last_error();
    }
    return lists(algId) && (algId2 == 0 || lists(algId2));
}

bool CFindAlgIdIn::lists(ALG_ID wanted) const {
    for (DWORD flag = CRYPT_FIRST;; flag = 0) {
        PROV_ENUMALGS_EX record{};
        DWORD size = sizeof(record);
        if (!CryptGetProvParam(provider.get(), PP_ENUMALGS_EX, reinterpret_cast<BYTE*>(&record),
                               &size, flag)) {
            break;
        }
        if (record.aiAlgid == wanted) {
            return true;
        }
    }
    if (GetLastError() != ERROR_NO_MORE_ITEMS) {
        throw_last_error();
    }
    return false;
}

bool CFindAlgIdInDefaultProviders::OnType(unsigned type, const char* /*name*/) {
    return !TryNextProv(type, nullptr);
}

bool CFindAlgIdInProviders::OnProv(const char* name, unsigned type) {
    return !TryNextProv(type, name);
}

} // namespace Halcyon
