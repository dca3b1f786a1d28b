// TimeStampToken: the reading of a token's fields, and the check of its signature by the platform.
#include <chronoseal/core/token.h>

#include <basalt/error_codes.h>
#include <chronoseal/asn1/algorithm_identifier_traits.h>
#include <chronoseal/asn1/big_integer_text.h>
#include <chronoseal/asn1/extension_traits.h>
#include <chronoseal/asn1/signer_info_traits.h>
#include <chronoseal/asn1/traits.h>
#include <chronoseal/asn1data/cryptographic_message_syntax.h>
#include <chronoseal/asn1data/pkix_tsp.h>
#include <chronoseal/atl/cert_context.h>
#include <chronoseal/atl/crypt_msg.h>
#include <chronoseal/base/system_error.h>
#include <chronoseal/core/message_bounds.h>
#include <chronoseal/core/signed_message.h>

namespace Halcyon::PKI::TSP {

namespace {

constexpr HRESULT kUnsupportedKind = hr(E_INVALIDARG);
constexpr HRESULT kBadCode = hr(CRYPT_E_ASN1_INTERNAL);
constexpr HRESULT kBadTime = hr(of_system_error(ERROR_INVALID_TIME));

std::array<std::uint32_t, 3> accuracy_of(const asn1data::ASN1T_Accuracy& record) {
    return {record.m.secondsPresent ? static_cast<std::uint32_t>(record.seconds) : 0u,
            record.m.millisPresent ? record.millis : 0u,
            record.m.microsPresent ? record.micros : 0u};
}

// The name as it stands in the token. Kinds that CGeneralName can't hold, and directory names with
// values of unusual types, don't make a token unreadable: the name is a hint, on which no check
// rests.
std::optional<TsaName> read_name(const asn1data::ASN1T_TSTInfoRaw& record) {
    if (!record.m.tsaPresent) {
        return std::nullopt;
    }
    try {
        return TsaName(CBlob(record.tsa.data, record.tsa.numocts));
    } catch (const ATL::CAtlException& failure) {
        if (failure.m_hr != kUnsupportedKind &&
            !(failure.m_hr == kBadCode &&
              is_directory_name({record.tsa.data, record.tsa.numocts}))) {
            throw;
        }
        return std::nullopt;
    }
}

struct SignerInfoTraits
    : ASN1::CCodeClassT<asn1data::ASN1T_SignerInfo, asn1data::ASN1C_SignerInfo> {
    static void get(const ASN1_T& record, ASN1::CSignerInfo& value) {
        ASN1::ASN1T_SignerInfo_get(value, record);
    }
};

// One signer and no more: RFC 3161, 2.4.2, allows no signature but the authority's.
bool has_one_signer(HCRYPTMSG message) {
    DWORD count = 0;
    DWORD size = sizeof(count);
    return CryptMsgGetParam(message, CMSG_SIGNER_COUNT_PARAM, 0, &count, &size) && count == 1;
}

ATL2::CCryptMsg open_message(const CBlob& token) {
    ATL2::CCryptMsg message(CryptMsgOpenToDecode(ATL2::kAnyEncoding, 0, 0, 0, nullptr, nullptr));
    if (message &&
        !CryptMsgUpdate(message.get(), token.pbData(), static_cast<DWORD>(token.cbData()), TRUE)) {
        message.close();
    }
    return message;
}

} // namespace

// TSTInfo ::= SEQUENCE {
//     version INTEGER, policy TSAPolicyId, messageImprint MessageImprint, serialNumber INTEGER,
//     genTime GeneralizedTime, accuracy Accuracy OPTIONAL, ordering BOOLEAN DEFAULT FALSE,
//     nonce INTEGER OPTIONAL, tsa [0] GeneralName OPTIONAL, extensions [1] Extensions OPTIONAL }
struct TSTInfoTraits : ASN1::CCodeClassT<asn1data::ASN1T_TSTInfoRaw, asn1data::ASN1C_TSTInfoRaw> {
    static void get(const ASN1_T& record, CToken::Info& value) {
        ASN1::CBigInteger version;
        ASN1::ASN1StringToBigInteger(record.version, version);
        value.version = version.cbData() == 1 ? version.pbData()[0] : 0;
        value.policy = ASN1::toOID(record.policy).c_str();
        ASN1::ASN1T_AlgorithmIdentifier_traits::get(record.messageImprint.hashAlgorithm,
                                                    value.hashAlgorithm);
        ASN1::ASN1TDynOctStr_traits::get(record.messageImprint.hashedMessage, value.hashedMessage);
        ASN1::ASN1StringToBigInteger(record.serialNumber, value.serialNumber);
        if (!value.has_allowed_time) {
            ATL::AtlThrowImpl(kBadTime);
        }
        ASN1::ASN1GeneralizedTime_traits::get(record.genTime, value.genTime);
        value.accuracy.reset();
        value.nonce.reset();
        value.extensions.reset();
        if (record.m.accuracyPresent) {
            value.accuracy = accuracy_of(record.accuracy);
        }
        value.ordering = record.ordering != 0;
        if (record.m.noncePresent) {
            ASN1::ASN1StringToBigInteger(record.nonce, value.nonce.emplace());
        }
        value.tsa = read_name(record);
        if (record.m.extensionsPresent) {
            ASN1::ASN1T_Extensions_traits::get(record.extensions, value.extensions.emplace());
        }
    }
};

void CToken::decode(CBlob der) {
    const auto parts = read_signed_message(der);
    info_.has_allowed_time = check_info({parts.content.pbData(), parts.content.cbData()});
    ASN1::asn1Decode<TSTInfoTraits>(parts.content, info_);
    check_signer(parts.signers.front());
    ASN1::asn1Decode<SignerInfoTraits>(without_unsigned_attributes(parts.signers.front()),
                                       signer_info_);
    certificates_.reset();
    if (parts.has_certificates) {
        auto& certificates = certificates_.emplace();
        for (const auto& certificate : parts.certificates) {
            certificates.emplace_back(certificate.data(), certificate.size());
        }
    }
    encoded_ = std::move(der); // last, for the parts lead into it
}

bool CToken::verify(const CBlob& certificate, HCRYPTMSG message) const {
    const ATL2::CCertContext context(CertCreateCertificateContext(
        ATL2::kAnyEncoding, certificate.pbData(), static_cast<DWORD>(certificate.cbData())));
    return verify(context.get(), message);
}

bool CToken::verify(const _CERT_CONTEXT* certificate, HCRYPTMSG message) const {
    ATL2::CCryptMsg own;
    if (!message) {
        own = open_message(encoded_);
        message = own.get();
    }
    if (!message || !certificate || !has_one_signer(message)) {
        return false;
    }
    CMSG_CTRL_VERIFY_SIGNATURE_EX_PARA parameter{};
    parameter.cbSize = sizeof(parameter);
    parameter.dwSignerType = CMSG_VERIFY_SIGNER_CERT;
    parameter.pvSigner = const_cast<_CERT_CONTEXT*>(certificate);
    return CryptMsgControl(message, 0, CMSG_CTRL_VERIFY_SIGNATURE_EX, &parameter) != FALSE;
}

} // namespace Halcyon::PKI::TSP
