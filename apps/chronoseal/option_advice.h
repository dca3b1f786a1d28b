// The library's advice in the words of the command: it can't know which option gives what it asks
// for.
#pragma once

#include <chronoseal/chronoseal.hpp>

namespace cli {

chronoseal::Error with_options(const chronoseal::Error& error);

} // namespace cli
