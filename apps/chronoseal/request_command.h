// chronoseal request FILE --out F.tsq: writes the request that `stamp` would send, and sends
// nothing.
#pragma once

#include <string>

#include "output.h"
#include "request_options.h"

namespace cli {

struct MakeRequestOptions {
    std::string file;
    std::string out;
    RequestOptions request;
};

ExitStatus run_request(const MakeRequestOptions& options, const Output& output);

} // namespace cli
