// The public face of a request: construction under policy, and the values.
#include <chronoseal/client/request.h>

#include <cstring>
#include <new>

#include <basalt/oid_information.h>
#include <chronoseal/asn1/text_width.h>
#include <chronoseal/base/atl_exception.h>
#include <chronoseal/client/request_impl.h>
#include <chronoseal/client/result_codes.h>
#include <chronoseal/client/sized_output.h>

namespace Halcyon::PKI::TSP::Client {

namespace {

std::wstring text_of(const wchar_t* text) {
    return text ? text : L"";
}

// A request without a default of the policy hashes by GOST R 34.11-94 where the platform has it,
// else SHA-1.
void apply_default_hash(CRequest& request, const std::wstring& setting) {
    if (setting.empty()) {
        const ALG_ID gost = CALG_GOSTR3411_94;
        const bool known =
            CryptFindOIDInfo(CRYPT_OID_INFO_ALGID_KEY, &gost, CRYPT_HASH_ALG_OID_GROUP_ID);
        request.put_DataHashAlg(known ? gost : CALG_SHA1);
        return;
    }
    request.put_DataHashAlg(setting.substr(0, setting.find(L' ')).c_str()); // a comment may follow
}

} // namespace

CRequest::CRequest() : impl_(nullptr) {
    auto impl = std::make_unique<Impl>();
    impl_ = impl.get();
    const auto& policy = *impl->policy;
    apply_default_hash(*this, policy.DefaultHashAlg.value);
    if (!policy.DefaultPolicyID.value.empty()) {
        put_PolicyID(policy.DefaultPolicyID.value.c_str());
    }
    impl.release();
}

CRequest::CRequest(const CRequest& other) : impl_(nullptr) {
    auto impl = std::make_unique<Impl>();
    *impl = *other.impl_;
    impl_ = impl.release();
}

CRequest& CRequest::operator=(const CRequest& other) {
    *impl_ = *other.impl_;
    return *this;
}

CRequest::~CRequest() {
    delete impl_;
}

void CRequest::ResetData() {
    impl_->dataHash.clear();
    impl_->encodedRequest.clear();
    impl_->hHash.destroy();
}

void CRequest::put_DataHash(const unsigned char* hash, unsigned long size) {
    if (impl_->hHash.get() != 0) {
        ATL::AtlThrowImpl(hr(kResultHashing));
    }
    impl_->ClearRequest();
    impl_->dataHash.assign(hash, size);
}

void CRequest::get_DataHash(unsigned char* out, unsigned long* size) const {
    impl_->MakeRequest();
    deliver(impl_->dataHash, out, size);
}

void CRequest::Export(unsigned char* out, unsigned long* size) {
    impl_->MakeRequest();
    deliver(impl_->encodedRequest, out, size);
}

void CRequest::Import(unsigned char* data, unsigned long size) {
    impl_->take_over(data, size);
}

void CRequest::put_CertReq(bool certReq) {
    if (impl_->certReq != certReq) {
        impl_->ClearRequest();
    }
    impl_->certReq = certReq;
}

bool CRequest::get_CertReq() const {
    return impl_->certReq;
}

void CRequest::put_UseNonce(bool useNonce) {
    if (impl_->useNonce != useNonce) {
        impl_->ClearRequest();
    }
    impl_->useNonce = useNonce;
}

bool CRequest::get_UseNonce() const {
    return impl_->useNonce;
}

void CRequest::put_PolicyID(const char* oid) {
    std::string text = oid ? oid : "";
    if (impl_->policyID != text) {
        impl_->ClearRequest();
    }
    impl_->policyID = std::move(text);
}

void CRequest::put_PolicyID(const wchar_t* oid) {
    put_PolicyID(ASN1::tostring(oid ? oid : L"").c_str());
}

const char* CRequest::get_PolicyID() const {
    return impl_->policyID.c_str();
}

void CRequest::put_DataHashAlg(unsigned int algId) {
    impl_->set_data_hash_alg(algId);
}

void CRequest::put_DataHashAlg(const char* oid) {
    impl_->set_data_hash_alg(oid ? oid : "");
}

void CRequest::put_DataHashAlg(const wchar_t* oid) {
    put_DataHashAlg(ASN1::tostring(oid ? oid : L"").c_str());
}

unsigned int CRequest::get_DataHashAlg() const {
    return impl_->dataHashAlg;
}

const char* CRequest::get_DataHashAlgOID() const {
    return impl_->dataHashAlgOID.c_str();
}

void CRequest::put_Flags(unsigned int flags) {
    impl_->flags = flags;
}

unsigned int CRequest::get_Flags() const {
    return impl_->flags;
}

void CRequest::put_TSAAddress(const wchar_t* url) {
    impl_->httpParams.address = text_of(url);
}

const wchar_t* CRequest::get_TSAAddress() const {
    return impl_->httpParams.address.c_str();
}

void CRequest::put_TSAAuthType(enumAuthTypes type) {
    impl_->httpParams.authType = type;
}

enumAuthTypes CRequest::get_TSAAuthType() const {
    return static_cast<enumAuthTypes>(impl_->httpParams.authType);
}

void CRequest::put_TSAUserName(const wchar_t* name) {
    impl_->httpParams.userName = text_of(name);
}

const wchar_t* CRequest::get_TSAUserName() const {
    return impl_->httpParams.userName.c_str();
}

void CRequest::put_TSAPassword(const wchar_t* password) {
    impl_->httpParams.password = text_of(password);
}

const wchar_t* CRequest::get_TSAPassword() const {
    return impl_->httpParams.password.c_str();
}

void CRequest::put_ProxyAddress(const wchar_t* url) {
    impl_->httpParams.proxyAddress = text_of(url);
    impl_->httpParams.proxySet = true;
}

const wchar_t* CRequest::get_ProxyAddress() const {
    return impl_->httpParams.proxyAddress.c_str();
}

void CRequest::put_ProxyAuthType(enumAuthTypes type) {
    impl_->httpParams.proxyAuthType = type;
}

enumAuthTypes CRequest::get_ProxyAuthType() const {
    return static_cast<enumAuthTypes>(impl_->httpParams.proxyAuthType);
}

void CRequest::put_ProxyUserName(const wchar_t* name) {
    impl_->httpParams.proxyUserName = text_of(name);
}

const wchar_t* CRequest::get_ProxyUserName() const {
    return impl_->httpParams.proxyUserName.c_str();
}

void CRequest::put_ProxyPassword(const wchar_t* password) {
    impl_->httpParams.proxyPassword = text_of(password);
}

const wchar_t* CRequest::get_ProxyPassword() const {
    return impl_->httpParams.proxyPassword.c_str();
}

void CRequest::AddData(const unsigned char* data, unsigned long size) {
    impl_->add_data(data, size);
}

void CRequest::put_ClientCertificate(const _CERT_CONTEXT* certificate) {
    impl_->set_client_certificate(certificate);
}

const _CERT_CONTEXT* CRequest::get_ClientCertificate() const {
    return impl_->httpParams.certificate;
}

CStamp& CRequest::Send(bool verify) {
    return impl_->send(*this, verify);
}

CBlob CRequest::get_Response() const {
    return impl_->response;
}

unsigned long CRequest::get_HTTPStatus() const {
    return impl_->httpParams.httpStatus;
}

} // namespace Halcyon::PKI::TSP::Client
