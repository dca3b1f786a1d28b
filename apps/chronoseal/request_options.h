// The options that make up a time-stamp request, shared by `stamp` and `request`.
#pragma once

#include <string>

#include <CLI/App.hpp>

#include "client/request.h"

namespace cli {

struct RequestOptions {
    std::string hash;
    std::string policy;
    bool no_nonce = false;
    bool cert = false;
};

void add_request_options(CLI::App& command, RequestOptions& options);

// Applies the options over the machine's defaults. Without --hash and without a default in the
// policy the hash is SHA-256. Throws Failure with the status `usage` for a name that isn't known.
void apply(const RequestOptions& options, Halcyon::PKI::TSP::Client::CRequest& request);

// Hashes the file into the request, in constant memory.
void add_file(const std::string& path, Halcyon::PKI::TSP::Client::CRequest& request);

} // namespace cli
