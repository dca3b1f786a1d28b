// The border of the C interface: a call runs behind `call`, from which nothing but a status and an
// error comes back; and the checks of arguments that all functions share.
#pragma once

#include <cstring>
#include <string>

#include <pthread.h>

#include <chronoseal/chronoseal.h>
#include <chronoseal/chronoseal.hpp>

// What the accessors give is kept beside the texts that it points to; without memory for that
// there is one constant error.
struct chronoseal_error {
    chronoseal_status status;
    std::uint32_t code;
    const char* word;
    const char* text;
    const char* advice;
    const char* message;
};

namespace chronoseal::c_interface {

// An error with the texts that it tells.
class KeptError : public chronoseal_error {
public:
    explicit KeptError(const Error& error) noexcept;

private:
    Error kept_;
};

chronoseal_status status_of(const Error& error) noexcept;

// Stores the exception in flight at `error`, unless that is null; to be called in a catch block.
chronoseal_status report_in_flight(chronoseal_error** error) noexcept;
chronoseal_status report(chronoseal_error** error, const Error& found) noexcept;

// Cancelling a thread unwinds it by an exception that must not be stopped: so it waits.
class Uncancelled {
public:
    Uncancelled() noexcept { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before_); }
    ~Uncancelled() { pthread_setcancelstate(before_, nullptr); }
    Uncancelled(const Uncancelled&) = delete;
    Uncancelled& operator=(const Uncancelled&) = delete;

private:
    int before_ = PTHREAD_CANCEL_ENABLE;
};

// Runs `body`, which returns a status of its own accord or throws.
template <class Body>
chronoseal_status call(chronoseal_error** error, Body&& body) noexcept {
    const Uncancelled uncancelled;
    chronoseal_error_free(error);
    try {
        return body();
    } catch (...) {
        return report_in_flight(error);
    }
}

// Throws `argument_missing`.
[[noreturn]] void refuse_missing(const char* name);

// The argument behind a pointer that must not be null.
template <class T>
T& needed(T* pointer, const char* name) {
    if (pointer == nullptr) {
        refuse_missing(name);
    }
    return *pointer;
}

// A result's place, made empty before anything can fail.
template <class T>
T& emptied(T* place, const char* name) {
    return needed(place, name) = T{};
}

// Runs `make`, and gives what it returns at `place`.
template <class T, class Make>
chronoseal_status give(T* place, const char* name, chronoseal_error** error, Make&& make) noexcept {
    return call(error, [&] {
        T& given = emptied(place, name);
        given = make();
        return CHRONOSEAL_OK;
    });
}

// The same for a new handle, which is made of what `make` returns.
template <class Handle, class Make>
chronoseal_status give_new(Handle** place, const char* name, chronoseal_error** error,
                           Make&& make) noexcept {
    return give(place, name, error, [&] { return new Handle{make()}; });
}

// The struct that a handle keeps of itself.
template <class Handle, class Info>
chronoseal_status give_info(const Handle* handle, const char* name, const Info** info,
                            chronoseal_error** error) noexcept {
    return give(info, "info", error, [&] { return needed(handle, name).info; });
}

// A string that must be there, and one that may be null for the empty one.
std::string needed_text(const char* text, const char* name);
std::string optional_text(const char* text);

// Bytes of the caller's; null only where there are none.
ByteView needed_bytes(const void* data, std::size_t size, const char* name);

[[noreturn]] void refuse_size(const char* name);
[[noreturn]] void refuse_newer(const char* name);

// A struct that the caller has filled, whose first member is the size that it had there. What a
// newer caller has set beyond what is known here is refused, and so is a size that was forgotten.
template <class T>
T sized(const T* given, const char* name) {
    constexpr std::size_t kMost = 4096; // anything larger is no size
    std::size_t size = 0;
    std::memcpy(&size, &needed(given, name), sizeof size);
    if (size < sizeof(T) || size > kMost) {
        refuse_size(name);
    }
    const auto* const bytes = reinterpret_cast<const unsigned char*>(given);
    for (std::size_t i = sizeof(T); i < size; ++i) {
        if (bytes[i] != 0) {
            refuse_newer(name);
        }
    }
    T known;
    std::memcpy(&known, given, sizeof known);
    return known;
}

[[noreturn]] void refuse_value(const char* name);

// The number in a caller's enumeration, which may hold any; at most `last`.
template <class Enumeration>
int chosen(const Enumeration& value, int last, const char* name) {
    static_assert(sizeof(Enumeration) == sizeof(int));
    int number = 0;
    std::memcpy(&number, &value, sizeof number);
    if (number < 0 || number > last) {
        refuse_value(name);
    }
    return number;
}

// Frees what a handle's place holds, and empties the place.
template <class Handle>
void release(Handle** handle) noexcept {
    if (handle != nullptr) {
        delete *handle;
        *handle = nullptr;
    }
}

// Bytes that the caller frees.
void hand_over(const Bytes& bytes, unsigned char** data, std::size_t* size);

// A caller's time; refused beyond what RFC 3339 can write, less a day for the zones.
Time needed_time(chronoseal_time time, const char* name);

inline chronoseal_time time_of(Time time) {
    return time.time_since_epoch().count();
}

} // namespace chronoseal::c_interface
