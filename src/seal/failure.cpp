// Failures of the floors below, translated.
#include <chronoseal/seal/failure.h>

#include <cerrno>
#include <system_error>

#include <basalt/last_error.h>
#include <chronoseal/seal/out_of_memory.h>

namespace chronoseal {

namespace {

constexpr std::uint32_t kOutOfMemory = 0x8007000E;
constexpr std::uint32_t kFail = 0x80004005;

std::string with_doing(std::string_view doing, std::string_view text) {
    return doing.empty() ? std::string(text)
                         : "can't " + std::string(doing) + ": " + std::string(text);
}

// Made while there is memory: without any, no other error can be.
const Error kNoMemory = error_of_code(kOutOfMemory);

Error translated(std::string_view doing) {
    try {
        throw;
    } catch (const Error& error) {
        return error;
    } catch (const ATL::CAtlException& failure) {
        return error_of_code(static_cast<std::uint32_t>(failure.m_hr), doing);
    } catch (const std::bad_alloc&) {
        return error_of_code(kOutOfMemory, doing);
    } catch (const std::exception& failure) {
        return Error(Category::unreachable, "system_failed", 0,
                     with_doing(doing, quote_foreign(failure.what())), "try again");
    } catch (...) {
        return error_of_code(kFail, doing);
    }
}

} // namespace

Error error_in_flight(std::string_view doing) {
    try {
        return translated(doing);
    } catch (const std::bad_alloc&) {
        return kNoMemory;
    }
}

const Error& no_memory() noexcept {
    return kNoMemory;
}

Error moved_from() {
    return Error(Category::misuse, "moved_from", 0, "the object was moved from",
                 "use the one that it was moved to");
}

Error error_of_last(std::string_view doing) {
    const auto code = static_cast<std::uint32_t>(
        Halcyon::result_from_last_error(static_cast<std::int32_t>(kFail)));
    return error_of_code(code, doing);
}

std::string reason_of(int number) {
    return std::generic_category().message(number);
}

Error unreadable_file(std::string_view path, int number) {
    return Error(Category::unreachable, "file_unreadable", 0,
                 "can't read " + quote_foreign(path) + ": " +
                     (number == EISDIR ? "it is a folder" : reason_of(number)),
                 number == EISDIR ? "name the files in it" : "check the file's name and mode");
}

} // namespace chronoseal
