#include "basalt20/chain/chain_context.h"

#include "basalt20/chain/chain_errors.h"
#include "basalt20/revocation/revocation_mode.h"

#include <openssl/x509v3.h>

namespace basalt {

namespace {

constexpr DWORD kRevocationFlags = CERT_CHAIN_REVOCATION_CHECK_END_CERT |
                                   CERT_CHAIN_REVOCATION_CHECK_CHAIN |
                                   CERT_CHAIN_REVOCATION_CHECK_CHAIN_EXCLUDE_ROOT;
constexpr DWORD kNoFetchFlags =
    CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL | CERT_CHAIN_REVOCATION_CHECK_CACHE_ONLY;

bool is_valid_at(const CERT_INFO& info, FileTicks at) {
    return ticks_of(info.NotBefore) <= at && at <= ticks_of(info.NotAfter);
}

} // namespace

Chain::Chain(const ChainRequest& request)
    : CERT_CHAIN_CONTEXT{}, end_(duplicate(request.end)),
      additional_(duplicate_store(request.additional)), at_(request.at), flags_(request.flags),
      path_(find_path(request.end, request.at, request.additional)) {
    search_revocation();
    fill_records();
}

Chain* Chain::rebuilt_for(FileTicks at) const {
    return new Chain({end_.get(), at, additional_.get(), flags_});
}

bool Chain::checks_revocation(std::size_t element) const {
    if ((flags_ & kRevocationFlags) == 0 || revocation_mode() == RevocationMode::off) {
        return false;
    }
    const bool end_only = (flags_ & (CERT_CHAIN_REVOCATION_CHECK_CHAIN |
                                     CERT_CHAIN_REVOCATION_CHECK_CHAIN_EXCLUDE_ROOT)) == 0;
    // The last one has no issuer here: an anchor is trusted by itself, and of an incomplete chain
    // nothing above is known.
    return element + 1 < path_.elements.size() && (!end_only || element == 0);
}

void Chain::search_revocation() {
    revocation_.resize(path_.elements.size());
    if ((flags_ & kRevocationFlags) != 0) {
        authorities_.reset(CertOpenStore(CERT_STORE_PROV_SYSTEM_A, 0, 0,
                                         CERT_SYSTEM_STORE_CURRENT_USER | CERT_STORE_READONLY_FLAG,
                                         "CA"));
    }
    for (std::size_t i = 0; i < path_.elements.size(); ++i) {
        if (checks_revocation(i)) {
            const PathElement& element = path_.elements[i];
            revocation_[i] = std::make_unique<RevocationSearch>(
                element.certificate.get(), element.openssl(), path_.elements[i + 1].openssl(),
                std::vector<HCERTSTORE>{additional_.get(), authorities_.get()});
        }
    }
}

RevocationStatus Chain::revocation_at(std::size_t element, FileTicks at) const {
    if (!revocation_[element]) {
        return RevocationStatus::no_source;
    }
    const std::lock_guard lock(revocation_mutex_);
    const RevocationFindings& findings =
        revocation_[element]->findings(at, (flags_ & kNoFetchFlags) == 0);
    const RevocationStatus status = findings.status_at(at, element == 0);
    return status == RevocationStatus::offline && revocation_mode() == RevocationMode::available
               ? RevocationStatus::good
               : status;
}

DWORD Chain::revocation_bits(std::size_t index, Record& record) const {
    if (!revocation_[index]) {
        return 0;
    }
    CERT_REVOCATION_INFO& info = record.revocation;
    info.cbSize = sizeof info;
    record.element.pRevocationInfo = &info;
    switch (revocation_at(index, at_)) {
    case RevocationStatus::good:
        return 0;
    case RevocationStatus::revoked:
        info.dwRevocationResult = CRYPT_E_REVOKED;
        return CERT_TRUST_IS_REVOKED;
    case RevocationStatus::offline:
        info.dwRevocationResult = CRYPT_E_REVOCATION_OFFLINE;
        return CERT_TRUST_REVOCATION_STATUS_UNKNOWN | CERT_TRUST_IS_OFFLINE_REVOCATION;
    case RevocationStatus::no_source:
        // Not an error bit: a certificate that names no source passes.
        info.dwRevocationResult = CRYPT_E_NO_REVOCATION_CHECK;
        return 0;
    }
    return 0;
}

void Chain::fill_element(std::size_t index) {
    const PathElement& source = path_.elements[index];
    Record& record = records_[index];
    CERT_CHAIN_ELEMENT& element = record.element;
    element.cbSize = sizeof element;
    element.pCertContext = source.certificate.get();
    for (const int error : source.errors) {
        element.TrustStatus.dwErrorStatus |= trust_bit_of(error);
    }
    if (!is_valid_at(*source.certificate->pCertInfo, at_)) {
        element.TrustStatus.dwErrorStatus |= CERT_TRUST_IS_NOT_TIME_VALID;
    }
    element.TrustStatus.dwErrorStatus |= revocation_bits(index, record);
    if ((X509_get_extension_flags(source.openssl()) & EXFLAG_SS) != 0) {
        element.TrustStatus.dwInfoStatus |= CERT_TRUST_IS_SELF_SIGNED;
    }
    element.TrustStatus.dwInfoStatus |= CERT_TRUST_HAS_NAME_MATCH_ISSUER;
}

void Chain::fill_records() {
    records_.resize(path_.elements.size());
    for (std::size_t i = 0; i < records_.size(); ++i) {
        fill_element(i);
        element_pointers_.push_back(&records_[i].element);
        simple_.TrustStatus.dwErrorStatus |= records_[i].element.TrustStatus.dwErrorStatus;
    }
    if (!path_.ends_in_anchor) {
        const bool has_root =
            (element_pointers_.back()->TrustStatus.dwInfoStatus & CERT_TRUST_IS_SELF_SIGNED) != 0;
        const DWORD bit = has_root ? CERT_TRUST_IS_UNTRUSTED_ROOT : CERT_TRUST_IS_PARTIAL_CHAIN;
        simple_.TrustStatus.dwErrorStatus |= bit;
        if (has_root) {
            element_pointers_.back()->TrustStatus.dwErrorStatus |= bit;
        }
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
