// `policy show`: every key, its value, and where it comes from. `doctor`: what of this machine
// would make a stamp or a verification fail.
#pragma once

#include "exit_status.h"
#include "output.h"
#include "request_options.h"
#include "trust_options.h"

namespace cli {

ExitStatus run_policy_show(const Output& output);

struct DoctorOptions {
    AuthorityOptions authority;
    RequestOptions request;
    TrustOptions trust;
};

ExitStatus run_doctor(const DoctorOptions& options, const Output& output);

} // namespace cli
