// `extend`: puts the evidence that a judgement takes into stored stamps.
#pragma once

#include <string>
#include <vector>

#include "exit_status.h"
#include "output.h"
#include "trust_options.h"

namespace cli {

struct ExtendOptions {
    std::vector<std::string> stamps;
    std::string out; // empty: in place
    bool force = false;
    TrustOptions trust;
};

ExitStatus run_extend(const ExtendOptions& options, const Output& output);

} // namespace cli
