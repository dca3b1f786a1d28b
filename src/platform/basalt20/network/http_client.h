// One HTTP exchange over libcurl, for this library's own use: SendPKIRequest, retrieval by address,
// revocation. Each thread keeps one handle, and with it its open connections. Errors are network
// last errors (network.h), given in the answer; only running out of memory throws.
#pragma once

#include "sup/types.h"

#include <chrono>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace basalt {

// Bounds of an exchange. network_limits() gives those of the configuration tree.
struct HttpLimits {
    std::chrono::milliseconds connect_timeout{10000};
    std::chrono::milliseconds total_timeout{30000};
    std::size_t answer_bytes = std::size_t{16} << 20;
};

struct HttpRequest {
    std::string url;                  // http or https, UTF-8
    std::string user_agent;           // empty: none is sent
    std::vector<std::string> headers; // "Name: value", no line ends
    std::string proxy;                // empty: direct, whatever the environment says
    std::string proxy_user;           // as it is, not escaped
    std::string proxy_password;
    std::optional<std::span<const BYTE>> body; // present: POST, absent: GET
    // Up to 5, to http and https alone, never from https back to http, never to an address with
    // user-info.
    bool follow_redirects = false;
    HttpLimits limits;
};

struct HttpAnswer {
    DWORD error = 0;        // 0 when a complete answer came, whatever its status
    unsigned status = 0;    // 0 when none came; the proxy's when the proxy refused the tunnel
    std::vector<BYTE> body; // empty unless `error` is 0
    std::string detail;     // in words what failed, for traces
};

HttpLimits network_limits();

// The proxy for what is fetched by address (not for time-stamp requests, which name their own);
// empty: direct.
const std::string& fetching_proxy();

HttpAnswer http_exchange(const HttpRequest& request);

} // namespace basalt
