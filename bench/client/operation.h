// The operations that are compared: one kind of work, done by one library.
#pragma once

#include <vector>

namespace bench {

struct Operation {
    const char* work;
    const char* library; // "chronoseal", or what it is compared with
    void (*run)();       // does the work once; what it needs is made by the first call
};

using Operations = std::vector<Operation>;

void add_request_operations(Operations& operations);
void add_import_operations(Operations& operations);
void add_verify_operations(Operations& operations);
void add_exchange_operations(Operations& operations);

// Ends the program where an operation fails: a figure of failed work would be none.
void require(bool good, const char* what);

} // namespace bench
