// `verify`: judges stored stamps, one or thousands, and those inside signed messages.
#pragma once

#include <string>
#include <vector>

#include "exit_status.h"
#include "output.h"
#include "trust_options.h"

namespace cli {

struct VerifyOptions {
    std::vector<std::string> stamps;
    std::string data;
    std::string digest;
    std::string request;
    bool no_data = false;
    unsigned jobs = 0; // 0: as many as there are processors
    std::string report;
    bool force = false;
    bool manifest = false; // a record's data is a list of hashes
    bool files = false;    // of which the files are compared, too
    TrustOptions trust;
};

ExitStatus run_verify(const VerifyOptions& options, const Output& output);

} // namespace cli
