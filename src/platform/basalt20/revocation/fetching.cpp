#include <basalt/revocation/fetching.h>

#include <algorithm>

namespace basalt {

namespace {

// More than can be asked within the time; each is as long as an address with a request.
constexpr std::size_t kMostFailures = 1024;

// For all the stamps of one file; each may take a few connections, by redirects. An honest file of
// 256 stamps by as many stampers of one authority takes some three hundred.
constexpr unsigned kMostExchanges = 512;
constexpr std::size_t kMostReceived = std::size_t{64} << 20; // and what is under way then
constexpr unsigned kMostIssuerExchanges = 32;

constexpr std::size_t kSmallAnswer = std::size_t{256} << 10;
constexpr std::size_t kMostRemembered = std::size_t{8} << 20;

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

std::optional<std::vector<BYTE>> Fetching::answer_to(const std::string& request) const {
    const std::lock_guard lock(mutex_);
    const auto found = answers_.find(request);
    return found != answers_.end() ? std::optional(found->second) : std::nullopt;
}

void Fetching::note_answer(const std::string& request, const std::vector<BYTE>& body) {
    const std::lock_guard lock(mutex_);
    if (body.size() <= kSmallAnswer && octets_remembered_ + body.size() <= kMostRemembered &&
        answers_.size() < kMostExchanges && answers_.emplace(request, body).second) {
        octets_remembered_ += body.size();
    }
}

bool Fetching::take_exchange() {
    const std::lock_guard lock(mutex_);
    return exchanges_ < kMostExchanges && octets_received_ < kMostReceived && ++exchanges_ > 0;
}

void Fetching::note_received(std::size_t octets) {
    const std::lock_guard lock(mutex_);
    octets_received_ += octets;
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
