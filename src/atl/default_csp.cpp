// Choice of a provider by algorithm: three places, one after the other.
#include <chronoseal/atl/default_csp.h>

#include <chronoseal/atl/find_alg_id.h>

namespace Halcyon {

namespace {

// The provider that a search of this kind finds, with a reference for the caller, or 0. A search
// that goes to its end still holds the provider that it tried last, which lacks the algorithm.
template <class Search>
HCRYPTPROV search(unsigned algId, unsigned algId2) {
    Search finder(algId, algId2);
    if (!finder.Enumerate()) {
        return 0;
    }
    CryptContextAddRef(finder.provider.get(), nullptr, 0);
    return finder.provider.get();
}

} // namespace

HCRYPTPROV HYGetDefaultCSPThrow(unsigned algId, unsigned algId2) {
    if (algId == 0) {
        return 0;
    }
    if (const HCRYPTPROV chosen = HYCAPI_I_CryptGetDefaultCryptProv(algId, algId2); chosen != 0) {
        return chosen;
    }
    if (const HCRYPTPROV chosen = search<CFindAlgIdInDefaultProviders>(algId, algId2);
        chosen != 0) {
        return chosen;
    }
    return search<CFindAlgIdInProviders>(algId, algId2);
}

} // namespace Halcyon
