// A program's commands and options as JSON, for the man pages and the completions, which are made
// of it so that no option is written down twice.
#pragma once

#include <string>

#include <CLI/CLI.hpp>

namespace cli {

// Options that the help doesn't show are left out.
std::string dump_options(const CLI::App& app);

} // namespace cli
