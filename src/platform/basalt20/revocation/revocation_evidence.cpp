#include "basalt20/revocation/revocation_evidence.h"

#include <algorithm>

namespace basalt {

namespace {

// For a statement that doesn't say when the next one comes.
constexpr FileTicks kUndatedLife = FileTicks{24} * 3600 * kTicksPerSecond;

// CRLReason numbers.
constexpr int kKeyCompromise = 1;
constexpr int kCaCompromise = 2;
constexpr int kCertificateHold = 6;
constexpr int kAaCompromise = 10;

bool counts_backward(std::optional<int> reason, bool is_signer) {
    if (!reason) {
        return is_signer;
    }
    switch (*reason) {
    case kKeyCompromise:
    case kCaCompromise:
    case kAaCompromise:
        return true;
    case kCertificateHold:
        return is_signer;
    default:
        return false;
    }
}

} // namespace

bool RevocationEvidence::covers(FileTicks at) const {
    if (this_update > at) {
        return true;
    }
    return at <= next_update.value_or(this_update + kUndatedLife);
}

bool RevocationFindings::covers(FileTicks at) const {
    return std::any_of(evidence.begin(), evidence.end(),
                       [at](const RevocationEvidence& e) { return e.covers(at); });
}

RevocationStatus RevocationFindings::status_at(FileTicks at, bool is_signer) const {
    bool covered = false;
    for (const RevocationEvidence& e : evidence) {
        covered = covered || e.covers(at);
        // A hold may have been lifted since, so it counts only while its statement does.
        const bool lasting = e.reason != kCertificateHold || e.covers(at);
        if (e.revoked && lasting && (e.revoked_at <= at || counts_backward(e.reason, is_signer))) {
            return RevocationStatus::revoked;
        }
    }
    if (covered) {
        return RevocationStatus::good;
    }
    return source_named ? RevocationStatus::offline : RevocationStatus::no_source;
}

} // namespace basalt
