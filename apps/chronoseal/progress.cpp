// Progress on a terminal.
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

ProgressLine::ProgressLine(bool wanted)
    : enabled_(wanted && ::isatty(STDERR_FILENO) == 1), next_(start_ + kFirstAfter) {}

ProgressLine::~ProgressLine() {
    wipe();
}

bool ProgressLine::due() const {
    return enabled_ && Clock::now() >= next_;
}

void ProgressLine::draw(const std::string& text) {
    std::fputs(("\r\033[K" + text).c_str(), stderr);
    drawn_ = true;
    next_ = Clock::now() + kInterval;
}

void ProgressLine::wipe() {
    if (drawn_) {
        std::fputs("\r\033[K", stderr);
        drawn_ = false;
    }
}

double ProgressLine::seconds() const {
    return std::chrono::duration<double>(Clock::now() - start_).count();
}

void WaitNote::tell(const std::string& authority, std::chrono::milliseconds wait) {
    constexpr auto kNoticed = std::chrono::seconds(2);
    const std::lock_guard lock(mutex_);
    const auto until = Clock::now() + wait;
    if (::isatty(STDERR_FILENO) != 1 || wait < kNoticed || until < told_until_ + kNoticed) {
        return;
    }
    told_until_ = until;
    std::fflush(stdout);
    std::fputs(fmt::format("\r\033[Kchronoseal: waiting {} s until {} may be asked again\n",
                           std::chrono::ceil<std::chrono::seconds>(wait).count(), authority)
                   .c_str(),
               stderr);
}

void ByteProgress::show(std::uint64_t done, std::uint64_t total) {
    if (!line_.due()) {
        return;
    }
    const double mebibytes = static_cast<double>(done) / kMebibyte;
    line_.draw(total == 0
                   ? fmt::format("{}: {:.0f} MiB", label_, mebibytes)
                   : fmt::format("{}: {:.0f} of {:.0f} MiB ({:.0f} %)", label_, mebibytes,
                                 static_cast<double>(total) / kMebibyte,
                                 100.0 * static_cast<double>(done) / static_cast<double>(total)));
}

void CountProgress::advance() {
    ++done_;
    if (!line_.due()) {
        return;
    }
    const double rate = static_cast<double>(done_) / line_.seconds();
    const double left = static_cast<double>(total_ - done_) / rate;
    line_.draw(fmt::format("{} of {}, {:.0f} a second, {:.0f} s left", done_, total_, rate, left));
}

} // namespace cli
