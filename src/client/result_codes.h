// The client's own result codes. All other codes that it throws are the platform's.
#pragma once

#include <cstdint>

namespace Halcyon::PKI::TSP::Client {

// As bit patterns; `CAtlException::m_hr` carries them as a signed number.
enum ResultCode : std::uint32_t {
    resultHttpStatus = 0xC2100100,      // HTTP status other than 200, and nothing more is known
    resultAuthDenied = 0xC2100101,      // authentication scheme denied by policy
    resultProxyAuthDenied = 0xC2100102, // the same for the proxy
    resultAddressDenied = 0xC2100103,   // address of the authority or the proxy not allowed
    resultNonceDenied = 0xC2100104, // nonce where policy disables it, or none where it is required
    resultHashAlgDenied = 0xC2100110,     // hash algorithm not allowed
    resultPolicyIdDenied = 0xC2100111,    // policy OID not allowed
    resultNonceDiffers = 0xC2100120,      // the token's nonce isn't that of the request
    resultNoAddress = 0xC2100121,         // no address to send to
    resultTimeOutsideWindow = 0xC2100122, // the stamp's time is too far from the time of sending
    resultNoDataHash = 0xC2100123,        // nothing to be stamped was given
    resultNotGranted = 0xC2100124,        // the authority has refused
};

} // namespace Halcyon::PKI::TSP::Client
