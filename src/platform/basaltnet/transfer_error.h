// What curl's codes mean as network last errors.
#pragma once

#include <basalt/types.h>

#include <curl/curl.h>

namespace basalt {

// The last error for the outcome of the exchange that the handle has just made; 0 for success. What
// is wrong with a server's certificate is told apart: unknown issuer, wrong name, out of date,
// revoked, wrong usage.
DWORD last_error_of(CURL* handle, CURLcode code);

} // namespace basalt
