// Text values that cross the library's interface. Each hides one heap-allocated standard string, so
// that no container layout is part of the interface.
#pragma once

#include <string>

#include "visibility/visibility.h"

namespace Halcyon {

// Narrow text. A plain value: copies are deep.
class CHRONOSEAL_API CStringProxy {
public:
    // A null `text` gives the empty text.
    CStringProxy(char const* text);
    CStringProxy(CStringProxy const& other);
    CStringProxy& operator=(CStringProxy const& other);
    ~CStringProxy();

    // Zero-terminated; good until the proxy is assigned to or destroyed.
    char const* c_str() const noexcept;

private:
    std::string* text_;
};

// Wide text of 32-bit characters. A plain value: copies are deep.
class CHRONOSEAL_API CWStringProxy {
public:
    // A null `text` gives the empty text.
    CWStringProxy(wchar_t const* text);
    CWStringProxy(CWStringProxy const& other);
    CWStringProxy& operator=(CWStringProxy const& other);
    ~CWStringProxy();

    // Zero-terminated; good until the proxy is assigned to or destroyed.
    wchar_t const* c_str() const noexcept;

private:
    std::wstring* text_;
};

} // namespace Halcyon
