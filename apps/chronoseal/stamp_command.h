// chronoseal stamp FILE...: gets a time-stamp for each file, verifies it, and writes the
// authority's response.
#pragma once

#include <string>
#include <vector>

#include "output.h"
#include "request_options.h"
#include "trust_options.h"

namespace cli {

struct StampOptions {
    std::vector<std::string> files;
    std::string url;
    std::string out;
    bool no_verify = false;
    RequestOptions request;
    TrustOptions trust;
};

ExitStatus run_stamp(const StampOptions& options, const Output& output);

} // namespace cli
