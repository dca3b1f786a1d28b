#include <chronoseal/asn1/typed_extension.h>

#include <chronoseal/asn1/object_identifier.h>
#include <chronoseal/asn1/record_traits.h>
#include <chronoseal/asn1/time_choice_traits.h>
#include <chronoseal/asn1data/pkix1_implicit.h>

namespace Halcyon::ASN1 {

// CRLReason ::= ENUMERATED { unspecified (0), keyCompromise (1), ..., aACompromise (10) }

// The numbers are carried over as they are.
struct ASN1T_CRLReason_traits : CCodeClassT<unsigned int, asn1data::ASN1C_CRLReason> {
    static void set(ASN1CTXT*, ASN1_T& record, CrlReason value) { record = value; }
    static void get(const ASN1_T& record, CrlReason& value) {
        value = static_cast<CrlReason>(record);
    }
    static void copy(ASN1CTXT*, const ASN1_T& from, ASN1_T& to) { to = from; }
};

// The encoder takes any number; what only it takes would be an extension that can't be read back.
template <>
void TypedExtension<CrlReason, kCRLReason>::encode() {
    const CBlob der = asn1Encode<ASN1T_CRLReason_traits, CrlReason>(field_);
    CrlReason back{};
    asn1Decode<ASN1T_CRLReason_traits, CrlReason>(der, back);
    value() = der;
}

template <>
void TypedExtension<CrlReason, kCRLReason>::decode() {
    asn1Decode<ASN1T_CRLReason_traits, CrlReason>(get_value(), field_);
}

// HoldInstruction ::= OBJECT IDENTIFIER

template <>
void TypedExtension<CStringProxy, kHoldInstructionCode>::encode() {
    value() = asn1Encode<ASN1TObjId_traits, const char*>(field_.c_str());
}

template <>
void TypedExtension<CStringProxy, kHoldInstructionCode>::decode() {
    asn1Decode<ASN1TObjId_traits, CStringProxy>(get_value(), field_);
}

// InvalidityDate ::= GeneralizedTime

template <>
void TypedExtension<CDateTime, kInvalidityDate>::encode() {
    value() = asn1Encode<ASN1GeneralizedTime_traits, CDateTime>(field_);
}

template <>
void TypedExtension<CDateTime, kInvalidityDate>::decode() {
    asn1Decode<ASN1GeneralizedTime_traits, CDateTime>(get_value(), field_);
}

// CertificateIssuer ::= GeneralNames

template <>
void TypedExtension<CGeneralNames, kCertificateIssuer>::encode() {
    value() = field_.encode();
}

template <>
void TypedExtension<CGeneralNames, kCertificateIssuer>::decode() {
    field_.decode(get_value());
}

// PrivateKeyUsagePeriod ::= SEQUENCE {
//     notBefore  [0] IMPLICIT GeneralizedTime OPTIONAL,
//     notAfter   [1] IMPLICIT GeneralizedTime OPTIONAL }

struct ASN1T_PrivateKeyUsagePeriod_traits
    : RecordTraits<asn1data::ASN1T_PrivateKeyUsagePeriod, asn1data::ASN1C_PrivateKeyUsagePeriod,
                   asn1data::asn1Copy_PrivateKeyUsagePeriod> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const UsagePeriod& value) {
        record.m = {};
        if (value.notBefore.get()) {
            record.m.notBeforePresent = 1;
            ASN1GeneralizedTime_traits::set(ctxt, record.notBefore, *value.notBefore);
        }
        if (value.notAfter.get()) {
            record.m.notAfterPresent = 1;
            ASN1GeneralizedTime_traits::set(ctxt, record.notAfter, *value.notAfter);
        }
    }

    static void get(const ASN1_T& record, UsagePeriod& value) {
        CDateTime date(0L, 0);
        if (record.m.notBeforePresent) {
            ASN1GeneralizedTime_traits::get(record.notBefore, date);
        }
        copy_to_auto_ptr(value.notBefore, record.m.notBeforePresent ? &date : nullptr);
        if (record.m.notAfterPresent) {
            ASN1GeneralizedTime_traits::get(record.notAfter, date);
        }
        copy_to_auto_ptr(value.notAfter, record.m.notAfterPresent ? &date : nullptr);
    }
};

template <>
void TypedExtension<UsagePeriod, kPrivateKeyUsagePeriod>::encode() {
    value() = asn1Encode<ASN1T_PrivateKeyUsagePeriod_traits, UsagePeriod>(field_);
}

template <>
void TypedExtension<UsagePeriod, kPrivateKeyUsagePeriod>::decode() {
    asn1Decode<ASN1T_PrivateKeyUsagePeriod_traits, UsagePeriod>(get_value(), field_);
}

CExtPrivateKeyUsagePeriod::CExtPrivateKeyUsagePeriod(const CDateTime* notBefore,
                                                     const CDateTime* notAfter)
    : TypedValue(UsagePeriod()) {
    copy_to_auto_ptr(field().notBefore, notBefore);
    copy_to_auto_ptr(field().notAfter, notAfter);
    encode();
}

void CExtPrivateKeyUsagePeriod::put_notBefore(const CDateTime* date) {
    copy_to_auto_ptr(field().notBefore, date);
    encode();
}

void CExtPrivateKeyUsagePeriod::put_notAfter(const CDateTime* date) {
    copy_to_auto_ptr(field().notAfter, date);
    encode();
}

} // namespace Halcyon::ASN1
