// `trust`: the roots that count where none are named, in the user's or the machine's store.
#pragma once

#include <string>

#include "exit_status.h"
#include "output.h"

namespace cli {

ExitStatus run_trust_list(const Output& output);

struct TrustChange {
    std::string root;   // a certificate's file, or a stamp that carries it; of `add`
    std::string sha256; // of the certificate
    bool machine = false;
};

// An untrusted root's failure with the line to type where one knows better; any other as it is.
// `file`: the root, or a stamp that carries it.
chronoseal::Error with_trust_call(const chronoseal::Error& error, const std::string& file);

ExitStatus run_trust_add(const TrustChange& change, const Output& output);
ExitStatus run_trust_remove(const TrustChange& change, const Output& output);

} // namespace cli
