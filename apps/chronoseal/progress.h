// A line of progress on standard error, for a person at a terminal only.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace cli {

class Progress {
public:
    // `total` in bytes, 0 where it isn't known. Prints nothing unless `wanted`, standard error is a
    // terminal, and the work has lasted for half a second.
    Progress(std::string label, std::uint64_t total, bool wanted);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress(); // wipes the line

    void advance(std::uint64_t bytes);

private:
    void draw();

    std::string label_;
    std::uint64_t total_;
    std::uint64_t done_ = 0;
    bool enabled_;
    bool drawn_ = false;
    std::chrono::steady_clock::time_point next_;
};

} // namespace cli
