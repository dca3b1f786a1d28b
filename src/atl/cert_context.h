// Owner of one reference on a certificate context.
#pragma once

#include <utility>

#include <basalt/certificate.h>
#include <chronoseal/atl/string.h>

namespace ATL2 {

// Belongs to one thread. Copies hold a reference of their own.
class CCertContext {
public:
    CCertContext() noexcept = default;
    // Takes over the caller's reference.
    explicit CCertContext(PCCERT_CONTEXT context) noexcept : context_(context) {}
    CCertContext(const CCertContext& other) noexcept
        : context_(other.context_ ? CertDuplicateCertificateContext(other.context_) : nullptr) {}
    CCertContext(CCertContext&& other) noexcept : context_(other.detach()) {}
    CCertContext& operator=(CCertContext other) noexcept {
        std::swap(context_, other.context_);
        return *this;
    }
    ~CCertContext() { attach(nullptr); }

    PCCERT_CONTEXT get() const noexcept { return context_; }
    PCCERT_CONTEXT operator->() const noexcept { return context_; }
    explicit operator bool() const noexcept { return context_ != nullptr; }
    // Gives the reference to the caller.
    PCCERT_CONTEXT detach() noexcept { return std::exchange(context_, nullptr); }
    // Takes over the caller's reference in place of the present one.
    void attach(PCCERT_CONTEXT context) noexcept;

    // Fetches a property. A null context gives 0x80004005; any other failure is the last error's
    // code. A size beyond the buffer throws CAtlException 0x80070057.
    HRESULT GetProperty(unsigned id, ATL::CStringA& value) const;
    // Fetches CERT_KEY_PROV_INFO_PROP_ID, in one call where it needs no more than 512 bytes.
    HRESULT GetKeyProvInfo(ATL::CStringA& value) const;
    // Replaces the context by a free-standing one with the same bytes. Hashes, key handles and what
    // else belongs to the place it came from is left behind; every other property is taken along.
    // On failure the held context stays.
    HRESULT DetachFromStore();

private:
    PCCERT_CONTEXT context_ = nullptr;
};

} // namespace ATL2
