// Narrow and wide text behind one owned pointer each.
#include "base/string_proxy.h"

namespace Halcyon {

CStringProxy::CStringProxy(char const* text) : text_(new std::string(text ? text : "")) {}

CStringProxy::CStringProxy(CStringProxy const& other) : text_(new std::string(*other.text_)) {}

CStringProxy& CStringProxy::operator=(CStringProxy const& other) {
    *text_ = *other.text_;
    return *this;
}

CStringProxy::~CStringProxy() {
    delete text_;
}

char const* CStringProxy::c_str() const noexcept {
    return text_->c_str();
}

CWStringProxy::CWStringProxy(wchar_t const* text) : text_(new std::wstring(text ? text : L"")) {}

CWStringProxy::CWStringProxy(CWStringProxy const& other) : text_(new std::wstring(*other.text_)) {}

CWStringProxy& CWStringProxy::operator=(CWStringProxy const& other) {
    *text_ = *other.text_;
    return *this;
}

CWStringProxy::~CWStringProxy() {
    delete text_;
}

wchar_t const* CWStringProxy::c_str() const noexcept {
    return text_->c_str();
}

} // namespace Halcyon
