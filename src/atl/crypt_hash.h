// Owner of a running hash.
#pragma once

#include <utility>

#include <basalt/hash.h>

namespace ATL {

// Belongs to one thread; moved, not copied. The result of the release is ignored.
class CCryptHash {
public:
    CCryptHash() noexcept = default;
    CCryptHash(CCryptHash&& other) noexcept : handle_(other.detach()) {}
    CCryptHash& operator=(CCryptHash&& other) noexcept {
        std::swap(handle_, other.handle_);
        return *this;
    }
    ~CCryptHash() { destroy(); }

    HCRYPTHASH get() const noexcept { return handle_; }
    // Where a platform call puts a handle; the owner has to be empty.
    HCRYPTHASH* put() noexcept { return &handle_; }
    HCRYPTHASH detach() noexcept { return std::exchange(handle_, HCRYPTHASH{0}); }
    void destroy() noexcept {
        if (handle_ != 0) {
            CryptDestroyHash(detach());
        }
    }

    static CCryptHash EmptyHash;

private:
    HCRYPTHASH handle_ = 0;
};

} // namespace ATL
