// Errors and the arguments that all functions share.
#include <chronoseal/c_interface/call.h>

#include <cstdlib>
#include <new>

using namespace chronoseal;
using namespace chronoseal::c_interface;

namespace {

// Must be there when there is no memory for another.
constexpr std::uint32_t kOutOfMemoryCode = 0x8007000E;
constexpr chronoseal_error kOutOfMemory{
    CHRONOSEAL_UNREACHABLE,    kOutOfMemoryCode,
    "out_of_memory",           "out of memory",
    "free some and try again", "out of memory (0x8007000E); free some and try again"};

Error misuse(std::string_view word, std::string text, std::string advice) {
    return Error(Category::misuse, word, 0, std::move(text), std::move(advice));
}

std::string quoted(const char* name) {
    return "'" + std::string(name) + "'";
}

} // namespace

namespace chronoseal::c_interface {

chronoseal_status status_of(const Error& error) noexcept {
    switch (error.category()) {
    case Category::refused:
        return CHRONOSEAL_REFUSED;
    case Category::misuse:
        return CHRONOSEAL_MISUSE;
    default:
        return CHRONOSEAL_UNREACHABLE;
    }
}

KeptError::KeptError(const Error& error) noexcept
    : chronoseal_error{status_of(error),     error.code(),           error.word().c_str(),
                       error.text().c_str(), error.advice().c_str(), error.what()},
      kept_(error) {}

chronoseal_status report(chronoseal_error** error, const Error& found) noexcept {
    if (error != nullptr) {
        *error = new (std::nothrow) KeptError(found);
        if (*error == nullptr) {
            *error = const_cast<chronoseal_error*>(&kOutOfMemory);
        }
    }
    return status_of(found);
}

chronoseal_status report_in_flight(chronoseal_error** error) noexcept {
    try {
        try {
            throw;
        } catch (const Error& found) {
            return report(error, found);
        } catch (const std::bad_alloc&) {
            throw;
        } catch (const std::exception& found) {
            return report(error, Error(Category::unreachable, "system_failed", 0,
                                       quote_foreign(found.what()), "try again"));
        } catch (...) {
            // The library throws nothing else; a callback written in C++ may.
            return report(error, Error(Category::misuse, "callback_threw", 0,
                                       "a callback ended by an exception",
                                       "let it return what it has to say"));
        }
    } catch (...) {
        if (error != nullptr) {
            *error = const_cast<chronoseal_error*>(&kOutOfMemory);
        }
        return CHRONOSEAL_UNREACHABLE;
    }
}

void refuse_missing(const char* name) {
    throw misuse("argument_missing", "the argument " + quoted(name) + " is missing", "give it");
}

void refuse_size(const char* name) {
    throw misuse("size_wrong", "the member 'size' of " + quoted(name) + " is not a struct's size",
                 "set it to sizeof, and all that isn't needed to zero");
}

void refuse_newer(const char* name) {
    throw misuse("option_unknown",
                 quoted(name) + " sets what this version of the library doesn't know",
                 "install a newer version");
}

void refuse_value(const char* name) {
    throw misuse("value_unknown", quoted(name) + " has a value that means nothing",
                 "give one of its enumeration");
}

std::string needed_text(const char* text, const char* name) {
    return &needed(text, name);
}

std::string optional_text(const char* text) {
    return text != nullptr ? text : "";
}

ByteView needed_bytes(const void* data, std::size_t size, const char* name) {
    if (size == 0) {
        return {};
    }
    return {&needed(static_cast<const std::byte*>(data), name), size};
}

Time needed_time(chronoseal_time time, const char* name) {
    constexpr Time kFirst = std::chrono::sys_days{std::chrono::year(0) / 1 / 2};
    constexpr Time kLast = std::chrono::sys_days{std::chrono::year(9999) / 12 / 31};
    const Time point{Time::duration(time)};
    if (point < kFirst || point > kLast) {
        refuse_value(name);
    }
    return point;
}

void hand_over(const Bytes& bytes, unsigned char** data, std::size_t* size) {
    void* const copy = std::malloc(bytes.empty() ? 1 : bytes.size());
    if (copy == nullptr) {
        throw std::bad_alloc();
    }
    if (!bytes.empty()) {
        std::memcpy(copy, bytes.data(), bytes.size());
    }
    *data = static_cast<unsigned char*>(copy);
    *size = bytes.size();
}

} // namespace chronoseal::c_interface

chronoseal_status chronoseal_error_status(const chronoseal_error* error) {
    return error != nullptr ? error->status : CHRONOSEAL_OK;
}

const char* chronoseal_error_word(const chronoseal_error* error) {
    return error != nullptr ? error->word : "";
}

std::uint32_t chronoseal_error_code(const chronoseal_error* error) {
    return error != nullptr ? error->code : 0;
}

const char* chronoseal_error_text(const chronoseal_error* error) {
    return error != nullptr ? error->text : "";
}

const char* chronoseal_error_advice(const chronoseal_error* error) {
    return error != nullptr ? error->advice : "";
}

const char* chronoseal_error_message(const chronoseal_error* error) {
    return error != nullptr ? error->message : "";
}

void chronoseal_error_free(chronoseal_error** error) {
    if (error != nullptr) {
        if (*error != &kOutOfMemory) {
            delete static_cast<KeptError*>(*error);
        }
        *error = nullptr;
    }
}

void chronoseal_free(void* data) {
    std::free(data);
}

const char* chronoseal_version(void) {
    return version().data(); // a literal
}
