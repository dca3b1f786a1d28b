// chronoseal authenticode FILE --url URL --out F: the older stamping protocol. The file is the
// signature (or digest) to be stamped; the result is the server's PKCS#7 answer as it stands, which
// nothing here has checked.
#pragma once

#include <string>

#include "output.h"

namespace cli {

struct AuthenticodeOptions {
    std::string file;
    std::string url;
    std::string out;
};

ExitStatus run_authenticode(const AuthenticodeOptions& options, const Output& output);

} // namespace cli
