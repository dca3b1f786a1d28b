// How long a verdict will hold: certificates end, algorithms age, evidence of revocation speaks of
// its own time only.
#pragma once

#include <chronoseal/chronoseal.hpp>

namespace chronoseal {

// From the verdict's chain, token and `as_of`, which have to be there.
Outlook outlook_of(const Verdict& verdict);

// What is to be remarked beside a good verdict: that it rests on an ended certificate, and which
// algorithms are past their time.
std::optional<Remark> aged_remark(const Outlook& outlook);
std::vector<Remark> sunset_remarks(const Verdict& verdict);

} // namespace chronoseal
