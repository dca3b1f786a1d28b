// Waiting for signals in a thread of its own.
#include "interruption.h"

#include <cerrno>
#include <csignal>
#include <ctime>

namespace cli {

namespace {

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
    waiter_.join();
    const sigset_t set = awaited();
    pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
}

void Interruption::wait() {
    const sigset_t set = awaited();
    constexpr timespec kLook{0, 50'000'000};
    while (!over_.stop_requested()) {
        const int signal = sigtimedwait(&set, nullptr, &kLook);
        if (signal <= 0) {
            continue;
        }
        if (source_.stop_requested()) {
            std::signal(signal, SIG_DFL);
            pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
            std::raise(signal);
        }
        source_.request_stop();
    }
}

} // namespace cli
