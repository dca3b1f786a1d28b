// One HTTP exchange over libcurl: what libbasalt20 asks of this module, and the records that cross
// between them. Each thread keeps one handle, and with it its open connections. Errors are network
// last errors (network.h of basalt20), given in the answer; only running out of memory throws.
#pragma once

#include <basalt/types.h>
#include <basalt/visibility.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace basalt {

struct HttpLimits {
    std::chrono::milliseconds connect_timeout{10000};
    std::chrono::milliseconds total_timeout{30000};
    std::size_t answer_bytes = std::size_t{16} << 20;

    bool operator==(const HttpLimits&) const = default;
};

struct HttpRequest {
    std::string url;                  // http or https, UTF-8, without user-info
    std::string user_agent;           // empty: none is sent
    std::vector<std::string> headers; // "Name: value", no line ends
    std::string proxy;                // empty: direct, whatever the environment says
    std::string proxy_user;           // as it is, not escaped
    std::string proxy_password;
    std::optional<std::span<const BYTE>> body; // present: POST, absent: GET
    // Of a GET: up to 5, to http and https alone, never from https to http, nor to an address with
    // user-info.
    bool follow_redirects = false;
    // Refuses hosts of this machine and of inner networks, at each step and by the address that is
    // connected to. Behind a proxy, which resolves names itself, only those that are told by the
    // host as it is written.
    bool outside_only = false;
    HttpLimits limits; // the time is for all redirects together
    std::string user;  // for basic authentication at the server, as it is; empty: none
    std::string password;
    std::string client_certificate; // PEM file for TLS; empty: none
    std::string client_key;         // PEM file; empty: it stands in the certificate's
    std::string ca_file;            // roots for TLS; empty: the configured ones
};

struct HttpAnswer {
    DWORD error = 0;            // 0 when a complete answer came, whatever its status
    unsigned status = 0;        // 0 when none came; the proxy's when the proxy refused the tunnel
    std::vector<BYTE> body;     // empty unless `error` is 0
    bool is_redirected = false; // it, or the failure, is of another address than was asked for
    std::string detail;         // in words what failed, for traces
    std::uint32_t retry_after = 0; // seconds that the server wants one to wait; 0: not told
};

} // namespace basalt

// `ca_file` holds the roots for TLS, with the server and with a proxy; empty: the system's.
extern "C" BASALT_API void basalt_net_exchange(const basalt::HttpRequest& request,
                                               const std::string& ca_file,
                                               basalt::HttpAnswer& answer);

namespace basalt {
// What it is called where the module is loaded.
inline constexpr char kExchangeFunction[] = "basalt_net_exchange";
inline constexpr char kExchangeModule[] = "libbasaltnet.so.1";
using ExchangeFunction = decltype(&basalt_net_exchange);
} // namespace basalt
