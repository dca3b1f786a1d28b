// Traits of distribution points and what they are made of. See codec.h for what traits are.
#pragma once

#include "asn1/code_class.h"
#include "asn1/distribution_point.h"
#include "asn1/seq_of_list_traits.h"
#include "asn1data/pkix1_implicit.h"

namespace Halcyon::ASN1 {

struct ASN1T_ReasonFlags_traits {
    using ASN1_T = asn1data::ASN1T_ReasonFlags;

    // Bits 0 to 15; the context isn't used.
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CReasonFlags& value);
    static void get(const ASN1_T& record, CReasonFlags& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to);
};

struct ASN1T_DistributionPointName_traits
    : CCodeClassT<asn1data::ASN1T_DistributionPointName, asn1data::ASN1C_DistributionPointName> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CDistributionPointName& value);
    static void get(const ASN1_T& record, CDistributionPointName& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to);
};

struct ASN1T_DistributionPoint_traits
    : CCodeClassT<asn1data::ASN1T_DistributionPoint, asn1data::ASN1C_DistributionPoint> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CDistributionPoint& value);
    static void get(const ASN1_T& record, CDistributionPoint& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to);
};

using ASN1T_CRLDistPointsSyntax_traits =
    ListTypeTraits<asn1data::ASN1T_CRLDistPointsSyntax, asn1data::ASN1C_CRLDistPointsSyntax,
                   tagSequenceOf, asn1data::ASN1T_DistributionPoint, ASN1T_DistributionPoint_traits,
                   CDistributionPoint, CCRLDistPointsSyntax>;

} // namespace Halcyon::ASN1
