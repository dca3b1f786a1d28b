// For tests that put a function of their own in the place of one of the platform's.
#pragma once

#include <dlfcn.h>

// The platform's own.
#define REAL(function) reinterpret_cast<decltype(&(function))>(::dlsym(RTLD_NEXT, #function))
