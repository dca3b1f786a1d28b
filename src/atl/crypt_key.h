// Owner of a key handle.
#pragma once

#include <utility>

#include <basalt/key.h>

namespace ATL {

// Belongs to one thread; moved, not copied. The result of the release is ignored.
class CCryptKey {
public:
    CCryptKey() noexcept = default;
    CCryptKey(CCryptKey&& other) noexcept : handle_(other.detach()) {}
    CCryptKey& operator=(CCryptKey&& other) noexcept {
        std::swap(handle_, other.handle_);
        return *this;
    }
    ~CCryptKey() {
        if (handle_ != 0) {
            CryptDestroyKey(detach());
        }
    }

    HCRYPTKEY get() const noexcept { return handle_; }
    // Where a platform call puts a handle; the owner has to be empty.
    HCRYPTKEY* put() noexcept { return &handle_; }
    HCRYPTKEY detach() noexcept { return std::exchange(handle_, HCRYPTKEY{0}); }

    static CCryptKey EmptyKey;

private:
    HCRYPTKEY handle_ = 0;
};

} // namespace ATL
