// For tests: the result code that a call throws.
#pragma once

#include <cstdint>

#include <chronoseal/base/atl_exception.h>

namespace Halcyon {

// As a bit pattern; 0 if nothing is thrown.
template <class Call>
std::uint32_t code_of(Call&& call) {
    try {
        call();
    } catch (const ATL::CAtlException& failure) {
        return static_cast<std::uint32_t>(failure.m_hr);
    }
    return 0;
}

} // namespace Halcyon

// The statement behind the code throws that code, or nothing where the code is 0.
#define EXPECT_CODE(code, ...) EXPECT_EQ(::Halcyon::code_of([&] { __VA_ARGS__; }), code)
