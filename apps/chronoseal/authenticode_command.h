// `authenticode`: the older stamping protocol of signed programs.
#pragma once

#include <string>

#include "exit_status.h"
#include "output.h"
#include "trust_options.h"

namespace cli {

struct AuthenticodeOptions {
    std::string file;
    std::string url;
    std::string out;
    bool force = false;
    bool no_verify = false;
    TrustOptions trust;
};

ExitStatus run_authenticode(const AuthenticodeOptions& options, const Output& output);

} // namespace cli
