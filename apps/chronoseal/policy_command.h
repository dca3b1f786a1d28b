// chronoseal policy show: every key of the policy, its value in force, and the file that it comes
// from.
#pragma once

#include "output.h"

namespace cli {

// Exit status `unreachable` when a configuration file can't be read.
ExitStatus run_policy_show(const Output& output);

} // namespace cli
