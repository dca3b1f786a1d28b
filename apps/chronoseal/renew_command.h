// `renew`: evidence records carried on by a new time-stamp, or by a new hash; plain stamps made
// into records.
#pragma once

#include <string>
#include <vector>

#include "exit_status.h"
#include "output.h"
#include "request_options.h"
#include "trust_options.h"

namespace cli {

struct RenewOptions {
    std::vector<std::string> files;
    std::string hash;     // empty: by a new time-stamp in the last chain
    std::string data;     // for one record; empty: the file beside it
    std::string manifest; // the list by the new hash, of the files of the list that is renewed
    std::string out;      // for one record; empty: in its place, FILE.ers for FILE.tsr
    bool convert_only = false;
    bool force = false;
    AuthorityOptions authority;
    TrustOptions trust;
};

ExitStatus run_renew(const RenewOptions& options, const Output& output);

} // namespace cli
