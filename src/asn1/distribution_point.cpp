#include <chronoseal/asn1/distribution_point.h>

#include <chronoseal/asn1/encodable_definitions.h>
#include <chronoseal/asn1/general_name_traits.h>
#include <chronoseal/asn1data/pkix1_implicit.h>

namespace Halcyon::ASN1 {

const CReasonFlags::Flag CReasonFlags::sequence[10] = {
    unused,          keyCompromise,
    cACompromise,    affiliationChanged,
    superseded,      cessationOfOperation,
    certificateHold, privilegeWithdrawn,
    aACompromise,    Flag{},
};

void CReasonFlags::put_bit(unsigned int n, bool on) noexcept {
    const unsigned int mask = 1u << (n % 32);
    value_ = on ? value_ | mask : value_ & ~mask;
}

// ReasonFlags ::= BIT STRING { unused (0), keyCompromise (1), ..., aACompromise (8) }

struct ASN1T_ReasonFlags_traits {
    using ASN1_T = asn1data::ASN1T_ReasonFlags;

    // Bits 0 to 15; the context isn't used.
    static void set(ASN1CTXT*, ASN1_T& record, const CReasonFlags& value) {
        constexpr unsigned int kWireBits = 16;
        record = {};
        record.numbits = kWireBits;
        asn1data::ASN1C_ReasonFlags control(record);
        control.clear();
        for (unsigned int n = 0; n < kWireBits; ++n) {
            if (value.get_bit(n)) {
                control.set(n);
            }
        }
    }

    static void get(const ASN1_T& record, CReasonFlags& value) {
        value.put_value(0);
        ASN1_T local = record;
        asn1data::ASN1C_ReasonFlags control(local);
        const auto length = static_cast<unsigned int>(control.length());
        for (unsigned int n = 0; n < length; ++n) {
            if (control.get(n)) {
                value.put_bit(n, true);
            }
        }
    }

    static void copy(ASN1CTXT*, const ASN1_T& from, ASN1_T& to) { to = from; }
};

// DistributionPointName ::= CHOICE {
//     fullName                 [0] IMPLICIT GeneralNames,
//     nameRelativeToCRLIssuer  [1] IMPLICIT RelativeDistinguishedName }

struct ASN1T_DistributionPointName_traits
    : RecordTraits<asn1data::ASN1T_DistributionPointName, asn1data::ASN1C_DistributionPointName,
                   asn1data::asn1Copy_DistributionPointName> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CDistributionPointName& value) {
        record.t = 0;
        record.u.fullName = nullptr;
        if (const CGeneralNames* const full_name = value.get_fullName()) {
            record.t = kFullName.kind;
            record.u.fullName = heap_record<asn1data::ASN1T_GeneralNames>(ctxt);
            ASN1T_GeneralNames_traits::set(ctxt, *record.u.fullName, *full_name);
        }
    }

    static void get(const ASN1_T& record, CDistributionPointName& value) {
        if (record.t != kFullName.kind) {
            return;
        }
        CGeneralNames full_name;
        ASN1T_GeneralNames_traits::get(*record.u.fullName, full_name);
        value.put_fullName(full_name);
    }
};

// DistributionPoint ::= SEQUENCE {
//     distributionPoint  [0] EXPLICIT DistributionPointName OPTIONAL,
//     reasons            [1] IMPLICIT ReasonFlags OPTIONAL,
//     cRLIssuer          [2] IMPLICIT GeneralNames OPTIONAL }

struct ASN1T_DistributionPoint_traits
    : RecordTraits<asn1data::ASN1T_DistributionPoint, asn1data::ASN1C_DistributionPoint,
                   asn1data::asn1Copy_DistributionPoint> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CDistributionPoint& value);
    static void get(const ASN1_T& record, CDistributionPoint& value);
};

struct ASN1T_CRLDistPointsSyntax_traits
    : ListTypeTraits<asn1data::ASN1T_CRLDistPointsSyntax, asn1data::ASN1C_CRLDistPointsSyntax,
                     kTagSequenceOf, ASN1T_DistributionPoint_traits, CDistributionPoint,
                     CCRLDistPointsSyntax> {};

void ASN1T_DistributionPoint_traits::set(ASN1CTXT* ctxt, ASN1_T& record,
                                         const CDistributionPoint& value) {
    record.m = {};
    if (const CDistributionPointName* const name = value.get_distributionPoint()) {
        record.m.distributionPointPresent = 1;
        ASN1T_DistributionPointName_traits::set(ctxt, record.distributionPoint, *name);
    }
    if (const CReasonFlags* const reasons = value.get_reasons()) {
        record.m.reasonsPresent = 1;
        ASN1T_ReasonFlags_traits::set(ctxt, record.reasons, *reasons);
    }
    const CGeneralNames* const issuer = value.get_cRLIssuer();
    if (issuer && !issuer->empty()) {
        record.m.cRLIssuerPresent = 1;
        ASN1T_GeneralNames_traits::set(ctxt, record.cRLIssuer, *issuer);
    }
}

void ASN1T_DistributionPoint_traits::get(const ASN1_T& record, CDistributionPoint& value) {
    value.clear();
    if (record.m.distributionPointPresent) {
        CDistributionPointName name;
        ASN1T_DistributionPointName_traits::get(record.distributionPoint, name);
        value.put_distributionPoint(&name);
    }
    if (record.m.reasonsPresent) {
        CReasonFlags reasons(0);
        ASN1T_ReasonFlags_traits::get(record.reasons, reasons);
        value.put_reasons(&reasons);
    }
    if (record.m.cRLIssuerPresent) {
        CGeneralNames issuer;
        ASN1T_GeneralNames_traits::get(record.cRLIssuer, issuer);
        value.put_cRLIssuer(&issuer);
    }
}

bool operator==(const CDistributionPointName& a, const CDistributionPointName& b) noexcept {
    return a.get_type() == b.get_type() && equal_optional(a.get_fullName(), b.get_fullName());
}

template class Encodable<CDistributionPointName, ASN1T_DistributionPointName_traits>;

bool operator==(const CDistributionPoint& a, const CDistributionPoint& b) noexcept {
    return equal_optional(a.get_cRLIssuer(), b.get_cRLIssuer()) &&
           equal_optional(a.get_distributionPoint(), b.get_distributionPoint()) &&
           equal_optional(a.get_reasons(), b.get_reasons());
}

template class Encodable<CDistributionPoint, ASN1T_DistributionPoint_traits>;
template class Encodable<CCRLDistPointsSyntax, ASN1T_CRLDistPointsSyntax_traits>;

} // namespace Halcyon::ASN1
