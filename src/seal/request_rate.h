// How often an authority is asked, counted over all processes of a user: authorities block who asks
// too often.
//
// The file has a line for each address: the first half of the SHA-256 of its text, then the times
// of the last requests in microseconds since 1970. It is locked while it is read and written; a
// line that can't be read counts as absent, so that nothing worse than a request too many comes of
// a broken file.
#pragma once

#include <filesystem>
#include <mutex>
#include <stop_token>

#include <chronoseal/chronoseal.hpp>

namespace chronoseal {

class RequestRate {
public:
    // An empty path: the user's cache folder; where there is none, this process counts for itself.
    explicit RequestRate(std::filesystem::path file);

    // Waits until one more request is within the rate, and counts it. False on a stop.
    // Each wait is told before it begins.
    bool wait(const std::string& url, const Rate& rate, const std::stop_token& stop,
              const std::function<void(std::chrono::microseconds)>& told);

    // Counts a request if it is within the rate; else how long to wait before the next try.
    std::chrono::microseconds take(const std::string& url, const Rate& rate);

private:
    std::filesystem::path file_;
    std::mutex mutex_;
    std::string own_; // the lines, where there is no file
};

// Sleeps; false on a stop.
bool pause_for(std::chrono::microseconds time, const std::stop_token& stop);

} // namespace chronoseal
