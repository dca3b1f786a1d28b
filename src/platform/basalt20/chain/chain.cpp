// The exported functions over chains; see chain.h.
#include "basalt20/surface/chain.h"

#include "basalt20/chain/chain_context.h"
#include "basalt20/chain/trust_anchors.h"
#include "basalt20/revocation/revocation_mode.h"

using namespace basalt;

namespace {

Chain* chain_of(PCCERT_CHAIN_CONTEXT context) {
    return static_cast<Chain*>(const_cast<CERT_CHAIN_CONTEXT*>(context));
}

} // namespace

BOOL CertGetCertificateChain(HCERTCHAINENGINE, PCCERT_CONTEXT pCertContext, FILETIME* pTime,
                             HCERTSTORE hAdditionalStore, CERT_CHAIN_PARA* pChainPara,
                             DWORD dwFlags, void* pvReserved,
                             PCCERT_CHAIN_CONTEXT* ppChainContext) {
    return guarded(FALSE, [&] {
        require(ppChainContext != nullptr);
        *ppChainContext = nullptr;
        require(pCertContext != nullptr && pvReserved == nullptr && pChainPara != nullptr &&
                pChainPara->cbSize >= sizeof(CERT_CHAIN_PARA));
        const FileTicks at = pTime != nullptr ? ticks_of(*pTime) : now_in_ticks();
        *ppChainContext = new Chain({pCertContext, at, hAdditionalStore, dwFlags});
        return TRUE;
    });
}

PCCERT_CHAIN_CONTEXT CertDuplicateCertificateChain(PCCERT_CHAIN_CONTEXT pChainContext) {
    if (pChainContext != nullptr) {
        chain_of(pChainContext)->add_reference();
    }
    return pChainContext;
}

void CertFreeCertificateChain(PCCERT_CHAIN_CONTEXT pChainContext) {
    if (pChainContext != nullptr) {
        chain_of(pChainContext)->release();
    }
}

BOOL BasaltSetTrustAnchors(HCERTSTORE hStore) {
    return guarded(FALSE, [&] {
        if (hStore == nullptr) {
            set_trust_anchors(nullptr);
            return TRUE;
        }
        const StoreReference store = duplicate_store(hStore);
        require(store != nullptr, E_HANDLE);
        set_trust_anchors(store.get());
        return TRUE;
    });
}

BOOL BasaltSetRevocationMode(DWORD dwMode) {
    return guarded(FALSE, [&] {
        set_revocation_mode(dwMode);
        return TRUE;
    });
}
