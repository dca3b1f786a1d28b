// Traits of SignerInfo, for reading only. See codec.h for what traits are.
#pragma once

#include <chronoseal/asn1/record_traits.h>
#include <chronoseal/asn1/signer_info.h>
#include <chronoseal/asn1data/cryptographic_message_syntax.h>

namespace Halcyon::ASN1 {

// Throws 0x80093101 for a signer that is named by a key identifier; version, algorithms and
// signature are replaced then.
void ASN1T_SignerInfo_get(CSignerInfo& value, const asn1data::ASN1T_SignerInfo& record);

struct ASN1T_SignerInfo_traits
    : RecordTraits<asn1data::ASN1T_SignerInfo, asn1data::ASN1C_SignerInfo,
                   asn1data::asn1Copy_SignerInfo> {
    static void get(const ASN1_T& record, CSignerInfo& value) {
        ASN1T_SignerInfo_get(value, record);
    }
};

} // namespace Halcyon::ASN1
