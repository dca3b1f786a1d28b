// The cached road of an OCSP request: the request goes into the address, and the platform's cache
// may answer.
#pragma once

#include <basalt/types.h>
#include <chronoseal/base/blob.h>
#include <chronoseal/client/http_params.h>

namespace Halcyon::PKI::TSP::Client {

// Returns the answer, and leaves its status in `params`: 456 where no HTTP status explains a
// failure. Failures to fetch aren't thrown. Throws CAtlException with the last error's code if
// `body` can't be put into an address, and 0x8007000D when the platform gives other than one
// object.
CBlob retrieve_by_url(WinHTTPParams& params, const CBlob& body, bool useCache,
                      FILETIME* cacheResync, bool cacheOnly);

} // namespace Halcyon::PKI::TSP::Client
