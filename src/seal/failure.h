// The border between the floors below, which throw result codes and set last errors, and this one,
// which throws `Error` alone.
#pragma once

#include <new>
#include <string>
#include <string_view>

#include <chronoseal/base/atl_exception.h>
#include <chronoseal/chronoseal.hpp>

namespace chronoseal {

// The error for the exception in flight; to be called in a catch block. `doing` stands in front of
// its text.
Error error_in_flight(std::string_view doing);

Error moved_from();

// Runs `call`; whatever it throws leaves as an Error.
template <class Call>
auto guarded(std::string_view doing, Call&& call) {
    try {
        return call();
    } catch (const Error&) {
        throw;
    } catch (...) {
        throw error_in_flight(doing);
    }
}

// What a handle holds; throws `moved_from` for one that holds nothing.
template <class Pointer>
auto& held_by(const Pointer& pointer) {
    if (pointer == nullptr) {
        throw moved_from();
    }
    return *pointer;
}

// The error for the calling thread's last error, which must be that of a failure.
Error error_of_last(std::string_view doing);

// The reason for an errno, "No such file or directory", without its number.
std::string reason_of(int number);
// `file_unreadable` for a path and the errno.
Error unreadable_file(std::string_view path, int number);

} // namespace chronoseal
