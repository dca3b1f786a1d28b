// What a handle makes when it is first asked for: by one thread, while others wait. Unlike
// std::call_once it needs no unwinding through pthread_once, which not every run-time can do, and
// which ends in waiting for ever where it can't.
#pragma once

#include <atomic>
#include <mutex>

namespace chronoseal::c_interface {

class Once {
public:
    // Lets out what `make` throws; whoever asks next tries again.
    template <class Make>
    void operator()(const Make& make) {
        if (done_.load(std::memory_order_acquire)) {
            return;
        }
        const std::scoped_lock lock(making_);
        if (!done_.load(std::memory_order_relaxed)) {
            make();
            done_.store(true, std::memory_order_release);
        }
    }

private:
    std::mutex making_;
    std::atomic<bool> done_ = false;
};

} // namespace chronoseal::c_interface
