// The counting file.
#include <chronoseal/seal/request_rate.h>

#include <algorithm>
#include <charconv>
#include <condition_variable>
#include <cstdlib>
#include <sstream>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chronoseal/seal/certificate_info.h>
#include <chronoseal/seal/platform_text.h>

namespace chronoseal {

namespace {

constexpr off_t kMostBytes = 256 << 10;
constexpr unsigned kMostCount = 1000;
constexpr std::size_t kMostLines = 64;

std::filesystem::path default_file() {
    const char* cache = ::secure_getenv("XDG_CACHE_HOME");
    if (cache != nullptr && *cache == '/') {
        return std::filesystem::path(cache) / "chronoseal" / "rates";
    }
    const char* home = ::secure_getenv("HOME");
    return home != nullptr && *home == '/'
               ? std::filesystem::path(home) / ".cache" / "chronoseal" / "rates"
               : std::filesystem::path();
}

// An open file under an exclusive lock, or none.
class LockedFile {
public:
    explicit LockedFile(const std::filesystem::path& path) {
        if (path.empty()) {
            return;
        }
        std::error_code ignored;
        std::filesystem::create_directories(path.parent_path(), ignored);
        descriptor_ =
            ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600);
        struct stat status {};
        if (descriptor_ >= 0 && (::fstat(descriptor_, &status) != 0 || !S_ISREG(status.st_mode) ||
                                 ::flock(descriptor_, LOCK_EX) != 0)) {
            ::close(descriptor_);
            descriptor_ = -1;
        }
    }
    ~LockedFile() {
        if (descriptor_ >= 0) {
            ::close(descriptor_);
        }
    }
    LockedFile(const LockedFile&) = delete;
    LockedFile& operator=(const LockedFile&) = delete;

    bool open() const { return descriptor_ >= 0; }
    std::string read() const {
        std::string text(kMostBytes, '\0');
        const ssize_t count = ::pread(descriptor_, text.data(), text.size(), 0);
        text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
        return text;
    }
    void write(const std::string& text) const {
        if (::pwrite(descriptor_, text.data(), text.size(), 0) >= 0) {
            [[maybe_unused]] const int cut =
                ::ftruncate(descriptor_, static_cast<off_t>(text.size()));
        }
    }

private:
    int descriptor_ = -1;
};

std::int64_t now_in_microseconds() {
    return std::chrono::duration_cast<std::chrono::microseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

struct Line {
    std::string key;
    std::vector<std::int64_t> times;
};

std::vector<Line> lines_of(const std::string& text) {
    std::vector<Line> lines;
    std::istringstream input(text);
    for (std::string row; std::getline(input, row) && lines.size() < kMostLines;) {
        std::istringstream words(row);
        Line line;
        words >> line.key;
        for (std::int64_t time = 0; words >> time;) {
            line.times.push_back(time);
        }
        if (!line.key.empty() && !line.times.empty()) {
            lines.push_back(std::move(line));
        }
    }
    return lines;
}

std::string text_of(const std::vector<Line>& lines) {
    std::string text;
    for (const Line& line : lines) {
        text += line.key;
        for (const std::int64_t time : line.times) {
            text += " " + std::to_string(time);
        }
        text += "\n";
    }
    return text;
}

// The wait, 0 when the request was counted into `text`.
std::int64_t count_into(std::string& text, const std::string& key, unsigned most,
                        std::int64_t period) {
    const std::int64_t now = now_in_microseconds();
    auto lines = lines_of(text);
    auto line = std::ranges::find(lines, key, &Line::key);
    if (line == lines.end()) {
        if (lines.size() == kMostLines) {
            lines.erase(lines.begin()); // the one that hasn't been used for longest
        }
        lines.push_back({key, {}});
    } else {
        std::rotate(line, line + 1, lines.end());
    }
    auto& times = lines.back().times;
    // A time ahead of the clock was noted before the clock was put back.
    std::erase_if(times, [&](std::int64_t time) { return time > now || time <= now - period; });
    if (times.size() >= most) {
        return times[times.size() - most] + period - now;
    }
    times.push_back(now);
    text = text_of(lines);
    return 0;
}

} // namespace

bool pause_for(std::chrono::microseconds time, const std::stop_token& stop) {
    std::mutex mutex;
    std::condition_variable_any condition;
    std::unique_lock lock(mutex);
    condition.wait_for(lock, stop, time, [] { return false; });
    return !stop.stop_requested();
}

RequestRate::RequestRate(std::filesystem::path file)
    : file_(file.empty() ? default_file() : std::move(file)) {}

std::chrono::microseconds RequestRate::take(const std::string& url, const Rate& rate) {
    if (rate.count == 0 || rate.period.count() <= 0) {
        return std::chrono::microseconds(0);
    }
    const std::string key = to_hex(sha256_of(bytes_of(url))).substr(0, 32);
    const unsigned most = std::min(rate.count, kMostCount);
    const std::int64_t period = std::chrono::microseconds(rate.period).count();
    const std::lock_guard lock(mutex_);
    const LockedFile file(file_);
    std::string text = file.open() ? file.read() : own_;
    const std::int64_t wait = count_into(text, key, most, period);
    if (wait == 0) {
        if (file.open()) {
            file.write(text);
        } else {
            own_ = text;
        }
    }
    return std::chrono::microseconds(wait);
}

bool RequestRate::wait(const std::string& url, const Rate& rate, const std::stop_token& stop,
                       const std::function<void(std::chrono::microseconds)>& told) {
    for (;;) {
        const auto time = take(url, rate);
        if (time.count() == 0) {
            return true;
        }
        told(time);
        if (!pause_for(time, stop)) {
            return false;
        }
    }
}

} // namespace chronoseal
