// `attach`: stamps the signatures in a signed message.
#pragma once

#include <string>

#include "exit_status.h"
#include "output.h"
#include "request_options.h"
#include "trust_options.h"

namespace cli {

struct AttachOptions {
    std::string file;
    std::string out;     // empty: in place
    std::string data;    // what a detached signature is over
    unsigned signer = 0; // 0: not named
    bool all = false;
    std::string attribute;
    bool force = false;
    RequestOptions request;
    AuthorityOptions authority;
    TrustOptions trust;
};

ExitStatus run_attach(const AttachOptions& options, const Output& output);

} // namespace cli
