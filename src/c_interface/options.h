// What callers fill in, as the values of the front door. Texts and sources are copied.
#pragma once

#include <chronoseal/chronoseal.h>
#include <chronoseal/chronoseal.hpp>

namespace chronoseal::c_interface {

std::vector<Source> sources_of(const chronoseal_source* first, std::size_t count, const char* name);
// Of null the machine's.
Trust trust_of(const chronoseal_trust* trust);
SealerOptions options_of(const chronoseal_sealer_options* options);
Expected expected_of(const chronoseal_expected* expected);

} // namespace chronoseal::c_interface
