// A line of progress on standard error, for a person at a terminal only. It appears once the work
// has lasted for half a second, and is wiped at the end.
#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>

namespace cli {

// The line itself: when to draw, and wiping it.
class ProgressLine {
public:
    explicit ProgressLine(bool wanted);
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;
    ~ProgressLine();

    bool due() const;
    void draw(const std::string& text);
    // Takes the line away, so that something else can be printed there.
    void wipe();
    double seconds() const;

private:
    using Clock = std::chrono::steady_clock;

    bool enabled_;
    bool drawn_ = false;
    Clock::time_point start_ = Clock::now();
    Clock::time_point next_;
};

// Tells a person at a terminal that an authority is waited for: once for all threads that wait
// together, and only waits that one notices.
class WaitNote {
public:
    void tell(const std::string& authority, std::chrono::milliseconds wait);

private:
    using Clock = std::chrono::steady_clock;

    std::mutex mutex_;
    Clock::time_point told_until_;
};

// How much of one file has been hashed.
class ByteProgress {
public:
    ByteProgress(std::string label, bool wanted) : label_(std::move(label)), line_(wanted) {}
    // `total` is 0 where it isn't known.
    void show(std::uint64_t done, std::uint64_t total);

private:
    std::string label_;
    ProgressLine line_;
};

// How many of many files are done, how fast it goes, and how long it may still take.
class CountProgress {
public:
    CountProgress(std::uint64_t total, bool wanted) : total_(total), line_(wanted) {}
    void advance();
    void wipe() { line_.wipe(); }

private:
    std::uint64_t total_;
    std::uint64_t done_ = 0;
    ProgressLine line_;
};

} // namespace cli
