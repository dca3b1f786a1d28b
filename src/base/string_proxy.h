// Text values that cross the library's interface. Each hides one heap-allocated standard string, so
// that no container layout is part of the interface.
#pragma once

#include <string>

#include <chronoseal/visibility.h>

namespace Halcyon {

// Narrow text. A plain value: copies are deep.
class CHRONOSEAL_API CStringProxy {
public:
    // A null `text` gives the empty text.
    CStringProxy(const char* text);
    CStringProxy(const CStringProxy& other);
    CStringProxy& operator=(const CStringProxy& other);
    ~CStringProxy();

    // Zero-terminated; good until the proxy is assigned to or destroyed.
    const char* c_str() const noexcept;

private:
    std::string* text_;
};

// Wide text of 32-bit characters. A plain value: copies are deep.
class CHRONOSEAL_API CWStringProxy {
public:
    // A null `text` gives the empty text.
    CWStringProxy(const wchar_t* text);
    CWStringProxy(const CWStringProxy& other);
    CWStringProxy& operator=(const CWStringProxy& other);
    ~CWStringProxy();

    // Zero-terminated; good until the proxy is assigned to or destroyed.
    const wchar_t* c_str() const noexcept;

private:
    std::wstring* text_;
};

} // namespace Halcyon
