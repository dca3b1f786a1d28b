// Chains by an engine handle of the platform.
#include <chronoseal/seal/chain_engine.h>

#include <array>

#include <basalt/error_codes.h>
#include <chronoseal/seal/certificate_info.h>
#include <chronoseal/seal/failure.h>
#include <chronoseal/seal/platform_text.h>

namespace chronoseal {

namespace {

constexpr char kDoing[] = "judge the chain";

struct ChainDeleter {
    void operator()(const CERT_CHAIN_CONTEXT* chain) const noexcept {
        CertFreeCertificateChain(chain);
    }
};
using Chain = std::unique_ptr<const CERT_CHAIN_CONTEXT, ChainDeleter>;

struct BitWord {
    DWORD bit;
    const char* word;
};

constexpr BitWord kWords[] = {
    {CERT_TRUST_IS_NOT_TIME_VALID, "certificate_expired"},
    {CERT_TRUST_IS_REVOKED, "revoked"},
    {CERT_TRUST_IS_NOT_SIGNATURE_VALID, "certificate_signature_bad"},
    {CERT_TRUST_IS_NOT_VALID_FOR_USAGE, "usage_wrong"},
    {CERT_TRUST_IS_UNTRUSTED_ROOT, "root_untrusted"},
    {CERT_TRUST_REVOCATION_STATUS_UNKNOWN, "revocation_unknown"},
    {CERT_TRUST_IS_CYCLIC, "chain_incomplete"},
    {CERT_TRUST_INVALID_EXTENSION, "malformed"},
    {CERT_TRUST_INVALID_POLICY_CONSTRAINTS, "policy_constraints"},
    {CERT_TRUST_INVALID_BASIC_CONSTRAINTS, "not_an_issuer"},
    {CERT_TRUST_INVALID_NAME_CONSTRAINTS, "name_constraints"},
    {CERT_TRUST_HAS_NOT_SUPPORTED_NAME_CONSTRAINT, "name_constraints"},
    {CERT_TRUST_IS_PARTIAL_CHAIN, "chain_incomplete"},
    {CERT_TRUST_HAS_WEAK_SIGNATURE, "strength_too_low"},
    {CERT_TRUST_IS_OFFLINE_REVOCATION, "revocation_offline"},
    {CERT_TRUST_NO_ISSUANCE_CHAIN_POLICY, "policy_constraints"},
    {CERT_TRUST_IS_EXPLICIT_DISTRUST, "distrusted"},
    {CERT_TRUST_HAS_NOT_SUPPORTED_CRITICAL_EXT, "extension_critical"},
};

constexpr std::array<const char*, 11> kReasons{
    "unspecified",   "keyCompromise",        "cACompromise",    "affiliationChanged",
    "superseded",    "cessationOfOperation", "certificateHold", "reason 7",
    "removeFromCRL", "privilegeWithdrawn",   "aACompromise"};

std::string ascii_of(std::wstring_view text) {
    std::string ascii;
    for (const wchar_t c : text) {
        ascii += static_cast<char>(c);
    }
    return ascii;
}

bool is_set(FILETIME time) {
    return time.dwHighDateTime != 0 || time.dwLowDateTime != 0;
}

std::optional<Time> optional_time(FILETIME time) {
    return is_set(time) ? std::optional(time_of(time)) : std::nullopt;
}

Evidence evidence_of(const BASALT_REVOCATION_EVIDENCE& source) {
    Evidence evidence;
    evidence.kind = source.dwKind == BASALT_EVIDENCE_OCSP ? EvidenceKind::ocsp_answer
                                                          : EvidenceKind::revocation_list;
    evidence.source = source.dwSource == BASALT_EVIDENCE_FROM_NETWORK ? EvidenceSource::network
                      : source.dwSource == BASALT_EVIDENCE_FROM_CACHE ? EvidenceSource::cache
                                                                      : EvidenceSource::given;
    evidence.this_update = time_of(source.ftThisUpdate);
    evidence.next_update = optional_time(source.ftNextUpdate);
    evidence.revoked = optional_time(source.ftRevoked);
    if (evidence.revoked && source.dwReason != BASALT_REASON_NONE) {
        evidence.reason = source.dwReason < kReasons.size()
                              ? kReasons[source.dwReason]
                              : "reason " + std::to_string(source.dwReason);
    }
    evidence.url = source.pszUrl != nullptr ? source.pszUrl : "";
    evidence.der = copy_of(source.pbEncoded, source.cbEncoded);
    evidence.sha256 = sha256_of(evidence.der);
    return evidence;
}

RevocationState state_of(const CERT_REVOCATION_INFO* info) {
    if (info == nullptr) {
        return RevocationState::not_checked;
    }
    switch (info->dwRevocationResult) {
    case 0:
        return RevocationState::good;
    case CRYPT_E_REVOKED:
        return RevocationState::revoked;
    default:
        return RevocationState::unknown;
    }
}

ChainLink link_of(const CERT_CHAIN_ELEMENT& element) {
    ChainLink link;
    link.certificate = certificate_info(element.pCertContext);
    link.faults = fault_words(element.TrustStatus.dwErrorStatus);
    link.revocation = state_of(element.pRevocationInfo);
    const auto* next = element.pRevocationInfo == nullptr
                           ? nullptr
                           : static_cast<const BASALT_REVOCATION_EVIDENCE*>(
                                 element.pRevocationInfo->pvOidSpecificInfo);
    for (; next != nullptr; next = next->pNext) {
        link.evidence.push_back(evidence_of(*next));
    }
    return link;
}

std::uint32_t policy_code(const CERT_CHAIN_CONTEXT* chain, const FILETIME& at) {
    BASALT_TIME_STAMP_POLICY_PARA extra{};
    extra.cbSize = sizeof extra;
    extra.pCheckTime = &at;
    CERT_CHAIN_POLICY_PARA parameter{};
    parameter.cbSize = sizeof parameter;
    parameter.dwFlags = CERT_CHAIN_POLICY_TIME_STAMP_CLIENT_FLAG;
    parameter.pvExtraPolicyPara = &extra;
    CERT_CHAIN_POLICY_STATUS status{};
    status.cbSize = sizeof status;
    if (CertVerifyCertificateChainPolicy(CERT_CHAIN_POLICY_TIME_STAMP, chain, &parameter,
                                         &status) == 0) {
        throw error_of_last(kDoing);
    }
    return status.dwError;
}

DWORD revocation_mode(Revocation mode) {
    switch (mode) {
    case Revocation::require:
        return BASALT_REVOCATION_REQUIRE;
    case Revocation::available:
        return BASALT_REVOCATION_AVAILABLE;
    case Revocation::off:
        return BASALT_REVOCATION_OFF;
    default:
        return BASALT_REVOCATION_DEFAULT;
    }
}

DWORD strength(Strength wanted) {
    switch (wanted) {
    case Strength::floor:
        return BASALT_STRENGTH_FLOOR;
    case Strength::current:
        return BASALT_STRENGTH_CURRENT;
    default:
        return BASALT_STRENGTH_DEFAULT;
    }
}

} // namespace

ChainEngine::ChainEngine(const Trust& trust, std::optional<Time> as_of, HCERTSTORE roots,
                         HCERTSTORE extra, Reach reach) {
    const FILETIME now = as_of ? file_time_of(*as_of) : FILETIME{};
    BASALT_CHAIN_ENGINE_CONFIG config{};
    config.Base.cbSize = sizeof config;
    config.Base.hExclusiveRoot = roots;
    config.Base.cAdditionalStore = 1;
    config.Base.rghAdditionalStore = &extra;
    config.Base.dwFlags = (trust.offline ? CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL : 0) |
                          (reach == Reach::given_only ? BASALT_CHAIN_GIVEN_ONLY : 0);
    config.dwRevocationMode = revocation_mode(trust.revocation);
    config.dwStrength = strength(trust.strength);
    config.pNow = as_of ? &now : nullptr;
    if (CertCreateCertificateChainEngine(&config.Base, &handle_) == 0) {
        throw error_of_last("set up the judgement of chains");
    }
}

ChainEngine::~ChainEngine() {
    CertFreeCertificateChainEngine(handle_);
}

ChainJudgement ChainEngine::judge(PCCERT_CONTEXT certificate, Time at, HCERTSTORE store,
                                  Asking asking) const {
    FILETIME time = file_time_of(at);
    char time_stamping[] = "1.3.6.1.5.5.7.3.8";
    char* usages[] = {time_stamping};
    BASALT_FETCHING_CHAIN_PARA parameter{};
    // For the policy's own use, so that the links are those of the path that it judges: what an
    // authority for other uses says of a key isn't heard.
    parameter.Base.Base.RequestedUsage.dwType = USAGE_MATCH_TYPE_AND;
    parameter.Base.Base.RequestedUsage.Usage = {1, usages};
    parameter.Base.Base.cbSize = sizeof parameter;
    parameter.hFetching = asking.together != nullptr ? asking.together->get() : nullptr;
    const DWORD flags = CERT_CHAIN_REVOCATION_CHECK_CHAIN_EXCLUDE_ROOT |
                        CERT_CHAIN_DISABLE_AUTH_ROOT_AUTO_UPDATE |
                        (asking.allowed ? 0 : CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL);
    const CERT_CHAIN_CONTEXT* built = nullptr;
    if (CertGetCertificateChain(handle_, certificate, &time, store, &parameter.Base.Base, flags,
                                nullptr, &built) == 0) {
        throw error_of_last(kDoing);
    }
    const Chain chain(built);
    ChainJudgement judgement;
    judgement.trust_bits = chain->TrustStatus.dwErrorStatus;
    judgement.condemned = (chain->TrustStatus.dwInfoStatus & BASALT_TRUST_IS_CONDEMNED) != 0;
    judgement.aged = (chain->TrustStatus.dwInfoStatus & BASALT_TRUST_HAS_AGED_STRENGTH) != 0;
    judgement.code = policy_code(chain.get(), time);
    if (chain->cChain != 0) {
        const CERT_SIMPLE_CHAIN& path = *chain->rgpChain[0];
        for (DWORD i = 0; i < path.cElement; ++i) {
            const CERT_CHAIN_ELEMENT& element = *path.rgpElement[i];
            judgement.links.push_back(link_of(element));
            judgement.unreached.push_back(element.pwszExtendedErrorInfo != nullptr
                                              ? ascii_of(element.pwszExtendedErrorInfo)
                                              : std::string());
            if (!judgement.accused &&
                (element.TrustStatus.dwInfoStatus & BASALT_TRUST_KEY_IS_ACCUSED) != 0) {
                judgement.accused = i;
            }
            judgement.aged |=
                (element.TrustStatus.dwInfoStatus & BASALT_TRUST_HAS_AGED_STRENGTH) != 0;
        }
    }
    constexpr DWORD kNoAnchor = CERT_TRUST_IS_PARTIAL_CHAIN | CERT_TRUST_IS_UNTRUSTED_ROOT;
    if (!judgement.links.empty() && (judgement.trust_bits & kNoAnchor) == 0) {
        judgement.links.back().anchor = true;
    }
    return judgement;
}

std::vector<std::string> fault_words(std::uint32_t trust_bits) {
    std::vector<std::string> words;
    for (const BitWord& row : kWords) {
        if ((trust_bits & row.bit) != 0) {
            words.emplace_back(row.word);
        }
    }
    return words;
}

} // namespace chronoseal
