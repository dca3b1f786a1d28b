// An owning pointer over an object of OpenSSL, named with the function that frees it; and the
// encoding of such an object.
#pragma once

#include <openssl/crypto.h>

#include <memory>
#include <string>

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

// The DER by an i2d function; empty when it can't be made.
template <class T>
std::string der_of(int (*encode)(const T*, unsigned char**), const T* object) {
    unsigned char* der = nullptr;
    const int size = encode(object, &der);
    std::string bytes;
    if (size > 0) {
        bytes.assign(reinterpret_cast<const char*>(der), static_cast<std::size_t>(size));
    }
    OPENSSL_free(der);
    return bytes;
}

} // namespace basalt
