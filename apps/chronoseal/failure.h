// What went wrong, in the form that a person can act on: what failed, with which code, what to do.
#pragma once

#include <cstdint>
#include <exception>
#include <string>

#include "exit_status.h"

namespace cli {

class Failure : public std::exception {
public:
    Failure(ExitStatus status, std::string what, std::string advice = {}, std::uint32_t code = 0);

    const char* what() const noexcept override { return line_.c_str(); }
    ExitStatus status() const noexcept { return status_; }
    std::uint32_t code() const noexcept { return code_; } // 0: none applies
    const std::string& message() const noexcept { return message_; }
    const std::string& advice() const noexcept { return advice_; }

private:
    ExitStatus status_;
    std::string message_;
    std::string advice_;
    std::uint32_t code_;
    std::string line_;
};

// The failure for a result code of the library or the platform, while `doing` ("stamp report.pdf").
// A code that isn't known is told by its number.
Failure failure_of_code(const std::string& doing, std::uint32_t code);

// The failure for whatever is in flight; to be called in a catch block.
Failure failure_in_flight(const std::string& doing);

// "0xC2100103"
std::string code_text(std::uint32_t code);

} // namespace cli
