// Traits of PKIStatusInfo. See codec.h for what traits are.
#pragma once

#include "asn1/code_class.h"
#include "asn1/status_info.h"
#include "asn1data/pki_status.h"

namespace Halcyon::ASN1 {

struct ASN1T_PKIStatusInfo_traits
    : CCodeClassT<asn1data::ASN1T_PKIStatusInfo, asn1data::ASN1C_PKIStatusInfo> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CPKIStatusInfo& value);
    static void get(const ASN1_T& record, CPKIStatusInfo& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to);
};

} // namespace Halcyon::ASN1
