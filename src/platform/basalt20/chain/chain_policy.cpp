// Chain policies: one verdict over a chain. The base policy judges at the time that the chain was
// built for, the time-stamp policy at the check time in its extra record.
#include "basalt20/chain/chain_context.h"
#include "basalt20/chain/chain_errors.h"
#include "basalt20/revocation/revocation_mode.h"
#include "basalt20/surface/chain.h"

#include <openssl/x509v3.h>

#include <cstring>
#include <optional>

using namespace basalt;

namespace {

struct Verdict {
    DWORD code = 0;
    LONG element = -1; // -1: the chain as a whole

    bool good() const { return code == 0; }
};

struct ReleaseChain {
    void operator()(Chain* chain) const noexcept { chain->release(); }
};

// What OpenSSL found wrong in signatures and constraints.
Verdict judge_structure(const ChainPath& path) {
    for (std::size_t i = 0; i < path.elements.size(); ++i) {
        if (!path.elements[i].errors.empty()) {
            return {policy_code_of(path.elements[i].errors.front()), static_cast<LONG>(i)};
        }
    }
    if (!path.ends_in_anchor) {
        return {CERT_E_CHAINING, -1};
    }
    return {};
}

Verdict judge_validity(const ChainPath& path, FileTicks at) {
    for (std::size_t i = 0; i < path.elements.size(); ++i) {
        const CERT_INFO& info = *path.elements[i].certificate->pCertInfo;
        if (at < ticks_of(info.NotBefore) || at > ticks_of(info.NotAfter)) {
            return {CERT_E_EXPIRED, static_cast<LONG>(i)};
        }
    }
    return {};
}

// RFC 3161, 2.3: time stamping as the sole extended key usage, critical. OpenSSL's purpose test
// asks for just that, but lets a CA pass.
Verdict judge_signer(const ChainPath& path) {
    X509* signer = path.elements.front().openssl();
    const bool is_ca = (X509_get_extension_flags(signer) & EXFLAG_CA) != 0;
    if (is_ca || X509_check_purpose(signer, X509_PURPOSE_TIMESTAMP_SIGN, 0) != 1) {
        return {CERT_E_WRONG_USAGE, 0};
    }
    return {};
}

Verdict judge_revocation(const Chain& chain, FileTicks at) {
    Verdict unknown;
    for (std::size_t i = 0; i < chain.path().elements.size(); ++i) {
        switch (chain.revocation_at(i, at)) {
        case RevocationStatus::revoked:
            return {CRYPT_E_REVOKED, static_cast<LONG>(i)};
        case RevocationStatus::offline:
            if (unknown.good()) {
                unknown = {CRYPT_E_REVOCATION_OFFLINE, static_cast<LONG>(i)};
            }
            break;
        case RevocationStatus::good:
        case RevocationStatus::no_source:
            break;
        }
    }
    return unknown;
}

Verdict judge_time_stamp_at(const Chain& chain, FileTicks at) {
    Verdict verdict = judge_structure(chain.path());
    if (verdict.good()) {
        verdict = judge_validity(chain.path(), at);
    }
    if (verdict.good()) {
        verdict = judge_signer(chain.path());
    }
    return verdict.good() ? judge_revocation(chain, at) : verdict;
}

// Another path may be the right one for another moment: of two certificates of one authority, say,
// the one that was in force then.
bool may_be_cured_by_another_path(DWORD code) {
    return code == CERT_E_EXPIRED || code == CERT_E_CHAINING || code == CERT_E_UNTRUSTEDROOT;
}

Verdict judge_time_stamp(const Chain& chain, const CERT_CHAIN_POLICY_PARA* para) {
    FileTicks at = now_in_ticks();
    if (para != nullptr && para->pvExtraPolicyPara != nullptr) {
        const auto* extra =
            static_cast<const BASALT_TIME_STAMP_POLICY_PARA*>(para->pvExtraPolicyPara);
        require(extra->cbSize >= sizeof *extra);
        if (extra->pCheckTime != nullptr) {
            at = ticks_of(*extra->pCheckTime);
        }
    }
    const Verdict verdict = judge_time_stamp_at(chain, at);
    if (!may_be_cured_by_another_path(verdict.code) || at == chain.built_for()) {
        return verdict;
    }
    const std::unique_ptr<Chain, ReleaseChain> other(chain.rebuilt_for(at));
    const Verdict second = judge_time_stamp_at(*other, at);
    return second.good() ? second : verdict;
}

Verdict judge_base(const Chain& chain, DWORD flags) {
    const ChainPath& path = chain.path();
    Verdict verdict = judge_structure(path);
    const bool unknown_ca = verdict.code == CERT_E_UNTRUSTEDROOT || verdict.code == CERT_E_CHAINING;
    if (!verdict.good() &&
        !(unknown_ca && (flags & CERT_CHAIN_POLICY_ALLOW_UNKNOWN_CA_FLAG) != 0)) {
        return verdict;
    }
    if ((flags & CERT_CHAIN_POLICY_IGNORE_NOT_TIME_VALID_FLAG) == 0) {
        verdict = judge_validity(path, chain.built_for());
        if (!verdict.good()) {
            return verdict;
        }
    }
    verdict = judge_revocation(chain, chain.built_for());
    const bool ignored = verdict.code == CRYPT_E_REVOCATION_OFFLINE &&
                         (flags & CERT_CHAIN_POLICY_IGNORE_ALL_REV_UNKNOWN_FLAGS) != 0;
    return ignored ? Verdict{} : verdict;
}

bool is_time_stamp_policy(LPCSTR policy) {
    // Small numbers stand for policies too and are no texts.
    return reinterpret_cast<std::uintptr_t>(policy) > 0xFFFF &&
           std::strcmp(policy, CERT_CHAIN_POLICY_TIME_STAMP) == 0;
}

} // namespace

BOOL CertVerifyCertificateChainPolicy(LPCSTR pszPolicyOID, PCCERT_CHAIN_CONTEXT pChainContext,
                                      CERT_CHAIN_POLICY_PARA* pPolicyPara,
                                      CERT_CHAIN_POLICY_STATUS* pPolicyStatus) {
    return guarded(FALSE, [&] {
        require(pChainContext != nullptr && pPolicyStatus != nullptr);
        require(pPolicyPara == nullptr || pPolicyPara->cbSize >= sizeof *pPolicyPara);
        const Chain& chain = *static_cast<const Chain*>(pChainContext);
        Verdict verdict;
        if (is_time_stamp_policy(pszPolicyOID)) {
            verdict = judge_time_stamp(chain, pPolicyPara);
        } else if (pszPolicyOID == CERT_CHAIN_POLICY_BASE) {
            verdict = judge_base(chain, pPolicyPara != nullptr ? pPolicyPara->dwFlags : 0);
        } else {
            fail(ERROR_FILE_NOT_FOUND);
        }
        pPolicyStatus->dwError = verdict.code;
        pPolicyStatus->lChainIndex = verdict.good() ? -1 : 0;
        pPolicyStatus->lElementIndex = verdict.element;
        return TRUE;
    });
}
