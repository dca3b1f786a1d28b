// Owner of one reference on a provider context.
#pragma once

#include <basalt/provider_handle.h>
#include <chronoseal/visibility.h>

namespace ATL {

// Belongs to one thread. Copies hold a reference of their own. Nothing throws: a release or a
// reference that fails is dropped.
class CHRONOSEAL_API CCryptProv {
public:
    CCryptProv() noexcept = default;
    // Takes over the caller's reference.
    explicit CCryptProv(HCRYPTPROV handle) noexcept : handle_(handle) {}
    CCryptProv(const CCryptProv& other) noexcept { *this = other; }
    CCryptProv& operator=(const CCryptProv& other) noexcept;
    ~CCryptProv() { release(); }

    HCRYPTPROV get() const noexcept { return handle_; }
    // Where a platform call puts a handle; the owner has to be empty.
    HCRYPTPROV* put() noexcept { return &handle_; }
    // Gives the reference to the caller.
    HCRYPTPROV detach() noexcept;
    // Takes over the caller's reference in place of the present one.
    void attach(HCRYPTPROV handle) noexcept;
    // False when the platform refuses; the handle stays in place then.
    bool release() noexcept;

private:
    HCRYPTPROV handle_ = 0;
};

} // namespace ATL

namespace ATL2 {

// What the library passes where no provider is meant.
CHRONOSEAL_API extern ATL::CCryptProv EmptyProv;

} // namespace ATL2
