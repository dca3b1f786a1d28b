// `trust`: the roots that count where none are named, in the user's or the machine's store.
#pragma once

#include <string>

#include "exit_status.h"
#include "output.h"

namespace cli {

ExitStatus run_trust_list(const Output& output);

struct TrustChange {
    std::string root;   // a file; of `add`
    std::string sha256; // of the certificate
    bool machine = false;
};

ExitStatus run_trust_add(const TrustChange& change, const Output& output);
ExitStatus run_trust_remove(const TrustChange& change, const Output& output);

} // namespace cli
