// TimeStampReq: the value and its traits.
#include <chronoseal/core/request.h>

#include <chronoseal/asn1/algorithm_identifier_traits.h>
#include <chronoseal/asn1/big_integer_text.h>
#include <chronoseal/asn1/extension_traits.h>
#include <chronoseal/asn1/traits.h>
#include <chronoseal/asn1data/pkix_tsp.h>
#include <chronoseal/core/message_bounds.h>

namespace Halcyon::PKI::TSP {

// TimeStampReq ::= SEQUENCE {
//     version INTEGER, messageImprint MessageImprint, reqPolicy TSAPolicyId OPTIONAL,
//     nonce INTEGER OPTIONAL, certReq BOOLEAN DEFAULT FALSE, extensions [0] Extensions OPTIONAL }
struct TimeStampReqTraits
    : ASN1::CCodeClassT<asn1data::ASN1T_TimeStampReq, asn1data::ASN1C_TimeStampReq> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CRequest& value) {
        record.version = "0x01";
        ASN1::ASN1T_AlgorithmIdentifier_traits::set(ctxt, record.messageImprint.hashAlgorithm,
                                                    value.hash_algorithm_);
        ASN1::ASN1TDynOctStr_traits::set(ctxt, record.messageImprint.hashedMessage,
                                         value.hashed_message_);
        if (value.policy_) {
            record.m.reqPolicyPresent = 1;
            ASN1::ASN1TObjId_traits::set(ctxt, record.reqPolicy, value.policy_->c_str());
        }
        if (value.nonce_) {
            record.m.noncePresent = 1;
            record.nonce = ASN1::BigIntegerToASN1String(ctxt, *value.nonce_);
        }
        record.certReq = value.cert_req_ ? 0xFF : 0;
        if (value.extensions_) {
            record.m.extensionsPresent = 1;
            ASN1::ASN1T_Extensions_traits::set(ctxt, record.extensions, *value.extensions_);
        }
    }

    static void get(const ASN1_T& record, CRequest& value) {
        ASN1::ASN1T_AlgorithmIdentifier_traits::get(record.messageImprint.hashAlgorithm,
                                                    value.hash_algorithm_);
        ASN1::ASN1TDynOctStr_traits::get(record.messageImprint.hashedMessage,
                                         value.hashed_message_);
        value.cert_req_ = record.certReq != 0;
        if (record.m.reqPolicyPresent) {
            value.policy_ = ASN1::toOID(record.reqPolicy).c_str();
        }
        if (record.m.noncePresent) {
            ASN1::ASN1StringToBigInteger(record.nonce, value.nonce_.emplace());
        }
        if (record.m.extensionsPresent) {
            ASN1::ASN1T_Extensions_traits::get(record.extensions, value.extensions_.emplace());
        }
    }
};

CRequest::CRequest(const ASN1::CAlgorithmIdentifierEx& hashAlgorithm, const CBlob& hashedMessage,
                   bool certReq)
    : hash_algorithm_(hashAlgorithm), hashed_message_(hashedMessage), cert_req_(certReq) {}

void CRequest::put_reqPolicy(const char* oid) {
    policy_ = oid;
}

void CRequest::swap_nonce(ASN1::CBigInteger& nonce) {
    if (!nonce_) {
        nonce_.emplace();
    }
    nonce_->swap(nonce);
}

void CRequest::put_nonce(const ASN1::CBigInteger* nonce) {
    nonce_.reset();
    if (nonce) {
        nonce_ = *nonce;
    }
}

CBlob CRequest::encode() const {
    // The record lives beside the encoding: a buffer of its own would cost a tenth of the whole.
    return ASN1::with_result_codes([&] {
        ASN1BEREncodeBuffer buffer;
        TimeStampReqTraits::ASN1_T record{};
        TimeStampReqTraits::set(buffer.getCtxtPtr(), record, *this);
        return ASN1::encoded_message(buffer, TimeStampReqTraits::encode(buffer, record));
    });
}

void CRequest::decode(const CBlob& der) {
    check_request({der.pbData(), der.cbData()});
    CRequest fresh;
    ASN1::asn1Decode<TimeStampReqTraits>(der, fresh);
    *this = fresh;
}

} // namespace Halcyon::PKI::TSP
