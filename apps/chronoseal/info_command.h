// chronoseal info STAMP: shows what a response or token holds. Verifies nothing.
#pragma once

#include <string>
#include <vector>

#include "output.h"

namespace cli {

struct InfoOptions {
    std::string stamp;
    std::vector<std::string> certs; // where else the signer's certificate may be
};

ExitStatus run_info(const InfoOptions& options, const Output& output);

} // namespace cli
