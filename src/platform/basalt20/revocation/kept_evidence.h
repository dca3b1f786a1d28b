// The lists and answers that the cache keeps under one key: of one address and authority there may
// be several, since lists speak of different certificates and reasons. And what of one
// certificate's evidence is kept, beside what, and what gives way to it. Fails as the cache does.
#pragma once

#include <basalt/revocation/budget.h>
#include <basalt/revocation/evidence_item.h>

#include <string>
#include <vector>

namespace basalt {

// Four at most; none when nothing is kept that can be read.
std::vector<std::vector<BYTE>> kept_objects(const std::string& key);

// Of one certificate. What is given to it was verified; that is up to the caller.
class EvidenceKeeper {
public:
    // All must outlive the object. `now`: what is dated after it isn't kept.
    EvidenceKeeper(X509* certificate, X509* issuer, OcspIdentity& identity, FileTicks now,
                   Budget& budget)
        : certificate_(certificate), issuer_(issuer), identity_(identity), now_(now),
          budget_(budget) {}

    std::string key_of(EvidenceKind kind, const std::string& url) const;
    std::string key_of_revocation(EvidenceKind kind, const std::string& url) const;

    // All three of usable items.
    bool revokes_for_good(const EvidenceItem& item);
    bool is_made_ahead(const EvidenceItem& item);
    // Of one kind. Of lists it is for the caller to know that both are by one key, or the newer one
    // by the issuer's, which lifts the holds that others have told.
    bool supersedes(const EvidenceItem& newer, const EvidenceItem& older);

    // `signer`: who signed it, of a list.
    void keep(const EvidenceItem& item, const std::string& key, const X509* signer);

private:
    using Charge = std::pair<int, FileTicks>; // its gravity; and the earlier the more: inverted

    Charge charge_of(const EvidenceItem& item);
    // `untold`: where finding out would cost more than there is.
    bool is_by(const X509* signer, const EvidenceItem& list, bool untold);

    X509* certificate_;
    X509* issuer_;
    OcspIdentity& identity_;
    const FileTicks now_;
    Budget& budget_;
};

} // namespace basalt
