// Ctrl-C and SIGTERM as a stop token: what is in flight ends whole, and the summary is true. A
// second signal ends the process as it usually would.
#pragma once

#include <stop_token>
#include <thread>

namespace cli {

class Interruption {
public:
    // Before other threads are started, so that the signals reach the one that waits here.
    Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;
    ~Interruption();

    std::stop_token token() const { return source_.get_token(); }
    bool happened() const { return source_.stop_requested(); }

private:
    void wait();

    std::stop_source source_;
    std::stop_source over_;
    std::thread waiter_;
};

} // namespace cli
