// The result codes that the client itself gives: its own, and those of the platform that it gives
// with a meaning of its own. All other codes that it throws come from the platform as they are.
#pragma once

#include <cstdint>

namespace Halcyon::PKI::TSP::Client {

// As bit patterns; `CAtlException::m_hr` carries them as a signed number.
enum ResultCode : std::uint32_t {
    // The client's own.
    kResultHttpStatus = 0xC2100100,      // HTTP status other than 200, and nothing more is known
    kResultAuthDenied = 0xC2100101,      // authentication scheme denied by policy
    kResultProxyAuthDenied = 0xC2100102, // the same for the proxy
    kResultAddressDenied = 0xC2100103,   // address of the authority or the proxy not allowed
    kResultNonceDenied = 0xC2100104, // nonce where policy disables it, or none where it is required
    kResultHashAlgDenied = 0xC2100110,     // hash algorithm not allowed
    kResultPolicyIdDenied = 0xC2100111,    // policy OID not allowed
    kResultNonceDiffers = 0xC2100120,      // the token's nonce isn't that of the request
    kResultNoAddress = 0xC2100121,         // no address to send to
    kResultTimeOutsideWindow = 0xC2100122, // the stamp's time is too far from the time of sending
    kResultNoDataHash = 0xC2100123,        // nothing to be stamped was given
    kResultNotGranted = 0xC2100124,        // the authority has refused

    // The platform's.
    kResultFailed = 0x80004005,           // general failure; an unknown status, other content
    kResultBadAttributes = 0x8007000B,    // attributes that stand twice, or may not stand together
    kResultBadRetrieval = 0x8007000D,     // the cache gave other than exactly one object
    kResultBufferTooSmall = 0x800700EA,   // the needed size stands in `*size`
    kResultPolicyUnreadable = 0x8007045A, // the machine's policy can't be read
    kResultNoStamp = 0x8007139F,          // nothing of that kind in the stamp's state
    kResultBadData = 0x80090005,          // the authority couldn't read the request
    kResultBadSignature = 0x80090006,     // the token's signature doesn't verify
    kResultBadHashAlg = 0x80090008,       // hash algorithm unknown
    kResultHashing = 0x8009000C,          // not while data is being hashed
    kResultNotSupported = 0x80090029,     // the authority doesn't support what was asked
    kResultUnknownAlg = 0x80091002,       // the platform can't compute an algorithm of the message
    kResultHashDiffers = 0x80091007,      // the token's hash isn't that of the request
    kResultNotFound = 0x80092004,         // no signing-certificate attribute, or no certificate
    kResultDataHashSet = 0x80092005,      // no data once the hash is final or was given
    kResultCriticalExtension = 0x800B0105 // a critical extension is refused
};

} // namespace Halcyon::PKI::TSP::Client
