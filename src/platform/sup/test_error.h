// For tests: the last error that a call leaves.
#pragma once

#include <gtest/gtest.h>

#include <basalt/last_error.h>

// The call gives FALSE or null, and this last error of its own.
#define EXPECT_ERROR(code, ...)                                                                    \
    EXPECT_EQ((SetLastError(0), (__VA_ARGS__) ? DWORD{0} : GetLastError()), code)
