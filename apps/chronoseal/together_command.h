// `stamp --together` and `stamp --manifest`: one time-stamp for many files, or for lists of hashes;
// `prove`: the record of one file out of that of a list.
#pragma once

#include <string>
#include <vector>

#include "exit_status.h"
#include "output.h"
#include "stamp_command.h"

namespace cli {

// Where the options say `together` or `manifest`.
ExitStatus run_stamp_together(const StampOptions& options, const Output& output);

struct ProveOptions {
    std::vector<std::string> files;
    std::string manifest;
    std::string record;   // of the list; empty: beside it
    std::string rehashed; // the list by which that was renewed; empty: it wasn't
    std::string out;
    bool force = false;
};

ExitStatus run_prove(const ProveOptions& options, const Output& output);

} // namespace cli
