// The certificates that chains may end in: those of the `Root` store, or the ones that the process
// has put in its place. Read once and looked up by subject; never fails, an unreadable store has no
// anchors.
#pragma once

#include "basalt20/coding/der_reader.h"
#include "basalt20/store/certificate_reference.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace basalt {

class TrustAnchors {
public:
    explicit TrustAnchors(HCERTSTORE store);

    // Those whose subject is that encoded name, byte for byte.
    std::vector<PCCERT_CONTEXT> by_subject(const CERT_NAME_BLOB& name) const;

    bool contains(PCCERT_CONTEXT certificate) const;

    const std::vector<CertificateReference>& all() const { return anchors_; }

private:
    std::vector<CertificateReference> anchors_;
    std::multimap<std::string, PCCERT_CONTEXT> by_subject_;
};

// The anchors in force. The machine's are read again after ten seconds, so that a root that an
// administrator takes away is soon without effect in processes that run on.
std::shared_ptr<const TrustAnchors> trust_anchors();

// Puts the certificates of `store` in the place of the machine's; null puts the machine's back.
void set_trust_anchors(HCERTSTORE store);

} // namespace basalt
