#include <basalt/revocation/fetching.h>

#include <algorithm>

namespace basalt {

namespace {

// More than can be asked within the time; each is as long as an address with a request.
constexpr std::size_t kMostFailures = 1024;

// For all the stamps of one file; each may take a few connections, by redirects.
constexpr unsigned kMostIssuerExchanges = 32;

} // namespace

std::chrono::milliseconds Fetching::time_left() {
    const std::lock_guard lock(mutex_);
    const TimePoint now = clock_();
    if (!started_) {
        started_ = true;
        deadline_ = now + whole_;
    }
    return std::max(std::chrono::duration_cast<std::chrono::milliseconds>(deadline_ - now),
                    std::chrono::milliseconds(0));
}

std::chrono::milliseconds Fetching::issuer_time_left() const {
    const std::lock_guard lock(mutex_);
    return issuer_time_left_;
}

void Fetching::take_issuer_time(std::chrono::milliseconds used) {
    const std::lock_guard lock(mutex_);
    used = std::min(used, issuer_time_left_); // several may have taken it at once
    issuer_time_left_ -= used;
    deadline_ += used; // if it has begun
}

bool Fetching::has_failed(const std::string& what) const {
    const std::lock_guard lock(mutex_);
    return failed_.contains(what);
}

void Fetching::note_failure(const std::string& what) {
    const std::lock_guard lock(mutex_);
    if (failed_.size() < kMostFailures) {
        failed_.insert(what);
    }
}

bool Fetching::take_work(unsigned cost) {
    const std::lock_guard lock(mutex_);
    if (cost > work_left_) {
        return false;
    }
    work_left_ -= cost;
    return true;
}

bool Fetching::take_issuer_exchange() {
    const std::lock_guard lock(mutex_);
    return issuer_exchanges_ < kMostIssuerExchanges && ++issuer_exchanges_ > 0;
}

} // namespace basalt
