// CRequestPolicy: what the administrator of a machine has set about time-stamp requests.
#pragma once

#include <chronoseal/client/policy_value.h>
#include <chronoseal/visibility.h>

namespace Halcyon::PKI::TSP::Client {

// Each field bears the name of its key below `\\config\\cades\\tsppolicy\\`; docs/configuration.md
// tells what each one governs. Immutable once made, and may then be read from any thread.
class CHRONOSEAL_API CRequestPolicy {
public:
    // Reads all keys. Throws CAtlException with the support library's code for a text or a list
    // that is there and can't be read.
    CRequestPolicy();

    CGPString DefaultHashAlg;
    CGPLong NonceLength;   // bytes
    CGPLong StampAccuracy; // milliseconds on either side of the time of sending
    CGPStrings HashAlgsAllowed;
    CGPStrings HashAlgsDenied;
    CGPBool DefaultCertReq;
    CGPBool RequireNonce;
    CGPBool DisableNonce;
    CGPBool UseNonceByDefault;
    CGPString DefaultTSPURL;
    CGPStrings AllowedTSPs;
    CGPString DefaultProxy;
    CGPStrings AllowedProxies;
    CGPBool DisablePolicyID;
    CGPString DefaultPolicyID;
    CGPStrings AllowedPolicyID;
    CGPLong AuthTypeDefault;
    CGPLong AuthSSLTypeDefault;
    CGPBool AuthSSLDenyAnonym;
    CGPBool AuthSSLDenyBasic;
    CGPBool AuthSSLDenyDigest;
    CGPBool AuthSSLDenyNTLM;
    CGPBool AuthSSLDenyNegotiate;
    CGPBool AuthDenyAnonym;
    CGPBool AuthDenyBasic;
    CGPBool AuthDenyDigest;
    CGPBool AuthDenyNTLM;
    CGPBool AuthDenyNegotiate;
    CGPLong ProxyAuthTypeDefault;
    CGPLong ProxyAuthSSLTypeDefault;
    CGPBool ProxyAuthSSLDenyAnonym;
    CGPBool ProxyAuthSSLDenyBasic;
    CGPBool ProxyAuthSSLDenyDigest;
    CGPBool ProxyAuthSSLDenyNTLM;
    CGPBool ProxyAuthSSLDenyNegotiate;
    CGPBool ProxyAuthDenyAnonym;
    CGPBool ProxyAuthDenyBasic;
    CGPBool ProxyAuthDenyDigest;
    CGPBool ProxyAuthDenyNTLM;
    CGPBool ProxyAuthDenyNegotiate;
};

} // namespace Halcyon::PKI::TSP::Client
