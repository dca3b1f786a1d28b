// One HTTP exchange, for this library's own use: SendPKIRequest, retrieval by address, revocation.
// The module that makes it (basaltnet/exchange.h) is loaded with the first one. Errors are network
// last errors (network.h), given in the answer, and ERROR_MOD_NOT_FOUND (126) where the module
// can't be loaded; only running out of memory throws.
#pragma once

#include <basalt/basaltnet/exchange.h>
#include <basalt/sup/web_address.h>

#include <string>

namespace basalt {

// The limits of the configuration tree.
HttpLimits network_limits();

// Where issuers that are missing may be fetched from: nowhere; hosts of the internet; any.
enum class IssuerReach { none, outside, anywhere };

// As the configuration tree says; outside where it says nothing.
IssuerReach configured_issuer_reach();

// The proxy for what certificates name, from the configuration tree; empty: none.
const std::string& fetching_proxy();

// An address that isn't http or https, and one with user-info, be it the server's or the proxy's,
// is refused before anything is sent.
HttpAnswer http_exchange(const HttpRequest& request);

} // namespace basalt
