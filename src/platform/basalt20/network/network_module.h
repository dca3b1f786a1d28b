// The module with the HTTP client, loaded when it is first wanted and kept until the end.
#pragma once

#include <basalt/basaltnet/exchange.h>

#include <string>

namespace basalt {

// Null when the module isn't there or isn't the right one; `problem` says why. A module that was
// missing is looked for again at the next call.
ExchangeFunction exchange_function(std::string& problem);

// The same for a module of another name.
ExchangeFunction load_exchange_function(const char* module, std::string& problem);

} // namespace basalt
