// CHRONOSEAL_API marks what libchronoseal.so exports. Everything else in the library is hidden.
#pragma once

#define CHRONOSEAL_API __attribute__((visibility("default")))
