#include <basalt/chain/chain_context.h>

#include <basalt/chain/chain_errors.h>
#include <basalt/store/record.h>

#include <algorithm>

namespace basalt {

namespace {

constexpr DWORD kNoFetchFlags =
    CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL | CERT_CHAIN_REVOCATION_CHECK_CACHE_ONLY;

RevocationScope scope_of(DWORD flags) {
    if ((flags & (CERT_CHAIN_REVOCATION_CHECK_CHAIN |
                  CERT_CHAIN_REVOCATION_CHECK_CHAIN_EXCLUDE_ROOT)) != 0) {
        return RevocationScope::all_but_anchor;
    }
    return (flags & CERT_CHAIN_REVOCATION_CHECK_END_CERT) != 0 ? RevocationScope::end_only
                                                               : RevocationScope::none;
}

DWORD revocation_bits(const JudgedElement& element) {
    if (element.key_is_compromised) {
        return CERT_TRUST_IS_REVOKED;
    }
    if (!element.status || element.status_passes) {
        return element.is_accused
                   ? CERT_TRUST_REVOCATION_STATUS_UNKNOWN | CERT_TRUST_IS_OFFLINE_REVOCATION
                   : DWORD{0};
    }
    if (element.status->standing == Standing::revoked) {
        return CERT_TRUST_IS_REVOKED;
    }
    const DWORD code = code_of_unknown(*element.status);
    return CERT_TRUST_REVOCATION_STATUS_UNKNOWN |
           (code == CRYPT_E_REVOCATION_OFFLINE ? CERT_TRUST_IS_OFFLINE_REVOCATION : DWORD{0});
}

DWORD error_bits(const JudgedElement& element) {
    DWORD bits = revocation_bits(element);
    for (const int error : element.errors) {
        bits |= trust_bit_of(error);
    }
    if (element.out_of_time) {
        bits |= CERT_TRUST_IS_NOT_TIME_VALID;
    }
    if (element.misused) {
        bits |= CERT_TRUST_IS_NOT_VALID_FOR_USAGE;
    }
    return bits;
}

DWORD info_bits(const JudgedElement& element) {
    return CERT_TRUST_HAS_NAME_MATCH_ISSUER |
           (is_self_signed(*element.certificate) ? CERT_TRUST_IS_SELF_SIGNED : DWORD{0}) |
           (element.aged ? BASALT_TRUST_HAS_AGED_STRENGTH : DWORD{0}) |
           (element.is_accused ? BASALT_TRUST_KEY_IS_ACCUSED : DWORD{0});
}

} // namespace

Chain* Chain::build(ChainSettings settings, ChainRequest request) {
    struct Release {
        void operator()(Chain* chain) const noexcept { chain->release(); }
    };
    std::unique_ptr<Chain, Release> chain(new Chain(std::move(settings), request));
    chain->now_ = chain->session_->now();
    chain->at_ = request.at ? *request.at : chain->now_;
    chain->usage_ = std::move(request.usage);
    chain->judgement_ = chain->session_->judge(chain->at_, chain->usage_);
    chain->fill_records();
    return chain.release();
}

// Whether the session would find the same good path, and as good, if it were asked anew for the
// same use or a narrower one: nothing was asked of it since, and next to no time has gone by.
bool Chain::still_holds(FileTicks at, const UsageQuestion& usage) const {
    constexpr FileTicks kNextToNothing = 10'000'000; // a second
    const FileTicks now = session_->now();
    return judgement_.good() && implies(usage, usage_) && session_->answered_for(usage) &&
           at == at_ && now >= now_ && now - now_ < kNextToNothing && !judged_again_;
}

Judgement Chain::judge(FileTicks at, const UsageQuestion& usage) const {
    if (still_holds(at, usage)) {
        // A narrower use only takes paths away: those before this one weren't good without it.
        Path path;
        for (const JudgedElement& element : judgement_.elements) {
            path.push_back(element.certificate);
        }
        const std::vector<bool> used_wrong = misused(path, usage);
        if (std::find(used_wrong.begin(), used_wrong.end(), true) == used_wrong.end()) {
            return judgement_;
        }
    }
    judged_again_ = true;
    return session_->judge(at, usage);
}

Chain::Chain(ChainSettings settings, const ChainRequest& request)
    : CERT_CHAIN_CONTEXT{}, end_(duplicate(request.end)) {
    if (request.additional != nullptr) {
        additional_ = duplicate_store(request.additional);
        require(additional_ != nullptr, ERROR_INVALID_HANDLE);
    }
    SessionRequest question;
    question.end = CertificateRecord::of(request.end).shared_item();
    question.additional = additional_.get();
    question.policies = request.policies;
    question.revocation = scope_of(request.flags);
    question.may_fetch = (request.flags & kNoFetchFlags) == 0;
    session_ = std::make_unique<ChainSession>(std::move(settings), std::move(question));
}

namespace {

BASALT_REVOCATION_EVIDENCE record_of(const DecidingEvidence& decided) {
    BASALT_REVOCATION_EVIDENCE evidence{};
    evidence.cbSize = sizeof evidence;
    evidence.dwKind =
        decided.kind == EvidenceKind::crl ? BASALT_EVIDENCE_CRL : BASALT_EVIDENCE_OCSP;
    switch (decided.source) {
    case EvidenceSource::given:
        evidence.dwSource = BASALT_EVIDENCE_FROM_STORE;
        break;
    case EvidenceSource::cache:
        evidence.dwSource = BASALT_EVIDENCE_FROM_CACHE;
        break;
    case EvidenceSource::network:
        evidence.dwSource = BASALT_EVIDENCE_FROM_NETWORK;
        break;
    }
    evidence.ftThisUpdate = file_time_of(decided.this_update);
    evidence.ftNextUpdate = file_time_of(decided.next_update.value_or(0));
    evidence.dwReason = BASALT_REASON_NONE;
    if (!decided.encoded.empty()) {
        evidence.cbEncoded = static_cast<DWORD>(decided.encoded.size());
        evidence.pbEncoded = const_cast<BYTE*>(decided.encoded.data());
    }
    evidence.pszUrl = decided.url.empty() ? nullptr : decided.url.c_str();
    return evidence;
}

} // namespace

void Chain::fill_evidence(const StatusFinding& finding, Record& record) {
    if (finding.evidence.empty()) {
        return;
    }
    for (const DecidingEvidence& decided : finding.evidence) {
        record.evidence.push_back(record_of(decided));
    }
    for (std::size_t i = 0; i + 1 < record.evidence.size(); ++i) {
        record.evidence[i].pNext = &record.evidence[i + 1];
    }
    BASALT_REVOCATION_EVIDENCE& first = record.evidence.front();
    first.ftRevoked = file_time_of(finding.revoked_at);
    first.dwReason = finding.reason ? static_cast<DWORD>(*finding.reason) : BASALT_REASON_NONE;
    record.revocation.pvOidSpecificInfo = &first;
    const FileTicks made = finding.evidence.front().this_update;
    const FileTicks now = session_->now();
    if (made <= now) {
        record.revocation.fHasFreshnessTime = TRUE;
        record.revocation.dwFreshnessTime = static_cast<DWORD>((now - made) / kTicksPerSecond);
    }
}

void Chain::fill_revocation(const JudgedElement& source, Record& record) {
    if (!source.status) {
        return;
    }
    CERT_REVOCATION_INFO& info = record.revocation;
    info.cbSize = sizeof info;
    record.element.pRevocationInfo = &info;
    const std::string& unreached =
        source.status->unreached.empty() ? source.unreached : source.status->unreached;
    if (!unreached.empty()) { // ASCII, as every address that is asked
        record.unreached.assign(unreached.begin(), unreached.end());
        record.element.pwszExtendedErrorInfo = record.unreached.c_str();
    }
    switch (source.status->standing) {
    case Standing::good:
        break;
    case Standing::revoked:
        info.dwRevocationResult = CRYPT_E_REVOKED;
        break;
    case Standing::unknown:
        info.dwRevocationResult = code_of_unknown(*source.status);
        break;
    }
    fill_evidence(*source.status, record);
}

void Chain::fill_element(std::size_t index) {
    const JudgedElement& source = judgement_.elements[index];
    Record& record = records_[index];
    record.certificate =
        index == 0 ? duplicate(end_.get())
                   : CertificateReference(CertificateRecord::make(source.certificate->item));
    CERT_CHAIN_ELEMENT& element = record.element;
    element.cbSize = sizeof element;
    element.pCertContext = record.certificate.get();
    element.TrustStatus.dwErrorStatus = error_bits(source);
    element.TrustStatus.dwInfoStatus = info_bits(source);
    fill_revocation(source, record);
}

void Chain::fill_records() {
    records_.resize(judgement_.elements.size());
    for (std::size_t i = 0; i < records_.size(); ++i) {
        fill_element(i);
        element_pointers_.push_back(&records_[i].element);
        simple_.TrustStatus.dwErrorStatus |= records_[i].element.TrustStatus.dwErrorStatus;
        simple_.TrustStatus.dwInfoStatus |=
            records_[i].element.TrustStatus.dwInfoStatus & BASALT_TRUST_HAS_AGED_STRENGTH;
    }
    if (judgement_.cut_short) {
        // This way up is, and another may not be.
        simple_.TrustStatus.dwErrorStatus &= ~CERT_TRUST_IS_REVOKED;
        simple_.TrustStatus.dwErrorStatus |= judgement_.ends_in_anchor
                                                 ? CERT_TRUST_REVOCATION_STATUS_UNKNOWN
                                                 : CERT_TRUST_IS_PARTIAL_CHAIN;
    }
    if (judgement_.condemned) {
        simple_.TrustStatus.dwInfoStatus |= BASALT_TRUST_IS_CONDEMNED;
    }
    simple_.cbSize = sizeof simple_;
    simple_.cElement = static_cast<DWORD>(element_pointers_.size());
    simple_.rgpElement = element_pointers_.data();
    simple_pointers_[0] = &simple_;
    cbSize = sizeof(CERT_CHAIN_CONTEXT);
    TrustStatus = simple_.TrustStatus;
    cChain = 1;
    rgpChain = simple_pointers_.data();
}

} // namespace basalt
