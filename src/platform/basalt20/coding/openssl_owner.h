// An owning pointer over an object of OpenSSL, named with the function that frees it.
#pragma once

#include <memory>

namespace basalt {

template <auto Free>
struct OpensslRelease {
    template <class T>
    void operator()(T* object) const noexcept {
        Free(object);
    }
};

template <class T, auto Free>
using OpensslOwner = std::unique_ptr<T, OpensslRelease<Free>>;

} // namespace basalt
