// Whether one certificate of a trusted path was revoked: gathers lists and answers from what was
// given, from the cache and from the addresses that the certificate names, and asks the rule after
// each source. One object a verdict, for one thread; it keeps what it has read and verified, so
// that the same list serves several certificates and paths. Nothing fails but for lack of memory:
// what can't be used leaves the question open.
#pragma once

#include <basalt/certificate/strength.h>
#include <basalt/coding/file_ticks.h>
#include <basalt/revocation/budget.h>
#include <basalt/revocation/evidence_item.h>
#include <basalt/revocation/retrieval.h>
#include <basalt/revocation/revocation_mode.h>
#include <basalt/revocation/rule.h>
#include <basalt/revocation/signer_paths.h>
#include <basalt/store.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace basalt {

// The list or answer that decided.
struct DecidingEvidence {
    EvidenceKind kind = EvidenceKind::crl;
    EvidenceSource source = EvidenceSource::given;
    FileTicks this_update = 0;
    std::optional<FileTicks> next_update;
    Bytes encoded;                      // CertificateList or OCSPResponse
    std::shared_ptr<const void> keeper; // of the encoded bytes
    std::string url;                    // empty for what was given
};

// Adds those that aren't among the known ones yet.
void add_unknown(std::vector<DecidingEvidence>& known, const std::vector<DecidingEvidence>& more);

struct StatusFinding {
    Standing standing = Standing::unknown;
    std::optional<int> reason; // CRLReason of these, nothing when not told
    FileTicks revoked_at = 0;  // of a revoked one, or one of which a hold is in doubt
    // Revoked after the stamp's time, for a reason that voids what was signed before, too.
    bool revoked_later = false;
    // Revoked by a hold, and there are sources that weren't asked whether it was lifted since.
    bool may_be_lifted = false;
    UnknownCause cause = UnknownCause::no_source;
    std::string unreached; // of an unknown one: the first address that gave nothing
    // Of an unknown one, by exhaustion: nothing was left out but what is authentic and revokes, and
    // whose signer isn't trusted or isn't at hand.
    bool is_disputed = false;
    // Of an unknown one, which then passes nowhere: a source wasn't asked for want of time or of
    // places, gave more than may be read, or what can't be read, or revokes in words that can't be
    // verified, or aren't about the certificate; one's own list does; a hold has run out, or
    // neither its teller nor the issuer's key has lifted it; or it lies too deep among those who
    // speak for each other.
    bool not_heard = false;
    // What decided; of an unknown one, the newest that was looked at. Several when good takes
    // several lists, or a delta and its base, together; behind these what spoke for their signers.
    std::vector<DecidingEvidence> evidence;

    // What was heard revokes, by a hold also where more was left out that may have lifted it.
    bool heard_revoked = false;

    // Of a revoked one: its issuer's own key has told it.
    bool is_beyond_doubt = false;

    // Of a revoked one: nothing that may still come changes that. A newer word lifts a hold.
    bool stands() const { return is_beyond_doubt && !is_on_hold(); }
    bool is_on_hold() const { return heard_revoked && reason == reason::kCertificateHold; }

    // Something at hand says that the key is in strange hands, whichever statement decided: no
    // other path through it is good either. When it was said, the earliest first.
    bool key_is_compromised = false;
    std::vector<FileTicks> said;
};

// True when a certificate of that standing may pass: an unknown one under `available`, and under
// `require` only when there is no source to ask. Never one that was buried under more junk than
// could be looked at, nor one of which a source wasn't heard (StatusFinding::not_heard).
bool passes(const StatusFinding& finding, RevocationMode mode);

// Asking its sources could still tell.
inline bool is_open(const StatusFinding& finding) {
    return finding.may_be_lifted ||
           (finding.standing == Standing::unknown && finding.cause != UnknownCause::no_source);
}

struct StatusQuestion {
    FileTicks stamp_time = 0; // T: the moment at which the certificate has to have been good
    FileTicks now = 0;        // N: by which the age of statements is judged
    RevocationMode mode = RevocationMode::require; // off: nothing is looked at
    bool is_signer = false;     // element 0 of a time-stamp: a revocation without reason voids it
    bool may_fetch = false;     // else stores and cache alone
    bool may_ask_later = false; // it is asked again with the network where this leaves it open
    StrengthLevel strength = StrengthLevel::floor; // of what signs lists and answers
    bool may_use_cache = true;
    // Whether the key was called compromised is asked: all that is at hand is heard, and neither a
    // good statement nor another reason ends the search.
    bool is_about_key = false;
};

class StatusCheck {
public:
    // The stores' CRLs and OCSP answers are candidates: those of `own`, of this machine and its
    // user, go first; those of `foreign`, which came with the question, have a share of the budget
    // that they can't go beyond, whereas the others may use all of it.
    // Null ones are passed over; they are read by the first judgement. All arguments must outlive
    // the object.
    StatusCheck(Budget& budget, Retrieval& retrieval, SignerPaths& paths,
                const std::vector<HCERTSTORE>& own, const std::vector<HCERTSTORE>& foreign);
    ~StatusCheck();
    StatusCheck(const StatusCheck&) = delete;
    StatusCheck& operator=(const StatusCheck&) = delete;

    // The standing of path[index]. The path ends in an anchor and was judged good in everything
    // else; the anchor itself (the last) isn't asked about, and gives unknown, no_source.
    StatusFinding judge(CertificatePathView path, std::size_t index,
                        const StatusQuestion& question);

    // Of whoever judges again by another question; what was read, fetched and verified stays.
    void forget_findings();

    // How much has been read from the cache and fetched so far.
    std::size_t taken_in() const;

    // How often a judgement came back to what was being judged, and so told nothing.
    unsigned circles() const;

private:
    class Session;
    std::unique_ptr<Session> session_;
};

} // namespace basalt
