// The hashes that this authority stamps: those that chronoseal reads, by the names that it writes,
// and none else that OpenSSL may know.
#pragma once

#include <string>
#include <vector>

namespace tsa {

// "SHA-256", ...: accepted unless others are named. Not SHA-1.
std::vector<std::string> default_hashes();
// Those and SHA-1, with which old clients ask.
std::vector<std::string> all_hashes();
// OpenSSL's name for "SHA-256", "sha256", "SHA256"; empty for what isn't offered.
std::string openssl_name(const std::string& name);

} // namespace tsa
