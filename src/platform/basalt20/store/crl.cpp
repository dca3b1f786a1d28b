// CRL contexts.
#include <basalt/crl.h>

#include <basalt/store/record.h>

using namespace basalt;

PCCRL_CONTEXT CertCreateCRLContext(DWORD, const BYTE* pbCrlEncoded, DWORD cbCrlEncoded) {
    return guarded<PCCRL_CONTEXT>(nullptr, [&] {
        require(pbCrlEncoded != nullptr);
        auto item = std::make_shared<CrlItem>();
        item->body = std::make_shared<CrlBody>(Bytes(pbCrlEncoded, cbCrlEncoded));
        return CrlRecord::make(std::move(item));
    });
}

PCCRL_CONTEXT CertDuplicateCRLContext(PCCRL_CONTEXT pCrlContext) {
    if (pCrlContext != nullptr) {
        CrlRecord::of(pCrlContext).add_reference();
    }
    return pCrlContext;
}

BOOL CertFreeCRLContext(PCCRL_CONTEXT pCrlContext) {
    if (pCrlContext != nullptr) {
        CrlRecord::of(pCrlContext).release();
    }
    return TRUE;
}

BOOL CertFindCertificateInCRL(PCCERT_CONTEXT pCert, PCCRL_CONTEXT pCrlContext, DWORD, void*,
                              CRL_ENTRY** ppCrlEntry) {
    return guarded<BOOL>(FALSE, [&] {
        require(pCert != nullptr && pCrlContext != nullptr && ppCrlEntry != nullptr);
        const CRL_INFO& info = *pCrlContext->pCrlInfo;
        CRL_ENTRY* end = info.rgCRLEntry + info.cCRLEntry;
        CRL_ENTRY* found = std::find_if(info.rgCRLEntry, end, [&](CRL_ENTRY& entry) {
            return CertCompareIntegerBlob(&entry.SerialNumber, &pCert->pCertInfo->SerialNumber);
        });
        *ppCrlEntry = found == end ? nullptr : found;
        return TRUE;
    });
}
