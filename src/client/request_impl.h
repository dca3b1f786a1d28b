// CRequest::Impl: the state of a request.
#pragma once

#include <memory>
#include <string>

#include <chronoseal/asn1/big_integer.h>
#include <chronoseal/asn1/extension.h>
#include <chronoseal/atl/cert_context.h>
#include <chronoseal/atl/crypt_hash.h>
#include <chronoseal/atl/crypt_prov.h>
#include <chronoseal/base/blob.h>
#include <chronoseal/client/http_params.h>
#include <chronoseal/client/request.h>
#include <chronoseal/client/request_policy.h>
#include <chronoseal/client/stamp.h>

namespace Halcyon::PKI::TSP {
class CRequest;
}

namespace Halcyon::PKI::TSP::Client {

// A running hash and a finished one exclude each other; a non-empty encoded request is the encoding
// of the values beside it.
class __attribute__((visibility("hidden"))) CRequest::Impl {
public:
    // In the state of a new request under the policy in force.
    Impl();
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl& source);
    // Releases the hash, then the policy, then the provider that the hash came from.
    ~Impl();

    // Takes the policy in force and resets the two defaults that hang on it. Throws 0x8007045A.
    void LoadGroupPolicy();
    void ClearRequest() noexcept;
    // Ends a running hash and encodes, unless that is done.
    void MakeRequest();
    // Throws the code of the first rule that the request breaks; changes nothing.
    void CheckPolicies() const;
    void set_data_hash_alg(unsigned int algId);
    void set_data_hash_alg(const char* oid);
    void take_over(const unsigned char* data, unsigned long size);
    void add_data(const unsigned char* data, unsigned long size);
    void set_client_certificate(const _CERT_CONTEXT* certificate);
    CStamp& send(const CRequest& owner, bool verify);

    ATL::CCryptHash hHash;
    bool certReq = false;
    bool useNonce = false;
    unsigned int flags = 0;
    std::string policyID;
    unsigned int dataHashAlg = 0;
    std::string dataHashAlgOID;
    CBlob dataHash;
    CBlob encodedRequest;
    ASN1::CBigInteger nonce;
    ASN1::CExtensions extensions;
    ATL2::CCertContext clientCertificate;
    WinHTTPParams httpParams;
    CStamp stamp;
    CBlob response;
    ATL::CCryptProv provider;
    const CRequestPolicy* policy = nullptr;

private:
    void finish_hash();
    void encode_request();
    void begin_hash();
    void exchange();
    void check_time(const CDateTime& sent) const;
    void verify_stamp() const;

    std::unique_ptr<const CRequestPolicy> own_policy_; // each request's own, under legacy reading
};

} // namespace Halcyon::PKI::TSP::Client
