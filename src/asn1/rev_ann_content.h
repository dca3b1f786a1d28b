// CRevAnnContent: the announcement that a certificate is, or will be, revoked (RFC 4210, 5.3.13),
// with CCertId, by which it names the certificate (RFC 4211, 6.5).
#pragma once

#include <chronoseal/asn1/big_integer.h>
#include <chronoseal/asn1/encodable.h>
#include <chronoseal/asn1/extension.h>
#include <chronoseal/asn1/general_name.h>
#include <chronoseal/asn1/owned.h>
#include <chronoseal/asn1/status_info.h>
#include <chronoseal/base/date_time.h>

namespace Halcyon::ASN1 {

struct ASN1T_RevAnnContent_traits;

class CCertId {
public:
    CCertId() = default;
    CCertId(const CGeneralName& issuer, const CBigInteger& serialNumber)
        : issuer_(issuer), serialNumber_(serialNumber) {}

    const CGeneralName& get_issuer() const noexcept { return issuer_; }
    const CBigInteger& get_serialNumber() const noexcept { return serialNumber_; }
    void put_issuer(const CGeneralName& issuer) { issuer_ = issuer; }
    void put_serialNumber(const CBigInteger& serialNumber) { serialNumber_ = serialNumber; }

private:
    CGeneralName issuer_;
    CBigInteger serialNumber_;
};

// Fractions of a second aren't encoded. Owns all its data.
class CRevAnnContent : public Encodable<CRevAnnContent, ASN1T_RevAnnContent_traits> {
public:
    CRevAnnContent(const PKIStatusEnum& status, const CCertId& certId,
                   const CDateTime& willBeRevokedAt, const CDateTime& badSinceDate)
        : block_(std::in_place, Block{status, certId, willBeRevokedAt, badSinceDate, {}}) {}

    const PKIStatusEnum& get_status() const noexcept { return block_->status; }
    const CCertId& get_certId() const noexcept { return block_->certId; }
    const CDateTime& get_willBeRevokedAt() const noexcept { return block_->willBeRevokedAt; }
    const CDateTime& get_badSinceDate() const noexcept { return block_->badSinceDate; }
    // Null if absent.
    const CExtensions* get_crlDetails() const noexcept { return block_->crlDetails.get(); }
    void put_status(const PKIStatusEnum& status) { block_->status = status; }
    void put_certId(const CCertId& certId) { block_->certId = certId; }
    void put_willBeRevokedAt(const CDateTime& date) { block_->willBeRevokedAt = date; }
    void put_badSinceDate(const CDateTime& date) { block_->badSinceDate = date; }
    // Null makes the field absent. An empty list isn't encoded.
    void put_crlDetails(const CExtensions* details) {
        copy_to_auto_ptr(block_->crlDetails, details);
    }

    // The DER. Throws as `CGeneralName` and `CExtensions`.
    using Encodable::encode;
    // Throws 0x80093101, and as the constructor of CDateTime for a text that isn't a date:
    // 0x8007076D or 0x80004005.
    using Encodable::decode;

private:
    struct Block {
        PKIStatusEnum status;
        CCertId certId;
        CDateTime willBeRevokedAt;
        CDateTime badSinceDate;
        Owned<CExtensions> crlDetails;
    };

    Owned<Block> block_;
};

} // namespace Halcyon::ASN1
