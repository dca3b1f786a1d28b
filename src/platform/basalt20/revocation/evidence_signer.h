// Who may sign lists and answers about one certificate of a path: its issuer, and others of the
// right name that have a path of their own to the same anchor and are in good standing. Whoever
// else is above it on the path is one of these: what is found hangs on the certificate, its issuer
// and the anchor alone, and holds for every path through them.
#pragma once

#include <basalt/revocation/evidence_session.h>
#include <basalt/revocation/scope.h>

namespace basalt {

class EvidenceSigner {
public:
    // All arguments must outlive the object.
    EvidenceSigner(EvidenceSession& session, CertificatePathView path, std::size_t index,
                   const StatusQuestion& question, const CertificateScope& scope)
        : session_(session), path_(path), index_(index), question_(question), scope_(scope) {}

    // True when the issuer has signed the object and may do so, or named who does.
    bool is_on_path(const EvidenceItem& item);

    // The same for lists by other keys of that name. Answers are signed by the key that has signed
    // the certificate, or by whom that key has named for it (RFC 6960, 4.2.2.2).
    bool is_beside_path(const EvidenceItem& item);

    // Of the item that was looked at last. One signed by the issuer's key is beyond doubt; one of
    // whose signer's standing nothing is known, though it could be, is doubtful; one that is
    // authentic, and whose signer isn't trusted all the same, may be right.
    bool is_beyond_doubt() const { return is_beyond_doubt_; }
    bool is_doubtful() const { return is_doubtful_; }
    bool is_distrusted() const { return is_distrusted_; }
    // Who signed it, of a list that was accepted.
    const CertificateEntry& list_signer() const { return list_signer_; }

private:
    // `foreign_signer`: the signer's certificate came with the question.
    bool has_signed_list(const EvidenceItem& item, const X509Entry& signer,
                         bool foreign_signer = false);
    bool has_signed_answer(const EvidenceItem& item);
    bool is_delegate(const EvidenceItem& item, const X509Entry& responder);
    bool is_trusted_delegate(const EvidenceItem& item, const CertificateEntry& responder);
    bool may_be_delegate(const EvidenceItem& item, const CertificateBody& responder);
    CertificateEntry prepared(const CertificateBody& responder, bool given);
    bool is_in_good_standing(const EvidenceItem& item, CertificatePathView path, FileTicks at);
    // Whether path[index] passes; what spoke for it is kept with the item that hangs on it.
    bool passes_with_support(const EvidenceItem& item, CertificatePathView path, std::size_t index,
                             const StatusQuestion& question);
    void distrust(const StatusFinding& signer);
    // Whether nothing at hand calls it compromised, by whatever certificate of it.
    bool has_sound_key(const EvidenceItem& item, const CertificateEntry& signer);
    FileTicks moment_of(const EvidenceItem& item) const;
    StatusQuestion question_about_signer(FileTicks at) const;
    const CertificateEntry& issuer() const { return path_[index_ + 1]; }

    EvidenceSession& session_;
    CertificatePathView path_;
    std::size_t index_;
    const StatusQuestion& question_;
    const CertificateScope& scope_;
    bool is_beyond_doubt_ = false;
    bool is_doubtful_ = false;
    bool is_distrusted_ = false;
    CertificateEntry list_signer_;
};

} // namespace basalt
