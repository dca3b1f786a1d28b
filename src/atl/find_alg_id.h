// The search for a provider that knows one or two algorithms. The state is local to one search.
#pragma once

#include <basalt/algorithm.h>
#include <chronoseal/atl/crypt_prov.h>
#include <chronoseal/atl/provider_enumeration.h>
#include <chronoseal/visibility.h>

namespace Halcyon {

// `algId2` is 0 when one algorithm is looked for. One thread; lives on the stack.
class CHRONOSEAL_API CFindAlgIdIn {
public:
    CFindAlgIdIn(ALG_ID first, ALG_ID second) noexcept : algId(first), algId2(second) {}

    // True when the provider has the algorithms; it is left in `provider`. A null name means the
    // default one of the type. Throws CAtlException with the last error's code when the provider
    // can't be opened or questioned.
    bool TryNextProv(unsigned type, const char* name);

    ALG_ID algId;
    ALG_ID algId2;
    ATL::CCryptProv provider;

private:
    bool lists(ALG_ID wanted) const;
};

// Over the default provider of each type.
class CHRONOSEAL_API CFindAlgIdInDefaultProviders : public CFindAlgIdIn,
                                                    public ATL2::CCryptProviderTypesEnumT<char> {
public:
    using CFindAlgIdIn::CFindAlgIdIn;
    bool OnType(unsigned type, const char* name) override;
};

// Over all providers by name.
class CHRONOSEAL_API CFindAlgIdInProviders : public CFindAlgIdIn,
                                             public ATL2::CCryptProvidersEnumT<char> {
public:
    using CFindAlgIdIn::CFindAlgIdIn;
    bool OnProv(const char* name, unsigned type) override;
};

} // namespace Halcyon
