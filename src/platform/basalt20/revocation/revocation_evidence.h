// What is known of one certificate's revocation, and the verdict at a moment in the past or now.
#pragma once

#include "basalt20/coding/file_ticks.h"

#include <optional>
#include <vector>

namespace basalt {

// One authentic statement, from a CRL or an OCSP answer.
struct RevocationEvidence {
    FileTicks this_update = 0;
    std::optional<FileTicks> next_update;
    bool revoked = false;
    FileTicks revoked_at = 0;  // of a revoked one
    std::optional<int> reason; // CRLReason (RFC 5280, 5.3.1); nothing when not told

    // True when this says something about the moment `at`: the statement was in force then, or was
    // made later.
    bool covers(FileTicks at) const;
};

enum class RevocationStatus {
    good,
    revoked,
    no_source, // the certificate names none, and nothing lies at hand
    offline,   // a source is named, and no statement that covers the moment could be had
};

struct RevocationFindings {
    bool source_named = false;
    std::vector<RevocationEvidence> evidence;

    bool covers(FileTicks at) const;

    // The verdict at `at`. A revocation before then always counts. One after it counts when the key
    // may have been another's before anyone knew (keyCompromise, cACompromise, aACompromise); and
    // for the certificate of a time-stamp authority (`is_signer`) also when no reason is told, or
    // hold is the reason: only a change of business (unspecified, affiliationChanged, superseded,
    // cessationOfOperation, privilegeWithdrawn) leaves what it signed earlier good (RFC 3161, 4,
    // item 1).
    RevocationStatus status_at(FileTicks at, bool is_signer) const;
};

} // namespace basalt
