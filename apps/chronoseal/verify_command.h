// chronoseal verify STAMP: judges a stored response or token, and compares it with data or a
// digest.
#pragma once

#include <string>

#include "output.h"
#include "trust_options.h"

namespace cli {

struct VerifyOptions {
    std::string stamp;
    std::string data;
    std::string digest; // hexadecimal
    TrustOptions trust;
};

ExitStatus run_verify(const VerifyOptions& options, const Output& output);

} // namespace cli
