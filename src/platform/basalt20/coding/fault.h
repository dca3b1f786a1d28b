// How failures travel inside this library: as a Fault with the last error's code, up to the
// exported function, where `guarded` turns it into a last error and a result.
#pragma once

#include <basalt/error_codes.h>
#include <basalt/last_error.h>
#include <basalt/types.h>

#include <exception>
#include <new>
#include <utility>

namespace basalt {

struct Fault {
    DWORD code;
};

[[noreturn]] inline void fail(DWORD code) {
    throw Fault{code};
}

inline void require(bool condition, DWORD code = E_INVALIDARG) {
    if (!condition) {
        fail(code);
    }
}

/// Runs `work` and returns its result. A Fault sets the last error and gives `failure`, lack of
/// memory does so with E_OUTOFMEMORY, any other exception of the standard library with
/// E_UNEXPECTED.
template <class Result, class Work>
Result guarded(Result failure, Work&& work) noexcept {
    try {
        return std::forward<Work>(work)();
    } catch (const Fault& fault) {
        SetLastError(fault.code);
    } catch (const std::bad_alloc&) {
        SetLastError(E_OUTOFMEMORY);
    } catch (const std::exception&) {
        SetLastError(E_UNEXPECTED);
    }
    return failure;
}

} // namespace basalt
