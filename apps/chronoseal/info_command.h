// `info`: what a file holds; nothing is verified. `request`: a request for another way to an
// authority.
#pragma once

#include <string>

#include "exit_status.h"
#include "output.h"
#include "request_options.h"

namespace cli {

struct InfoOptions {
    std::string file;
};

ExitStatus run_info(const InfoOptions& options, const Output& output);

struct MakeRequestOptions {
    std::string file;
    std::string out;
    bool force = false;
    RequestOptions request;
};

ExitStatus run_request(const MakeRequestOptions& options, const Output& output);

} // namespace cli
