#include "basalt20/revocation/revocation_search.h"

#include "basalt20/coding/openssl_owner.h"
#include "basalt20/revocation/crl_evidence.h"
#include "basalt20/revocation/ocsp_evidence.h"
#include "basalt20/revocation/revocation_sources.h"

#include <openssl/err.h>

#include <cstring>

namespace basalt {

namespace {

bool same_name(const CERT_NAME_BLOB& a, const CERT_NAME_BLOB& b) {
    if (a.cbData == b.cbData && std::memcmp(a.pbData, b.pbData, a.cbData) == 0) {
        return true;
    }
    // Another choice of string types or of letter case is the same name still.
    const unsigned char* cursor_a = a.pbData;
    const unsigned char* cursor_b = b.pbData;
    const OpensslOwner<X509_NAME, X509_NAME_free> name_a(
        d2i_X509_NAME(nullptr, &cursor_a, a.cbData));
    const OpensslOwner<X509_NAME, X509_NAME_free> name_b(
        d2i_X509_NAME(nullptr, &cursor_b, b.cbData));
    ERR_clear_error();
    return name_a && name_b && X509_NAME_cmp(name_a.get(), name_b.get()) == 0;
}

} // namespace

RevocationSearch::RevocationSearch(PCCERT_CONTEXT context, X509* certificate, X509* issuer,
                                   const std::vector<HCERTSTORE>& stores)
    : context_(context), certificate_(certificate), issuer_(issuer) {
    for (const HCERTSTORE store : stores) {
        if (store != nullptr) {
            search_store(store);
        }
    }
    findings_.source_named = revocation_sources(certificate).any_named;
}

const RevocationFindings& RevocationSearch::findings(FileTicks at, bool may_fetch) {
    if (may_fetch && !fetched_ && findings_.source_named && !findings_.covers(at)) {
        fetched_ = true;
        fetch();
    }
    return findings_;
}

void RevocationSearch::search_store(HCERTSTORE store) {
    PCCRL_CONTEXT crl = nullptr;
    while ((crl = CertEnumCRLsInStore(store, crl)) != nullptr) {
        if (!same_name(crl->pCrlInfo->Issuer, context_->pCertInfo->Issuer)) {
            continue;
        }
        if (auto found =
                evidence_of_crl({crl->pbCrlEncoded, crl->cbCrlEncoded}, certificate_, issuer_)) {
            findings_.evidence.push_back(*found);
        }
    }
    PCBASALT_OCSP_CONTEXT answer = nullptr;
    while ((answer = BasaltEnumOcspResponsesInStore(store, answer)) != nullptr) {
        if (auto found =
                evidence_of_ocsp({answer->pbEncoded, answer->cbEncoded}, certificate_, issuer_)) {
            findings_.evidence.push_back(*found);
        }
    }
}

void RevocationSearch::fetch() {
    const RevocationSources sources = revocation_sources(certificate_);
    const std::vector<BYTE> request =
        sources.ocsp.empty() ? std::vector<BYTE>() : make_ocsp_request(certificate_, issuer_);
    for (const std::string& url : sources.ocsp) {
        const auto answer = fetch_ocsp(url, request, ocsp_is_current);
        const auto found = answer ? evidence_of_ocsp(*answer, certificate_, issuer_) : std::nullopt;
        if (found) {
            findings_.evidence.push_back(*found);
            return;
        }
    }
    for (const std::string& url : sources.crl) {
        const auto crl = fetch_crl(url, crl_is_current);
        const auto found = crl ? evidence_of_crl(*crl, certificate_, issuer_) : std::nullopt;
        if (found) {
            findings_.evidence.push_back(*found);
            return;
        }
    }
}

} // namespace basalt
