// Settings that can each be read, and still make no sense: values that no request could use, and
// settings that contradict one another.
#pragma once

#include <chronoseal/chronoseal.hpp>

namespace chronoseal {

// Marks them in the list of all settings, with what is wrong; those that are marked stay as they
// are. Fatal is what leaves no request, or none by the machine's own values.
void check_settings(std::vector<Setting>& settings);

} // namespace chronoseal
