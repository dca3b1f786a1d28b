// Narrow and wide text behind one owned pointer each.
#include <chronoseal/base/string_proxy.h>

namespace Halcyon {

CStringProxy::CStringProxy(const char* text) : text_(new std::string(text ? text : "")) {}

CStringProxy::CStringProxy(const CStringProxy& other) : text_(new std::string(*other.text_)) {}

CStringProxy& CStringProxy::operator=(const CStringProxy& other) {
    *text_ = *other.text_;
    return *this;
}

CStringProxy::~CStringProxy() {
    delete text_;
}

const char* CStringProxy::c_str() const noexcept {
    return text_->c_str();
}

CWStringProxy::CWStringProxy(const wchar_t* text) : text_(new std::wstring(text ? text : L"")) {}

CWStringProxy::CWStringProxy(const CWStringProxy& other) : text_(new std::wstring(*other.text_)) {}

CWStringProxy& CWStringProxy::operator=(const CWStringProxy& other) {
    *text_ = *other.text_;
    return *this;
}

CWStringProxy::~CWStringProxy() {
    delete text_;
}

const wchar_t* CWStringProxy::c_str() const noexcept {
    return text_->c_str();
}

} // namespace Halcyon
