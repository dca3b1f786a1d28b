// Out of memory as an Error, where callbacks of the caller's may throw what goes on as it is.
// (`guarded` makes an Error of everything.)
#pragma once

#include <new>

#include <chronoseal/seal/failure.h>

namespace chronoseal {

// The one that can be had without any.
const Error& no_memory() noexcept;

template <class Call>
auto within_memory(std::string_view doing, Call&& call) {
    try {
        return call();
    } catch (const std::bad_alloc&) {
        throw error_in_flight(doing);
    }
}

} // namespace chronoseal
