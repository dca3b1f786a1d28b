// `stamp`: a time-stamp for each file, or for a digest; `send`: for a finished request.
#pragma once

#include <string>
#include <vector>

#include "exit_status.h"
#include "output.h"
#include "request_options.h"
#include "trust_options.h"

namespace cli {

struct StampOptions {
    std::vector<std::string> files;
    std::string digest;
    std::string out;
    std::string token_out, certs_out, crls_out;
    bool force = false;
    bool skip_existing = false;
    bool no_verify = false;
    unsigned jobs = 4;
    bool together = false; // one stamp for all files, in a list
    bool manifest = false; // the files are lists
    RequestOptions request;
    AuthorityOptions authority;
    TrustOptions trust;
};

ExitStatus run_stamp(const StampOptions& options, const Output& output);

struct SendOptions {
    std::string request;
    std::string out;
    bool force = false;
    bool no_verify = false;
    AuthorityOptions authority;
    TrustOptions trust;
};

ExitStatus run_send(const SendOptions& options, const Output& output);

} // namespace cli
