// What several verdicts have for fetching together: one deadline, and the memory of what has
// failed, so that a silent server is asked once and not by each of them. Any thread; nothing fails
// but for lack of memory.
#pragma once

#include <chrono>
#include <functional>
#include <mutex>
#include <set>
#include <string>

namespace basalt {

inline constexpr std::chrono::milliseconds kFetchingTime{15000};

class Fetching {
public:
    using TimePoint = std::chrono::steady_clock::time_point;
    using Clock = std::function<TimePoint()>;

    explicit Fetching(std::chrono::milliseconds whole = kFetchingTime,
                      Clock clock = std::chrono::steady_clock::now)
        : whole_(whole), clock_(std::move(clock)) {}
    Fetching(const Fetching&) = delete;
    Fetching& operator=(const Fetching&) = delete;

    // Zero when nothing is left. The deadline begins with the first call.
    std::chrono::milliseconds time_left();

    // Of a request, an address or a server: whatever text the caller has for it.
    bool has_failed(const std::string& what) const;
    void note_failure(const std::string& what);

private:
    mutable std::mutex mutex_;
    const std::chrono::milliseconds whole_;
    const Clock clock_;
    bool started_ = false;
    TimePoint deadline_;
    std::set<std::string> failed_;
};

} // namespace basalt
