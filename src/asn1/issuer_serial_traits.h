// Traits of IssuerSerial. See codec.h for what traits are.
#pragma once

#include "asn1/code_class.h"
#include "asn1/issuer_serial.h"
#include "asn1data/attribute_certificates.h"

namespace Halcyon::ASN1 {

struct ASN1T_IssuerSerial_traits
    : CCodeClassT<asn1data::ASN1T_IssuerSerial, asn1data::ASN1C_IssuerSerial> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CIssuerSerial& value);
    static void get(const ASN1_T& record, CIssuerSerial& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to);
};

} // namespace Halcyon::ASN1
