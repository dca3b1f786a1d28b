// What the administrator says about the network: the numbers and the file of certificates in the
// table [config.network] of the configuration tree. Read once for the process, at the first
// exchange, since looking at the tree costs as much as a good part of an exchange. A value out of
// its range counts as absent.
#pragma once

#include <basalt/network/http_client.h>

#include <string>

namespace basalt {

struct NetworkSettings {
    HttpLimits limits;   // ConnectTimeoutMilliseconds, TotalTimeoutMilliseconds, MaxAnswerBytes
    std::string ca_file; // CaFile: roots for TLS in place of the system's; empty: the system's
    std::string fetching_proxy; // FetchProxy: for what certificates name; empty: none
    IssuerReach issuers = IssuerReach::outside; // FetchIssuers
};

const NetworkSettings& network_settings();

} // namespace basalt
