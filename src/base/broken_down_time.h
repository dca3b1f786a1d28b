// A date's calendar fields for the text forms.
#pragma once

#include <ctime>

#include <chronoseal/base/date_time.h>

namespace Halcyon {

// The fields as a `tm` in UTC. Where the platform's calendar ends before the date does, what is in
// flight is thrown on, and with nothing in flight the process ends: the text forms have no failure
// code.
std::tm broken_down_time(const CDateTime& date);

} // namespace Halcyon
