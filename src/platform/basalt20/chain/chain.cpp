// The exported functions over chains; see chain.h.
#include <basalt/chain.h>

#include <basalt/chain/chain_context.h>
#include <basalt/chain/chain_engine.h>
#include <basalt/chain/chain_errors.h>
#include <basalt/chain/fetching_handle.h>
#include <basalt/chain/trust_anchors.h>
#include <basalt/revocation/revocation_mode.h>
#include <basalt/store/record.h>

using namespace basalt;

namespace {

Chain* chain_of(PCCERT_CHAIN_CONTEXT context) {
    return static_cast<Chain*>(const_cast<CERT_CHAIN_CONTEXT*>(context));
}

std::vector<std::string> identifiers_of(const CERT_USAGE_MATCH& match) {
    std::vector<std::string> identifiers;
    require(match.Usage.cUsageIdentifier == 0 || match.Usage.rgpszUsageIdentifier != nullptr);
    for (DWORD i = 0; i < match.Usage.cUsageIdentifier; ++i) {
        require(match.Usage.rgpszUsageIdentifier[i] != nullptr);
        identifiers.emplace_back(match.Usage.rgpszUsageIdentifier[i]);
    }
    return identifiers;
}

} // namespace

BOOL CertCreateCertificateChainEngine(CERT_CHAIN_ENGINE_CONFIG* pConfig,
                                      HCERTCHAINENGINE* phChainEngine) {
    return guarded(FALSE, [&] {
        require(pConfig != nullptr && phChainEngine != nullptr);
        *phChainEngine = nullptr;
        *phChainEngine = create_engine(*pConfig);
        return TRUE;
    });
}

void CertFreeCertificateChainEngine(HCERTCHAINENGINE hChainEngine) {
    free_engine(hChainEngine);
}

BOOL CertGetCertificateChain(HCERTCHAINENGINE hChainEngine, PCCERT_CONTEXT pCertContext,
                             FILETIME* pTime, HCERTSTORE hAdditionalStore,
                             CERT_CHAIN_PARA* pChainPara, DWORD dwFlags, void* pvReserved,
                             PCCERT_CHAIN_CONTEXT* ppChainContext) {
    return guarded(FALSE, [&] {
        require(ppChainContext != nullptr);
        *ppChainContext = nullptr;
        require(pCertContext != nullptr && pvReserved == nullptr && pChainPara != nullptr &&
                pChainPara->cbSize >= sizeof(CERT_CHAIN_PARA));
        ChainRequest request;
        request.end = pCertContext;
        if (pTime != nullptr) {
            request.at = ticks_of(*pTime);
        }
        request.additional = hAdditionalStore;
        request.usage.usages = identifiers_of(pChainPara->RequestedUsage);
        request.usage.any_of_them = pChainPara->RequestedUsage.dwType == USAGE_MATCH_TYPE_OR;
        if (pChainPara->cbSize >= sizeof(BASALT_CHAIN_PARA)) {
            request.policies = identifiers_of(
                reinterpret_cast<const BASALT_CHAIN_PARA*>(pChainPara)->RequestedIssuancePolicy);
        }
        request.flags = dwFlags;
        ChainSettings settings = settings_of(hChainEngine);
        // By its exact size: the published record goes on in another way.
        if (pChainPara->cbSize == sizeof(BASALT_FETCHING_CHAIN_PARA)) {
            settings.fetching = fetching_of(
                reinterpret_cast<const BASALT_FETCHING_CHAIN_PARA*>(pChainPara)->hFetching);
        }
        *ppChainContext = Chain::build(std::move(settings), std::move(request));
        return TRUE;
    });
}

BOOL BasaltCreateFetching(HBASALT_FETCHING* phFetching) {
    return guarded(FALSE, [&] {
        require(phFetching != nullptr);
        *phFetching = nullptr;
        *phFetching = create_fetching();
        return TRUE;
    });
}

void BasaltFreeFetching(HBASALT_FETCHING hFetching) {
    free_fetching(hFetching);
}

BOOL BasaltTakeSignature(HBASALT_FETCHING hFetching, PCCERT_CONTEXT pCertContext) {
    return guarded(FALSE, [&] {
        require(pCertContext != nullptr);
        const std::shared_ptr<Fetching> fetching = fetching_of(hFetching);
        require(fetching != nullptr, ERROR_INVALID_HANDLE);
        const CertificateBody& body = CertificateRecord::of(pCertContext).body();
        require(fetching->take_work(reading_cost(body.info())), kTooCostly);
        const std::shared_ptr<const X509Entry> entry = body.x509();
        require(entry->key != nullptr, NTE_BAD_PUBLIC_KEY);
        require(fetching->take_work(signature_cost(entry->key->get())), kTooCostly);
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
        require(store != nullptr, ERROR_INVALID_HANDLE);
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
