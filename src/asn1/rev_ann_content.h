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
    CRevAnnContent(const PKIStatusEnum& status, const CCertId& certId,
                   const CDateTime& willBeRevokedAt, const CDateTime& badSinceDate);
    CRevAnnContent(const CRevAnnContent& other);
    CRevAnnContent& operator=(const CRevAnnContent& other);
    ~CRevAnnContent();

    const PKIStatusEnum& get_status() const noexcept;
    const CCertId& get_certId() const noexcept;
    const CDateTime& get_willBeRevokedAt() const noexcept;
    const CDateTime& get_badSinceDate() const noexcept;
    // Null if absent.
    const CExtensions* get_crlDetails() const noexcept;
    void put_status(const PKIStatusEnum& status);
    void put_certId(const CCertId& certId);
    void put_willBeRevokedAt(const CDateTime& date);
    void put_badSinceDate(const CDateTime& date);
    // Null makes the field absent. An empty list isn't encoded.
    void put_crlDetails(const CExtensions* details);

    // The DER. Throws as `CGeneralName` and `CExtensions`.
    CBlob encode() const;
    void decode(const CBlob& der);

private:
    std::unique_ptr<RevAnnContentBlock> block_;
};

} // namespace Halcyon::ASN1
