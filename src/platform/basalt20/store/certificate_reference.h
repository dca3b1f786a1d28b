// Owning references to the contexts that the exported functions hand out, for use inside this
// library.
#pragma once

#include <basalt/crl.h>
#include <basalt/store.h>

#include <memory>

namespace basalt {

struct ReleaseContext {
    void operator()(PCCERT_CONTEXT context) const noexcept { CertFreeCertificateContext(context); }
    void operator()(PCCRL_CONTEXT context) const noexcept { CertFreeCRLContext(context); }
    void operator()(void* store) const noexcept { CertCloseStore(store, 0); }
};

using CertificateReference = std::unique_ptr<const CERT_CONTEXT, ReleaseContext>;
using CrlReference = std::unique_ptr<const CRL_CONTEXT, ReleaseContext>;
using StoreReference = std::unique_ptr<void, ReleaseContext>;

inline CertificateReference duplicate(PCCERT_CONTEXT context) {
    return CertificateReference(CertDuplicateCertificateContext(context));
}

inline StoreReference duplicate_store(HCERTSTORE store) {
    return StoreReference(CertDuplicateStore(store));
}

} // namespace basalt
