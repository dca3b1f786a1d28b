// Reference counting of provider contexts.
#include <chronoseal/atl/crypt_prov.h>

#include <utility>

#include <basalt/provider.h>

namespace ATL {

CCryptProv& CCryptProv::operator=(const CCryptProv& other) noexcept {
    if (this != &other) {
        release();
        handle_ = other.handle_;
        if (handle_ != 0) {
            CryptContextAddRef(handle_, nullptr, 0);
        }
    }
    return *this;
}

HCRYPTPROV CCryptProv::detach() noexcept {
    return std::exchange(handle_, HCRYPTPROV{0});
}

void CCryptProv::attach(HCRYPTPROV handle) noexcept {
    release();
    handle_ = handle;
}

bool CCryptProv::release() noexcept {
    if (handle_ != 0) {
        if (!CryptReleaseContext(handle_, 0)) {
            return false;
        }
        handle_ = 0;
    }
    return true;
}

} // namespace ATL

namespace ATL2 {

ATL::CCryptProv EmptyProv;

} // namespace ATL2
