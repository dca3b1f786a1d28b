// CStamp::Impl: the fields of a stamp, its store of certificates, and what is opened and found on
// demand.
#pragma once

#include <memory>
#include <string>

#include <basalt/types.h>
#include <chronoseal/asn1/big_integer.h>
#include <chronoseal/asn1/cert_identifier.h>
#include <chronoseal/asn1/extension.h>
#include <chronoseal/atl/cert_context.h>
#include <chronoseal/atl/cert_store.h>
#include <chronoseal/atl/crypt_msg.h>
#include <chronoseal/base/blob.h>
#include <chronoseal/base/date_time.h>
#include <chronoseal/client/stamp.h>

namespace Halcyon::PKI::TSP {
class CResponse;
class CToken;
} // namespace Halcyon::PKI::TSP

namespace Halcyon::PKI::TSP::Client {

// A non-empty token means that there is a stamp. The lookups and `InitializeCryptMsg` return codes;
// everything else throws.
class __attribute__((visibility("hidden"))) CStamp::Impl {
public:
    Impl();
    // Shares the source's store; the signer's certificate and the message are found and opened
    // anew.
    Impl(const Impl& source);
    // Empties the target first, but for its extensions, signer's certificate and message.
    Impl& operator=(const Impl& source);

    // Leaves tsaCertificate, cryptMsg, ordering, version, dataHashAlg and extensions.
    void clear();
    // Throws 0x8007139F without a token.
    void require_token() const;

    // Steps of an import.
    void read_status(const CResponse& response);
    void read_token(const CToken& token);
    void compare_with(const CBlob& request_hash, const ASN1::CBigInteger& request_nonce) const;
    void accept(std::shared_ptr<const CToken> decoded);
    HRESULT AppendCertificateValuesToCertificates();

    // 0x80004005 if the message is open already. A message that can't be fed stays open.
    HRESULT InitializeCryptMsg();
    HRESULT IsContentTypeMatch();
    HRESULT GetTSAOtherCertID(ASN1::COtherCertID& id);
    // Find the signer's certificate by the signed attributes, and by the signer's identifier.
    HRESULT GetTSACertBySigAttr(void** stores, unsigned long count, const _CERT_CONTEXT* hint);
    HRESULT GetTSACertByIssSerial(void** stores, unsigned long count);

    HRESULT verify(const _CERT_CONTEXT* certificate, const char* extensionList);
    HRESULT verify_certificate(const _CERT_CONTEXT* certificate, void** stores,
                               unsigned long count);

    unsigned int status = 0;
    std::wstring statusString;
    unsigned int failInfo = 0;
    bool hasStatus = false;
    ATL2::CCertStore certificates;
    ATL2::CCertContext tsaCertificate;
    std::string policyID;
    ASN1::CBigInteger nonce;
    ASN1::CBigInteger serialNumber;
    CDateTime time = CDateTime(0L, 0);
    long accuracy = -1;
    long defaultAccuracy = -1;
    bool ordering = false;
    int version = 0;
    ASN1::CExtensions extensions;
    unsigned int dataHashAlg = 0;
    std::string dataHashAlgOID;
    std::string signatureAlgOID;
    std::wstring tsa;
    CBlob tsaBlob;
    CBlob dataHash;
    CBlob token;
    CBlob signature;
    ATL2::CCryptMsg cryptMsg;

private:
    void open_store();
    void read_names(const CToken& source);
    void add_certificate(const CBlob& der);
    HRESULT open_message_on_demand();
    const CToken& decoded_token();
    const _CERT_CONTEXT* certificate_to_judge(const _CERT_CONTEXT* given, void** stores,
                                              unsigned long count);
    ATL2::CCertStore collect_stores(void** stores, unsigned long count) const;
    HRESULT judge_chain(const _CERT_CONTEXT* certificate, const ATL2::CCertStore& stores) const;

    std::shared_ptr<const CToken> decoded_; // `token`, taken apart
    bool message_is_current_ = false;       // `cryptMsg` holds `token`, and not an earlier one
};

} // namespace Halcyon::PKI::TSP::Client
