// WinHTTPParams: how a request reaches its authority, and what came of the last exchange.
#pragma once

#include <cstdint>
#include <string>

#include <chronoseal/client/auth_type.h>

struct _CERT_CONTEXT;

namespace Halcyon::PKI::TSP::Client {

// Of these the transport uses the address and what concerns the proxy but its scheme. The
// authority's scheme, user, password and client certificate are kept for the application and for
// policy.
struct WinHTTPParams {
    std::wstring address;
    std::int64_t authType = AuthAnonymous;
    std::wstring userName;
    std::wstring password;
    const _CERT_CONTEXT* certificate = nullptr; // borrowed
    std::wstring proxyAddress;                  // empty: direct
    bool proxySet = false;
    std::wstring reservedText1;
    std::int64_t proxyAuthType = AuthAnonymous;
    std::wstring proxyUserName;
    std::wstring proxyPassword;
    std::uint64_t httpStatus = 0;
    std::uint64_t reservedMode = 1;
    std::wstring reservedText2;
};

} // namespace Halcyon::PKI::TSP::Client
