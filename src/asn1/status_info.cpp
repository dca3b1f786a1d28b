#include "asn1/status_info.h"

#include "asn1/codec.h"
#include "asn1/failure_info_traits.h"
#include "asn1/free_text_codec.h"
#include "asn1/status_info_traits.h"

namespace Halcyon::ASN1 {

CPKIStatusInfo::CPKIStatusInfo(PKIStatusEnum status) noexcept
    : pkiStatus_(status), failureInfo_(0) {}

CBlob CPKIStatusInfo::encode() const {
    return asn1Encode<ASN1T_PKIStatusInfo_traits, CPKIStatusInfo>(*this);
}

void CPKIStatusInfo::decode(const CBlob& der) {
    asn1Decode<ASN1T_PKIStatusInfo_traits, CPKIStatusInfo>(der, *this);
}

// PKIStatusInfo ::= SEQUENCE {
//     status        PKIStatus,
//     statusString  PKIFreeText OPTIONAL,
//     failInfo      PKIFailureInfo OPTIONAL }

void ASN1T_PKIStatusInfo_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CPKIStatusInfo& value) {
    record.m = {};
    record.status = value.get_pkiStatus();
    if (!value.get_statusString().empty()) {
        record.m.statusStringPresent = 1;
        CPKIFreeText_Encode(ctxt, record.statusString, value.get_statusString());
    }
    if (value.get_failureInfo().get_value() != 0) {
        record.m.failInfoPresent = 1;
        ASN1T_PKIFailureInfo_traits::set(ctxt, record.failInfo, value.get_failureInfo());
    }
}

void ASN1T_PKIStatusInfo_traits::get(const ASN1_T& record, CPKIStatusInfo& value) {
    value.put_pkiStatus(static_cast<PKIStatusEnum>(record.status));
    CPKIFailureInfo failureInfo(0);
    if (record.m.failInfoPresent)
        ASN1T_PKIFailureInfo_traits::get(record.failInfo, failureInfo);
    value.put_failureInfo(failureInfo);
    if (record.m.statusStringPresent) {
        ASN1BERDecodeBuffer scratch;
        CPKIFreeText text;
        CPKIFreeText_Parse(scratch.getCtxtPtr(), text, record.statusString);
        value.put_statusString(text);
    }
}

void ASN1T_PKIStatusInfo_traits::copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
    asn1data::asn1Copy_PKIStatusInfo(ctxt, &from, &to);
}

} // namespace Halcyon::ASN1
