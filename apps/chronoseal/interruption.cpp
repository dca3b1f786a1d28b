// Waiting for signals in a thread of its own.
#include "interruption.h"

#include <cerrno>
#include <csignal>

namespace cli {

namespace {

// Ends the waiting. Nothing happens by it in a thread that doesn't wait for it.
constexpr int kWake = SIGURG;

// What whoever started us wants ignored stays so.
sigset_t awaited() {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : {SIGINT, SIGTERM}) {
        struct sigaction action {};
        if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) {
            sigaddset(&set, signal);
        }
    }
    return set;
}

} // namespace

Interruption::Interruption() {
    const sigset_t set = awaited();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    waiter_ = std::thread([this] { wait(); });
}

Interruption::~Interruption() {
    over_.request_stop();
    pthread_kill(waiter_.native_handle(), kWake);
    waiter_.join();
    const sigset_t set = awaited();
    pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
}

void Interruption::wait() {
    const sigset_t signals = awaited();
    sigset_t set = signals;
    sigaddset(&set, kWake);
    pthread_sigmask(SIG_BLOCK, &set, nullptr); // from here on a wake waits to be taken
    while (!over_.stop_requested()) {
        const int signal = sigwaitinfo(&set, nullptr);
        if (signal <= 0 || signal == kWake) {
            continue;
        }
        if (source_.stop_requested()) {
            std::signal(signal, SIG_DFL);
            pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
            std::raise(signal);
        }
        source_.request_stop();
    }
    // The wake is taken first. What came before it came in time, and must end nobody who is about
    // to write what was had.
    const timespec at_once{};
    if (sigtimedwait(&signals, nullptr, &at_once) > 0) {
        source_.request_stop();
    }
}

} // namespace cli
