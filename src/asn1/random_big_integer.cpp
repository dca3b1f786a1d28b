#include "asn1/random_big_integer.h"

#include <limits>

#include "asn1/failure.h"
#include "atl/crypt_prov.h"
#include "basalt10/provider.h"

namespace Halcyon::ASN1 {

namespace {

constexpr DWORD providerType = PROV_GOST_2001;

void acquire(ATL::CCryptProv& provider, HCRYPTPROV given) {
    if (given != 0) {
        CryptContextAddRef(given, nullptr, 0);
        provider.attach(given);
        return;
    }
    if (!CryptAcquireContextA(provider.put(), nullptr, nullptr, providerType,
                              CRYPT_VERIFYCONTEXT) ||
        provider.get() == 0)
        throwLastError();
}

} // namespace

CBigInteger MakeRandomBigInteger(unsigned long long hProv, unsigned long size) {
    if (size > std::numeric_limits<DWORD>::max())
        failArgument();
    ATL::CCryptProv provider;
    acquire(provider, static_cast<HCRYPTPROV>(hProv));
    CBigInteger result(size);
    if (!CryptGenRandom(provider.get(), static_cast<DWORD>(size), result.pbData()))
        throwLastError();
    return result;
}

} // namespace Halcyon::ASN1
