// The line of a failure says which file it is about.
#pragma once

#include <string>

#include <chronoseal/chronoseal.hpp>

namespace cli {

// "can't verify a.tsr: ..." for `doing` "verify", unless the failure begins by naming the file
// itself.
chronoseal::Error about_file(const std::string& file, const std::string& doing,
                             const chronoseal::Error& error);

// Throws `more_behind` where something stands behind a stamp or a signed message, which would be
// lost or left as it was.
void refuse_more_behind(const chronoseal::Inspection& found);

} // namespace cli
