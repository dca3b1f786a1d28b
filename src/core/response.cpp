// TimeStampResp: the value and its traits, over the form that keeps the token as it came.
#include <chronoseal/core/response.h>

#include <chronoseal/asn1/status_info_traits.h>
#include <chronoseal/asn1/traits.h>
#include <chronoseal/asn1data/pkix_tsp.h>
#include <chronoseal/core/message_bounds.h>

namespace Halcyon::PKI::TSP {

// TimeStampResp ::= SEQUENCE { status PKIStatusInfo, timeStampToken TimeStampToken OPTIONAL }
struct TimeStampRespRawTraits
    : ASN1::CCodeClassT<asn1data::ASN1T_TimeStampRespRaw, asn1data::ASN1C_TimeStampRespRaw> {
    static void get(const ASN1_T& record, CResponse& value) {
        ASN1::ASN1T_PKIStatusInfo_traits::get(record.status, value.status_);
        if (record.m.timeStampTokenPresent) {
            auto token = std::make_shared<CToken>();
            token->decode(CBlob(record.timeStampToken.data, record.timeStampToken.numocts));
            value.token_ = std::move(token);
        }
    }
};

CResponse::CResponse() : status_(ASN1::pkiStatusGranted) {}

void CResponse::decode(const unsigned char* der, unsigned long size) {
    check_answer({der, size}); // that it isn't longer than the decoder can count, too
    CResponse fresh;
    ASN1::with_result_codes([&] {
        ASN1BERDecodeBuffer buffer(der, static_cast<int>(size));
        TimeStampRespRawTraits::ASN1_T record{};
        if (TimeStampRespRawTraits::decode(buffer, record) < 0) {
            ASN1::fail_codec();
        }
        TimeStampRespRawTraits::get(record, fresh);
    });
    *this = std::move(fresh);
}

} // namespace Halcyon::PKI::TSP
