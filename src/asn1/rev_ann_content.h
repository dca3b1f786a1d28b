// CRevAnnContent: the announcement that a certificate is, or will be, revoked (RFC 4210, 5.3.13).
#pragma once

#include <memory>

#include "asn1/cert_id.h"
#include "asn1/extensions.h"
#include "asn1/pki_status.h"
#include "base/date_time.h"

namespace Halcyon::ASN1 {

struct RevAnnContentBlock;

// Fractions of a second aren't encoded. Owns all its data.
class CRevAnnContent {
public:
    CRevAnnContent(PKIStatusEnum const& status, CCertId const& certId,
                   CDateTime const& willBeRevokedAt, CDateTime const& badSinceDate);
    CRevAnnContent(CRevAnnContent const& other);
    CRevAnnContent& operator=(CRevAnnContent const& other);
    ~CRevAnnContent();

    PKIStatusEnum const& get_status() const noexcept;
    CCertId const& get_certId() const noexcept;
    CDateTime const& get_willBeRevokedAt() const noexcept;
    CDateTime const& get_badSinceDate() const noexcept;
    // Null if absent.
    CExtensions const* get_crlDetails() const noexcept;
    void put_status(PKIStatusEnum const& status);
    void put_certId(CCertId const& certId);
    void put_willBeRevokedAt(CDateTime const& date);
    void put_badSinceDate(CDateTime const& date);
    // Null makes the field absent. An empty list isn't encoded.
    void put_crlDetails(CExtensions const* details);

    // The DER. Throws as `CGeneralName` and `CExtensions`.
    CBlob encode() const;
    void decode(CBlob const& der);

private:
    std::unique_ptr<RevAnnContentBlock> block_;
};

} // namespace Halcyon::ASN1
