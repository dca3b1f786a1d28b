// Import: from the bytes of an answer or a token to the fields of a stamp.
#include <cstring>

#include <basalt/error_codes.h>
#include <basalt/oid_information.h>
#include <basalt/store.h>
#include <chronoseal/asn1/certificate_value.h>
#include <chronoseal/asn1/failure.h>
#include <chronoseal/atl/platform_answer.h>
#include <chronoseal/base/atl_exception.h>
#include <chronoseal/client/request_impl.h>
#include <chronoseal/client/result_codes.h>
#include <chronoseal/client/stamp_impl.h>
#include <chronoseal/client/trace.h>
#include <chronoseal/core/limits.h>
#include <chronoseal/core/message_bounds.h>
#include <chronoseal/core/response.h>
#include <chronoseal/core/token.h>

namespace Halcyon::PKI::TSP::Client {

namespace {

constexpr char kCertValuesOid[] = "1.2.840.113549.1.9.16.2.23";

// Statuses up to here carry a token; up to the next one they are a refusal; the rest is unknown.
constexpr unsigned int kLastGranted = 1;
constexpr unsigned int kLastKnown = 6;

// In 32 bits: more than 4294 seconds wrap.
long microseconds_of(const std::uint32_t* accuracy) {
    const std::uint32_t total = accuracy[0] * 1000000u + accuracy[1] * 1000u + accuracy[2];
    return static_cast<long>(total);
}

unsigned int alg_id_of(const std::string& oid) {
    const auto alg_id = CertOIDToAlgId(oid.c_str());
    if (alg_id == 0) {
        ATL::AtlThrowImpl(result_from_last_error(hr(kResultBadHashAlg)));
    }
    return alg_id;
}

// Whether what stands where an answer has the SEQUENCE of its status is the OBJECT IDENTIFIER of a
// bare token. Such bytes are no answer, which costs an exception to find out by decoding.
bool begins_as_token(Element rest) {
    if (rest.size() < 2 || rest[0] != kSequenceByte) {
        return false;
    }
    const std::size_t header = rest[1] <= 0x80 ? 2 : 2 + (rest[1] & 0x7Fu);
    return header < rest.size() && rest[header] == kIdentifierByte;
}

bool decodes(CResponse& response, Element bytes) {
    try {
        response.decode(bytes.data(), bytes.size());
        return true;
    } catch (...) {
        return false;
    }
}

} // namespace

void CStamp::Import(const unsigned char* data, unsigned long size, const CRequest* request) {
    trace("Import", "Importing time-stamp...\n");
    auto& stamp = *impl_;
    stamp.clear();
    const Element bytes(data, size);
    CResponse response;
    std::shared_ptr<const CToken> token;
    if (!begins_as_token(bytes) && decodes(response, bytes)) {
        trace("Import", "Checking status of time-stamp response...\n");
        stamp.read_status(response);
        if (stamp.status <= kLastGranted && response.get_timeStampToken()) {
            token = response.share_token();
        }
    } else {
        trace("Import", "Failed to decode as time-stamp response...\n");
        trace("Import", "Trying to decode as time-stamp token...\n");
        auto bare = std::make_shared<CToken>();
        bare->decode(CBlob(data, size));
        token = std::move(bare);
    }
    if (token) {
        trace("Import", "Parsing and checking time-stamp token fields...\n");
        stamp.read_token(*token);
        if (request) {
            stamp.compare_with(request->impl_->dataHash, request->impl_->nonce);
        }
        stamp.accept(std::move(token));
    }
    trace("Import", "Importing time-stamp... OK\n");
}

void CStamp::Impl::clear() {
    certificates.Destroy();
    if (certificates.get()) {
        ATL::AtlThrowImpl(hr(kResultFailed));
    }
    open_store();
    status = 0;
    statusString.clear();
    failInfo = 0;
    policyID.clear();
    tsaBlob.clear();
    tsa.clear();
    dataHash.clear();
    token.clear();
    accuracy = -1;
    defaultAccuracy = -1;
    time = CDateTime::Now();
    hasStatus = false;
    nonce.clear();
    serialNumber.clear();
    dataHashAlgOID.clear();
    signature.clear();
    signatureAlgOID.clear();
    decoded_.reset();
    message_is_current_ = false;
}

void CStamp::Impl::open_store() {
    certificates.Open(CERT_STORE_PROV_MEMORY, 0, 0, 0, nullptr);
}

void CStamp::Impl::read_status(const CResponse& response) {
    const auto& info = *response.get_status();
    status = info.get_pkiStatus();
    statusString.clear();
    for (const auto& text : info.get_statusString()) {
        statusString += text.get_value();
    }
    failInfo = info.get_failureInfo().get_value();
    if (status > kLastKnown) {
        ATL::AtlThrowImpl(hr(kResultFailed));
    }
    hasStatus = true;
}

void CStamp::Impl::read_token(const CToken& source) {
    version = source.get_version();
    if (source.get_accuracy()) {
        accuracy = microseconds_of(source.get_accuracy());
    }
    time = source.get_genTime();
    dataHashAlgOID = source.get_hashAlgorithm().get_algorithm();
    dataHashAlg = alg_id_of(dataHashAlgOID);
    dataHash = source.get_hashedMessage();
    if (source.get_nonce()) {
        nonce = *source.get_nonce();
    }
    ordering = source.get_ordering();
    if (*source.get_policy() != '\0') {
        policyID = source.get_policy();
    }
    serialNumber = source.get_serialNumber();
    signatureAlgOID = source.get_signerInfo().get_signatureAlgorithm().get_algorithm();
    signature = source.get_signerInfo().get_signature();
    read_names(source);
    if (source.get_certificates()) {
        for (const auto& certificate : *source.get_certificates()) {
            add_certificate(certificate);
        }
    }
}

void CStamp::Impl::read_names(const CToken& source) {
    if (source.get_tsa()) {
        tsaBlob = source.get_tsa()->encode();
        tsa = source.get_tsa()->toString();
    }
    extensions.clear();
    if (source.get_extensions()) {
        for (const auto& extension : *source.get_extensions()) {
            extensions.insert(extension);
        }
    }
}

void CStamp::Impl::add_certificate(const CBlob& der) {
    if (!certificates.get()) {
        ATL::AtlThrowImpl(hr(kResultFailed));
    }
    const ATL2::CCertContext context(CertCreateCertificateContext(
        ATL2::kAnyEncoding, der.pbData(), static_cast<DWORD>(der.cbData())));
    if (!context || !CertAddCertificateContextToStore(certificates.get(), context.get(),
                                                      CERT_STORE_ADD_ALWAYS, nullptr)) {
        throw_last_error();
    }
}

void CStamp::Impl::compare_with(const CBlob& request_hash,
                                const ASN1::CBigInteger& request_nonce) const {
    if (request_hash != dataHash) {
        ATL::AtlThrowImpl(hr(kResultHashDiffers));
    }
    const bool any_nonce = request_nonce.cbData() != 0 || nonce.cbData() != 0;
    if (any_nonce && request_nonce != nonce) {
        ATL::AtlThrowImpl(hr(kResultNonceDiffers));
    }
}

void CStamp::Impl::accept(std::shared_ptr<const CToken> decoded) {
    token = decoded->encode();
    decoded_ = std::move(decoded);
    if (const auto result = AppendCertificateValuesToCertificates(); result < 0) {
        ATL::AtlThrowImpl(result);
    }
}

// The certificates of a long-term signature stand in an unsigned attribute (RFC 5126, 6.3.3).
HRESULT CStamp::Impl::AppendCertificateValuesToCertificates() {
    if (!cryptMsg) {
        const auto result = InitializeCryptMsg();
        // A digest that the platform can't compute leaves the attributes readable.
        if (result < 0 && result != hr(kResultBadHashAlg) && result != hr(kResultUnknownAlg)) {
            return result;
        }
    }
    ATL::CStringA buffer;
    if (cryptMsg.GetParam(CMSG_SIGNER_UNAUTH_ATTR_PARAM, 0, buffer) < 0) {
        return 0;
    }
    const auto& attributes = *reinterpret_cast<const CRYPT_ATTRIBUTES*>(buffer.GetString());
    std::size_t count = 0;
    try {
        for (DWORD i = 0; i < attributes.cAttr; ++i) {
            const auto& attribute = attributes.rgAttr[i];
            if (std::strcmp(attribute.pszObjId, kCertValuesOid) != 0) {
                continue;
            }
            for (DWORD j = 0; j < attribute.cValue; ++j) {
                const CBlob der(attribute.rgValue[j].pbData, attribute.rgValue[j].cbData);
                count += count_certificate_values({der.pbData(), der.cbData()});
                if (count > kMaxCertificates) {
                    ASN1::fail_codec();
                }
                ASN1::CCertificateValues values;
                values.decode(der);
                for (const auto& certificate : values) {
                    add_certificate(certificate);
                }
            }
        }
    } catch (const ATL::CAtlException& failure) {
        return failure.m_hr;
    }
    return 0;
}

} // namespace Halcyon::PKI::TSP::Client
