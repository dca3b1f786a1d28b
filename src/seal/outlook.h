// How long a verdict will hold: certificates end, algorithms age, evidence of revocation speaks of
// its own time only.
#pragma once

#include <vector>

#include <chronoseal/chronoseal.hpp>
#include <chronoseal/seal/sunset.h>

namespace chronoseal {

// From the verdict's chain, token and `as_of`, which have to be there, and the ends of the
// algorithms in use.
Outlook outlook_of(const Verdict& verdict, const std::vector<Sunset>& sunsets);

// What is to be remarked beside a good verdict: that it rests on an ended certificate, and which
// algorithms are past their time.
std::optional<Remark> aged_remark(const Outlook& outlook);
std::vector<Remark> sunset_remarks(const std::vector<Sunset>& sunsets, Time as_of);

} // namespace chronoseal
