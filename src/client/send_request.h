// One exchange of bytes with a server over HTTP.
#pragma once

#include <basalt/types.h>
#include <chronoseal/base/blob.h>
#include <chronoseal/client/http_params.h>

namespace Halcyon::PKI::TSP::Client {

// Posts `body` to the address in `params`, through its proxy if it names one, and returns the body
// of the answer, whatever the status; null `headers` means none. The status is left in `params`; a
// failure isn't thrown but stands there and in the last error. An OCSP request without a proxy goes
// through the platform's cache where that is configured: `useCache` allows an answer from it,
// `cacheOnly` nothing else, and `cacheResync` may bound its age. `cacheOnly` without that road
// gives an empty blob and leaves the status. `flag` has no effect. Throws CAtlException where an
// OCSP request can't be put into an address, with the last error's code, and 0x8007000D when the
// cache gives other than one object. Blocks; any number of threads may be inside.
CBlob SendRequest(WinHTTPParams* params, const wchar_t* userAgent, const wchar_t* headers,
                  CBlob* body, bool flag, bool useCache, FILETIME* cacheResync, bool cacheOnly);

} // namespace Halcyon::PKI::TSP::Client
