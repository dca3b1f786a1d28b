// One line on standard error for each request that was answered, or refused as no HTTP: when, from
// where, what was asked, what was answered. What the client wrote stands quoted in it.
#pragma once

#include <httplib.h>

namespace tsa {

// `outcome`: what became of it in words, "granted 0x1234"; empty where the HTTP status says enough.
void log_request(const httplib::Request& request, const httplib::Response& response,
                 const std::string& outcome);

} // namespace tsa
