// The HTTP face of the authority: one address for RFC 3161 and for Authenticode requests, and
// /root.crl.
#pragma once

#include <chrono>
#include <filesystem>
#include <string>

#include "time_stamp_responder.h"

namespace tsa {

struct ServerOptions {
    std::string host = "127.0.0.1";
    int port = 0; // 0: any free one
    std::filesystem::path folder;
    std::chrono::milliseconds idle{5000};     // for the next request to begin
    std::chrono::milliseconds request{10000}; // from a request's first byte to its answer's end
    bool log = true;                          // a line for each request, on standard error
};

// Serves until SIGINT or SIGTERM. Prints one line with its address to standard output once it is
// ready. Returns false when it can't listen there.
bool serve(const Identity& identity, TimeStampResponder& responder, const ServerOptions& options);

} // namespace tsa
