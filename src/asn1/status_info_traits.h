// Traits of PKIStatusInfo and PKIFailureInfo. See codec.h for what traits are.
#pragma once

#include <chronoseal/asn1/record_traits.h>
#include <chronoseal/asn1/status_info.h>
#include <chronoseal/asn1data/pki_status.h>

namespace Halcyon::ASN1 {

struct ASN1T_PKIFailureInfo_traits
    : CCodeClassT<asn1data::ASN1T_PKIFailureInfo, asn1data::ASN1C_PKIFailureInfo> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CPKIFailureInfo& value);
    static void get(const ASN1_T& record, CPKIFailureInfo& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to);
};

struct ASN1T_PKIStatusInfo_traits
    : RecordTraits<asn1data::ASN1T_PKIStatusInfo, asn1data::ASN1C_PKIStatusInfo,
                   asn1data::asn1Copy_PKIStatusInfo> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CPKIStatusInfo& value);
    static void get(const ASN1_T& record, CPKIStatusInfo& value);
};

} // namespace Halcyon::ASN1
