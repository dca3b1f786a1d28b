#include <chronoseal/asn1/rev_ann_content.h>

#include <chronoseal/asn1/big_integer_text.h>
#include <chronoseal/asn1/encodable_definitions.h>
#include <chronoseal/asn1/extension_traits.h>
#include <chronoseal/asn1/general_name_traits.h>
#include <chronoseal/asn1/time_choice_traits.h>
#include <chronoseal/asn1data/pkix_cmp.h>
#include <chronoseal/asn1data/pkix_crmf.h>

namespace Halcyon::ASN1 {

// CertId ::= SEQUENCE {
//     issuer        GeneralName,
//     serialNumber  INTEGER }

struct ASN1T_CertId_traits
    : RecordTraits<asn1data::ASN1T_CertId, asn1data::ASN1C_CertId, asn1data::asn1Copy_CertId> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CCertId& value) {
        ASN1T_GeneralName_traits::set(ctxt, record.issuer, value.get_issuer());
        record.serialNumber = BigIntegerToASN1String(ctxt, value.get_serialNumber());
    }

    static void get(const ASN1_T& record, CCertId& value) {
        CGeneralName issuer;
        ASN1T_GeneralName_traits::get(record.issuer, issuer);
        value.put_issuer(issuer);
        CBigInteger serial_number;
        ASN1StringToBigInteger(record.serialNumber, serial_number);
        value.put_serialNumber(serial_number);
    }
};

// RevAnnContent ::= SEQUENCE {
//     status           PKIStatus,
//     certId           CertId,
//     willBeRevokedAt  GeneralizedTime,
//     badSinceDate     GeneralizedTime,
//     crlDetails       Extensions OPTIONAL }

struct ASN1T_RevAnnContent_traits
    : RecordTraits<asn1data::ASN1T_RevAnnContent, asn1data::ASN1C_RevAnnContent,
                   asn1data::asn1Copy_RevAnnContent> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CRevAnnContent& value) {
        record.m = {};
        record.status = value.get_status();
        ASN1T_CertId_traits::set(ctxt, record.certId, value.get_certId());
        ASN1GeneralizedTime_traits::set(ctxt, record.willBeRevokedAt, value.get_willBeRevokedAt());
        ASN1GeneralizedTime_traits::set(ctxt, record.badSinceDate, value.get_badSinceDate());
        const CExtensions* const details = value.get_crlDetails();
        if (details && !details->empty()) {
            record.m.crlDetailsPresent = 1;
            ASN1T_Extensions_traits::set(ctxt, record.crlDetails, *details);
        }
    }

    static void get(const ASN1_T& record, CRevAnnContent& value) {
        value.put_status(static_cast<PKIStatusEnum>(record.status));
        CCertId cert_id;
        ASN1T_CertId_traits::get(record.certId, cert_id);
        value.put_certId(cert_id);
        CDateTime date(0L, 0);
        ASN1GeneralizedTime_traits::get(record.willBeRevokedAt, date);
        value.put_willBeRevokedAt(date);
        ASN1GeneralizedTime_traits::get(record.badSinceDate, date);
        value.put_badSinceDate(date);
        CExtensions details;
        if (record.m.crlDetailsPresent) {
            ASN1T_Extensions_traits::get(record.crlDetails, details);
        }
        value.put_crlDetails(record.m.crlDetailsPresent ? &details : nullptr);
    }
};

template class Encodable<CRevAnnContent, ASN1T_RevAnnContent_traits>;

} // namespace Halcyon::ASN1
