// Chain policies: one verdict over a chain. The base policy judges at the time that the chain was
// built for, the time-stamp policy at the check time in its extra record.
#include <basalt/chain.h>
#include <basalt/chain/chain_context.h>
#include <basalt/chain/chain_errors.h>

#include <cstring>

using namespace basalt;

namespace {

struct Verdict {
    DWORD code = 0;
    LONG element = -1; // -1: the chain as a whole

    bool good() const { return code == 0; }
};

// Of constraints, strength, signatures and issuers. What wasn't looked at to the end isn't told.
Verdict structure_verdict(const Judgement& judgement) {
    if (judgement.cut_short) {
        return {kTooCostly, -1};
    }
    for (std::size_t i = 0; i < judgement.elements.size(); ++i) {
        const std::vector<int>& errors = judgement.elements[i].errors;
        if (!errors.empty()) {
            return {policy_code_of(errors.front()), static_cast<LONG>(i)};
        }
    }
    const bool is_whole = judgement.ends_in_anchor && judgement.judged_to > JudgedTo::structure;
    return is_whole ? Verdict{} : Verdict{CERT_E_CHAINING, -1};
}

Verdict first_of(const Judgement& judgement, bool JudgedElement::*fault, DWORD code) {
    for (std::size_t i = 0; i < judgement.elements.size(); ++i) {
        if (judgement.elements[i].*fault) {
            return {code, static_cast<LONG>(i)};
        }
    }
    return {};
}

Verdict revocation_verdict(const Judgement& judgement) {
    Verdict unknown;
    for (std::size_t i = 0; i < judgement.elements.size(); ++i) {
        const JudgedElement& element = judgement.elements[i];
        const bool is_revoked = element.status && element.status->standing == Standing::revoked;
        if (is_revoked || element.key_is_compromised) {
            return {CRYPT_E_REVOKED, static_cast<LONG>(i)};
        }
        if (unknown.good() && (!element.status_passes || element.is_accused)) {
            unknown = {element.status_passes ? CRYPT_E_REVOCATION_OFFLINE
                                             : code_of_unknown(*element.status),
                       static_cast<LONG>(i)};
        }
    }
    return unknown;
}

// What the caller may want to know of a revocation beside the code.
void tell_revocation(const Judgement& judgement, const Verdict& verdict,
                     CERT_CHAIN_POLICY_STATUS& status) {
    auto* extra = static_cast<BASALT_TIME_STAMP_POLICY_STATUS*>(status.pvExtraPolicyStatus);
    if (extra == nullptr) {
        return;
    }
    require(extra->cbSize >= sizeof *extra);
    *extra = {sizeof *extra, FALSE, {}, BASALT_REASON_NONE};
    if (verdict.code != CRYPT_E_REVOKED) {
        return;
    }
    const JudgedElement& element = judgement.elements[static_cast<std::size_t>(verdict.element)];
    if (element.status && element.status->standing == Standing::revoked) {
        extra->fRevokedLater = element.status->revoked_later ? TRUE : FALSE;
        extra->ftRevoked = file_time_of(element.status->revoked_at);
        extra->dwReason = element.status->reason ? static_cast<DWORD>(*element.status->reason)
                                                 : BASALT_REASON_NONE;
    }
}

FileTicks check_time(const Chain& chain, const CERT_CHAIN_POLICY_PARA* para) {
    if (para != nullptr && para->pvExtraPolicyPara != nullptr) {
        const auto* extra =
            static_cast<const BASALT_TIME_STAMP_POLICY_PARA*>(para->pvExtraPolicyPara);
        require(extra->cbSize >= sizeof *extra);
        if (extra->pCheckTime != nullptr) {
            return ticks_of(*extra->pCheckTime);
        }
    }
    return chain.session().now();
}

// Judged for this use: another path may be the right one for another moment, such as through the
// one of two certificates of an authority that was in force then.
Verdict judge_time_stamp(const Chain& chain, const CERT_CHAIN_POLICY_PARA* para,
                         CERT_CHAIN_POLICY_STATUS& status) {
    UsageQuestion usage;
    usage.is_time_stamp = true;
    const Judgement judgement = chain.judge(check_time(chain, para), usage);
    Verdict verdict = structure_verdict(judgement);
    if (verdict.good()) {
        verdict = first_of(judgement, &JudgedElement::out_of_time, CERT_E_EXPIRED);
    }
    if (verdict.good()) {
        verdict = first_of(judgement, &JudgedElement::misused, CERT_E_WRONG_USAGE);
    }
    if (verdict.good()) {
        verdict = revocation_verdict(judgement);
    }
    tell_revocation(judgement, verdict, status);
    return verdict;
}

Verdict judge_base(const Chain& chain, DWORD flags) {
    const Judgement& judgement = chain.judgement();
    Verdict verdict = structure_verdict(judgement);
    const bool unknown_ca = verdict.code == CERT_E_UNTRUSTEDROOT || verdict.code == CERT_E_CHAINING;
    if (!verdict.good() &&
        !(unknown_ca && (flags & CERT_CHAIN_POLICY_ALLOW_UNKNOWN_CA_FLAG) != 0)) {
        return verdict;
    }
    verdict = {};
    if ((flags & CERT_CHAIN_POLICY_IGNORE_NOT_TIME_VALID_FLAG) == 0) {
        verdict = first_of(judgement, &JudgedElement::out_of_time, CERT_E_EXPIRED);
    }
    if (verdict.good()) {
        verdict = first_of(judgement, &JudgedElement::misused, CERT_E_WRONG_USAGE);
    }
    if (!verdict.good()) {
        return verdict;
    }
    verdict = revocation_verdict(judgement);
    const bool is_unknown = !verdict.good() && verdict.code != CRYPT_E_REVOKED;
    return is_unknown && (flags & CERT_CHAIN_POLICY_IGNORE_ALL_REV_UNKNOWN_FLAGS) != 0 ? Verdict{}
                                                                                       : verdict;
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
            verdict = judge_time_stamp(chain, pPolicyPara, *pPolicyStatus);
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
