// The HTTP server with bounds on what a connection may take: a time for each request from its first
// byte to the end of the answer, a time for the next request to begin, and a number of connections
// at once. Whoever sends nothing, or a byte now and then, is hung up on, and sooner
// where others wait.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include <httplib.h>

namespace tsa {

// Threads that serve a connection each. While all of them are busy and `kBacklog` more connections
// wait, no other is accepted: it stays in the kernel's queue.
class ConnectionPool : public httplib::TaskQueue {
public:
    // `crowded` is kept true while connections wait for a thread.
    explicit ConnectionPool(std::atomic<bool>& crowded);
    ~ConnectionPool() override;

    void enqueue(std::function<void()> connection) override;
    // Serves those that wait, and returns when all are done.
    void shutdown() override;

private:
    void work();

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::function<void()>> waiting_;
    std::size_t idle_ = 0; // threads with nothing to do
    bool over_ = false;
    std::atomic<bool>& crowded_;
    std::vector<std::jthread> threads_;
};

class TimedStream;

class BoundedServer : public httplib::Server {
public:
    BoundedServer(std::chrono::milliseconds idle, std::chrono::milliseconds request);

    // Once bound: as many as the kernel keeps, in place of the five of the base class, past which a
    // connection takes a second.
    void let_more_wait();

private:
    bool await_request(TimedStream& stream) const;
    bool process_and_close_socket(socket_t socket) override;

    const std::chrono::milliseconds idle_;
    const std::chrono::milliseconds request_;
    std::atomic<bool> crowded_{false};
};

} // namespace tsa
