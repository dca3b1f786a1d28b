// What is wrong with the words of a call, in one line that names the word and the nearest right
// one.
#pragma once

#include <CLI/App.hpp>

#include <chronoseal/chronoseal.hpp>

namespace cli {

chronoseal::Error wrong_usage(const CLI::ParseError& error, const CLI::App& app, int argc,
                              const char* const* argv);

} // namespace cli
