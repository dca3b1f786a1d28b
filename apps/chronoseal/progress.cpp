#include "progress.h"

#include <cstdio>

#include <unistd.h>

#include <fmt/format.h>

namespace cli {

namespace {

constexpr auto kFirstAfter = std::chrono::milliseconds(500);
constexpr auto kInterval = std::chrono::milliseconds(100);
constexpr double kMebibyte = 1024.0 * 1024.0;

} // namespace

Progress::Progress(std::string label, std::uint64_t total, bool wanted)
    : label_(std::move(label)), total_(total), enabled_(wanted && ::isatty(STDERR_FILENO) == 1),
      next_(std::chrono::steady_clock::now() + kFirstAfter) {}

Progress::~Progress() {
    if (drawn_) {
        std::fputs("\r\033[K", stderr);
    }
}

void Progress::advance(std::uint64_t bytes) {
    done_ += bytes;
    if (enabled_ && std::chrono::steady_clock::now() >= next_) {
        draw();
        next_ = std::chrono::steady_clock::now() + kInterval;
    }
}

void Progress::draw() {
    const double done = static_cast<double>(done_) / kMebibyte;
    const std::string line =
        total_ == 0 ? fmt::format("\r\033[K{}: {:.0f} MiB", label_, done)
                    : fmt::format("\r\033[K{}: {:.0f} of {:.0f} MiB ({:.0f} %)", label_, done,
                                  static_cast<double>(total_) / kMebibyte,
                                  100.0 * static_cast<double>(done_) / static_cast<double>(total_));
    std::fputs(line.c_str(), stderr);
    drawn_ = true;
}

} // namespace cli
