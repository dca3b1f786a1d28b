// The state of a request: policy defaults, values, and the making of the encoded form.
#include <chronoseal/base/atl_exception.h>
#include <chronoseal/client/request_impl.h>

#include <basalt/configuration.h>
#include <basalt/error_codes.h>
#include <basalt/last_error.h>
#include <basalt/oid_information.h>
#include <chronoseal/asn1/big_integer.h>
#include <chronoseal/client/policy_reading.h>
#include <chronoseal/client/result_codes.h>
#include <chronoseal/client/trace.h>
#include <chronoseal/core/request.h>

namespace Halcyon::PKI::TSP::Client {

namespace {

// The comparison is case-sensitive, here and in the policy's check.
bool is_https(const std::wstring& address) {
    return address.starts_with(L"https://");
}

// The platform's number, or 0 with the last error that says so.
unsigned int alg_id_of(const char* oid) {
    const auto alg_id = CertOIDToAlgId(oid);
    if (alg_id == 0) {
        SetLastError(NTE_BAD_ALGID);
    }
    return alg_id;
}

} // namespace

CRequest::Impl::Impl() {
    LoadGroupPolicy();
    httpParams.address = policy->DefaultTSPURL.value;
    httpParams.proxyAddress = policy->DefaultProxy.value;
    httpParams.authType = is_https(httpParams.address) ? policy->AuthSSLTypeDefault.value
                                                       : policy->AuthTypeDefault.value;
    httpParams.proxyAuthType = is_https(httpParams.proxyAddress)
                                   ? policy->ProxyAuthSSLTypeDefault.value
                                   : policy->ProxyAuthTypeDefault.value;
}

CRequest::Impl& CRequest::Impl::operator=(const Impl& source) {
    LoadGroupPolicy();
    httpParams = source.httpParams;
    certReq = source.certReq;
    useNonce = source.useNonce;
    policyID = source.policyID;
    dataHashAlg = source.dataHashAlg;
    dataHashAlgOID = source.dataHashAlgOID;
    dataHash = source.dataHash;
    encodedRequest = source.encodedRequest;
    nonce = source.nonce;
    if (this != &source) {
        clientCertificate = source.clientCertificate;
    }
    flags = source.flags;
    // The target keeps its own as well: its list isn't emptied first.
    for (const auto& extension : source.extensions) {
        extensions.insert(extension);
    }
    provider = source.provider;
    // A request that is assigned to itself loses its running hash.
    hHash.destroy();
    if (source.hHash.get() != 0 &&
        !CryptDuplicateHash(source.hHash.get(), nullptr, 0, hHash.put())) {
        throw_last_error();
    }
    return *this;
}

CRequest::Impl::~Impl() {
    hHash.destroy();
    own_policy_.reset();
    provider.release();
}

void CRequest::Impl::LoadGroupPolicy() {
    if (is_legacy_policy_reading()) {
        support_registry_refresh();
        auto fresh = std::make_unique<const CRequestPolicy>(); // may throw: the old one stays then
        own_policy_ = std::move(fresh);
        policy = own_policy_.get();
    } else {
        policy = shared_policy();
        if (!policy) {
            ATL::AtlThrowImpl(hr(kResultPolicyUnreadable));
        }
    }
    useNonce = policy->UseNonceByDefault.value;
    certReq = policy->DefaultCertReq.value;
}

void CRequest::Impl::ClearRequest() noexcept {
    encodedRequest.clear();
    httpParams.httpStatus = 0;
}

void CRequest::Impl::set_data_hash_alg(unsigned int algId) {
    if (hHash.get() != 0) {
        ATL::AtlThrowImpl(hr(kResultHashing));
    }
    if (algId == dataHashAlg) {
        return;
    }
    ClearRequest();
    dataHashAlg = algId; // stays, without its OID, if that isn't found
    const auto* info =
        CryptFindOIDInfo(CRYPT_OID_INFO_ALGID_KEY, &algId, CRYPT_HASH_ALG_OID_GROUP_ID);
    if (!info) {
        ATL::AtlThrowImpl(result_from_last_error(hr(kResultBadHashAlg)));
    }
    dataHashAlgOID = info->pszOID;
}

void CRequest::Impl::set_data_hash_alg(const char* oid) {
    if (hHash.get() != 0) {
        ATL::AtlThrowImpl(hr(kResultHashing));
    }
    if (dataHashAlgOID == oid) {
        return;
    }
    const auto alg_id = alg_id_of(oid);
    if (alg_id != dataHashAlg) {
        ClearRequest();
    }
    dataHashAlgOID = std::string(oid);
    dataHashAlg = alg_id;
}

void CRequest::Impl::take_over(const unsigned char* data, unsigned long size) {
    encodedRequest.assign(data, size);
    TSP::CRequest message;
    message.decode(encodedRequest);
    certReq = message.get_certReq();
    useNonce = message.get_nonce() != nullptr;
    if (message.get_reqPolicy()) {
        policyID = message.get_reqPolicy();
    }
    auto& algorithm = message.get_hashAlgorithm();
    if (algorithm.cachedAlgId == 0) {
        algorithm.cachedAlgId = alg_id_of(algorithm.get_algorithm());
    }
    dataHashAlg = algorithm.cachedAlgId;
    dataHashAlgOID = algorithm.get_algorithm();
    dataHash = message.get_hashedMessage();
    if (useNonce) {
        nonce = *message.get_nonce();
    }
    extensions.clear();
    if (message.get_extensions()) {
        for (const auto& extension : *message.get_extensions()) {
            extensions.insert(extension);
        }
    }
}

void CRequest::Impl::MakeRequest() {
    if (encodedRequest.cbData() != 0) {
        return;
    }
    trace("MakeRequest", "Making request...\n");
    extensions.clear(); // those of an imported request don't survive its change
    if (hHash.get() != 0) {
        finish_hash();
    }
    if (dataHash.cbData() == 0) {
        ATL::AtlThrowImpl(hr(kResultNoDataHash));
    }
    encode_request();
    trace("MakeRequest", "Making request... OK.\n");
}

void CRequest::Impl::finish_hash() {
    DWORD size = 0;
    if (!CryptGetHashParam(hHash.get(), HP_HASHVAL, nullptr, &size, 0)) {
        throw_last_error();
    }
    CBlob value;
    value.resize_to(size);
    if (!CryptGetHashParam(hHash.get(), HP_HASHVAL, value.pbData(), &size, 0)) {
        throw_last_error();
    }
    dataHash.swap(value);
    if (!CryptDestroyHash(hHash.detach())) {
        throw_last_error();
    }
}

void CRequest::Impl::encode_request() {
    const ASN1::CAlgorithmIdentifierEx algorithm(dataHashAlgOID.c_str());
    trace("MakeRequest", "Initializing request...\n");
    TSP::CRequest message(algorithm, dataHash, certReq);
    if (!policyID.empty()) {
        message.put_reqPolicy(policyID.c_str());
    }
    ASN1::CBigInteger fresh_nonce;
    if (useNonce) {
        fresh_nonce =
            ASN1::MakeRandomBigInteger(0, static_cast<unsigned long>(policy->NonceLength.value));
        if (fresh_nonce.cbData() != 0) {
            fresh_nonce.pbData()[0] &= 0x7F; // positive, as `abs` would make it
        }
        message.swap_nonce(fresh_nonce);
    }
    trace("MakeRequest", "Encoding request...\n");
    encodedRequest = message.encode();
    if (useNonce) {
        message.swap_nonce(nonce);
    }
}

} // namespace Halcyon::PKI::TSP::Client
