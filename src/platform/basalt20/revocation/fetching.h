// What several verdicts have together: one deadline for what they fetch, and the memory of what has
// failed and of what was answered, so that an address is asked once and not by each of them, be it
// silent or of no use; and the processor's work for signatures and keys, so that a file of many
// dear stamps costs no more than one. Issuers have a time of their own, for strangers may have
// chosen who is asked for them: what that takes is taken from nobody else. Any thread; nothing
// fails but for lack of memory.
#pragma once

#include <basalt/types.h>

#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace basalt {

inline constexpr std::chrono::milliseconds kFetchingTime{15000};

// Beside the time for evidence, and measured by it.
constexpr std::chrono::milliseconds issuer_time(std::chrono::milliseconds fetching_time) {
    return fetching_time * 4 / 15;
}

// Of all signatures, keys and reading of one file, in tenths of a millisecond, as a processor of
// 2020 takes them. A stamp with a chain of three and their lists by P-384 takes sixty when the
// chain is known from the one before, so that 256 of them come through; by RSA-4096 it takes
// twelve, and by the curves of 571 bits three hundred.
inline constexpr unsigned kWorkOfOneFile = 15'000;

class Fetching {
public:
    using TimePoint = std::chrono::steady_clock::time_point;
    using Clock = std::function<TimePoint()>;

    explicit Fetching(std::chrono::milliseconds whole = kFetchingTime,
                      Clock clock = std::chrono::steady_clock::now, unsigned work = kWorkOfOneFile)
        : whole_(whole), clock_(std::move(clock)), work_left_(work),
          issuer_time_left_(issuer_time(whole)) {}
    Fetching(const Fetching&) = delete;
    Fetching& operator=(const Fetching&) = delete;

    // Zero when nothing is left. The deadline begins with the first call.
    std::chrono::milliseconds time_left();

    // For issuers; whoever has used some of it tells how much.
    std::chrono::milliseconds issuer_time_left() const;
    void take_issuer_time(std::chrono::milliseconds used);
    TimePoint now() const { return clock_(); }

    // Of a request, an address or a server: whatever text the caller has for it.
    bool has_failed(const std::string& what) const;
    void note_failure(const std::string& what);

    // What was answered to a request; all that is small is remembered, up to eight mebibytes.
    std::optional<std::vector<BYTE>> answer_to(const std::string& request) const;
    void note_answer(const std::string& request, const std::vector<BYTE>& body);

    // One exchange of all; false when there were too many, or too much came.
    bool take_exchange();
    void note_received(std::size_t octets);

    // Takes so much of the work, or nothing and gives false.
    bool take_work(unsigned cost);

    // One exchange with an address that nobody who is trusted has named; false when there were too
    // many.
    bool take_issuer_exchange();

private:
    mutable std::mutex mutex_;
    const std::chrono::milliseconds whole_;
    const Clock clock_;
    bool started_ = false;
    unsigned work_left_;
    TimePoint deadline_;
    std::set<std::string> failed_;
    std::map<std::string, std::vector<BYTE>> answers_;
    std::size_t octets_remembered_ = 0;
    unsigned exchanges_ = 0;
    std::size_t octets_received_ = 0;
    std::chrono::milliseconds issuer_time_left_;
    unsigned issuer_exchanges_ = 0;
};

} // namespace basalt
