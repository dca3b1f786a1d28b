// The part of a distinguished name that people call somebody by.
#pragma once

#include <string>
#include <string_view>

namespace cli {

// The common name of a name in the form "CN=..., O=...", or the whole name where there is none,
// quoted for printing and between quotation marks: "Example TSA".
std::string short_name(std::string_view distinguished_name);

} // namespace cli
