#include <chronoseal/asn1/status_info.h>

#include <chronoseal/asn1/encodable_definitions.h>
#include <chronoseal/asn1/free_text_traits.h>
#include <chronoseal/asn1/status_info_traits.h>

namespace Halcyon::ASN1 {

namespace {

unsigned int mask(unsigned int n) {
    if (n >= 32) {
        fail_argument();
    }
    return 1u << n;
}

} // namespace

bool CPKIFailureInfo::get_bit(unsigned int n) const {
    return (value_ & mask(n)) != 0;
}

void CPKIFailureInfo::put_bit(unsigned int n, bool on) {
    value_ = on ? value_ | mask(n) : value_ & ~mask(n);
}

template class Encodable<CPKIFailureInfo, ASN1T_PKIFailureInfo_traits>;

// PKIFailureInfo ::= BIT STRING { badAlg (0), badRequest (2), badDataFormat (5), ... }

void ASN1T_PKIFailureInfo_traits::set(ASN1CTXT*, ASN1_T& record, const CPKIFailureInfo& value) {
    static_assert(sizeof(record.data) == 4);
    record = {};
    for (unsigned int n = 0; n < 32; ++n) {
        if (value.get_bit(n)) {
            rtSetBit(record.data, 32, n);
        }
    }
    // Trailing zero bits aren't part of a string of named bits.
    for (std::uint32_t i = 4; i-- > 0 && record.numbits == 0;) {
        if (record.data[i] != 0) {
            record.numbits = 8 * i + static_cast<std::uint32_t>(rtOctetBitLen(record.data[i]));
        }
    }
}

void ASN1T_PKIFailureInfo_traits::get(const ASN1_T& record, CPKIFailureInfo& value) {
    value.put_value(0);
    for (std::uint32_t n = 0; n < record.numbits; ++n) {
        if (rtTestBit(record.data, record.numbits, n) != 0) {
            value.put_bit(n, true);
        }
    }
}

void ASN1T_PKIFailureInfo_traits::copy(ASN1CTXT*, const ASN1_T& from, ASN1_T& to) {
    to = from;
}

template class Encodable<CPKIStatusInfo, ASN1T_PKIStatusInfo_traits>;

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
    CPKIFailureInfo failure_info(0);
    if (record.m.failInfoPresent) {
        ASN1T_PKIFailureInfo_traits::get(record.failInfo, failure_info);
    }
    value.put_failureInfo(failure_info);
    if (record.m.statusStringPresent) {
        ASN1BERDecodeBuffer scratch;
        CPKIFreeText text;
        CPKIFreeText_Parse(scratch.getCtxtPtr(), text, record.statusString);
        value.put_statusString(text);
    }
}

} // namespace Halcyon::ASN1
