#include "bounded_server.h"

#include <algorithm>
#include <cerrno>

#include <arpa/inet.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tsa {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kThreads = 64;
constexpr std::size_t kBacklog = 256;
constexpr auto kLook = std::chrono::milliseconds(100);
constexpr std::size_t kBuffer = 4096;

// Whether `events` are there before the end.
bool wait_for(socket_t socket, short events, Clock::time_point end) {
    for (;;) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
        pollfd one{socket, events, 0};
        const int count = ::poll(&one, 1, static_cast<int>(std::max<long>(left, 0)));
        if (count > 0) {
            return true;
        }
        if (count == 0 || errno != EINTR) {
            return false;
        }
    }
}

void read_address(int (*get)(int, sockaddr*, socklen_t*), socket_t socket, std::string& ip,
                  int& port) {
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    char host[NI_MAXHOST] = "";
    char service[NI_MAXSERV] = "";
    if (get(socket, reinterpret_cast<sockaddr*>(&address), &size) == 0 &&
        ::getnameinfo(reinterpret_cast<sockaddr*>(&address), size, host, sizeof host, service,
                      sizeof service, NI_NUMERICHOST | NI_NUMERICSERV) == 0) {
        ip = host;
        port = std::atoi(service);
    }
}

} // namespace

// A connection's bytes, up to a point in time that the server moves on with each request.
class TimedStream : public httplib::Stream {
public:
    explicit TimedStream(socket_t socket) : socket_(socket) {}

    void end_at(Clock::time_point end) { end_ = end; }

    bool is_readable() const override {
        return begin_ < buffered_ || wait_for(socket_, POLLIN, end_);
    }
    bool is_writable() const override { return wait_for(socket_, POLLOUT, end_); }

    ssize_t read(char* target, std::size_t size) override {
        if (begin_ == buffered_) {
            if (!is_readable()) {
                return -1;
            }
            const ssize_t count = ::recv(socket_, buffer_, kBuffer, 0);
            if (count <= 0) {
                return count;
            }
            begin_ = 0;
            buffered_ = static_cast<std::size_t>(count);
        }
        const std::size_t count = std::min(size, buffered_ - begin_);
        std::copy_n(buffer_ + begin_, count, target);
        begin_ += count;
        return static_cast<ssize_t>(count);
    }

    ssize_t write(const char* bytes, std::size_t size) override {
        return is_writable() ? ::send(socket_, bytes, size, MSG_NOSIGNAL) : -1;
    }

    void get_remote_ip_and_port(std::string& ip, int& port) const override {
        read_address(::getpeername, socket_, ip, port);
    }
    void get_local_ip_and_port(std::string& ip, int& port) const override {
        read_address(::getsockname, socket_, ip, port);
    }
    socket_t socket() const override { return socket_; }

private:
    socket_t socket_;
    Clock::time_point end_ = Clock::now();
    char buffer_[kBuffer];
    std::size_t begin_ = 0, buffered_ = 0;
};

ConnectionPool::ConnectionPool(std::atomic<bool>& crowded) : crowded_(crowded) {
    for (std::size_t i = 0; i < kThreads; ++i) {
        threads_.emplace_back([this] { work(); });
    }
}

ConnectionPool::~ConnectionPool() {
    shutdown();
}

void ConnectionPool::enqueue(std::function<void()> connection) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return waiting_.size() < kBacklog; });
    waiting_.push_back(std::move(connection));
    crowded_ = idle_ == 0;
    changed_.notify_all();
}

void ConnectionPool::shutdown() {
    {
        const std::scoped_lock lock(mutex_);
        over_ = true;
        changed_.notify_all();
    }
    threads_.clear();
}

void ConnectionPool::work() {
    for (;;) {
        std::function<void()> connection;
        {
            std::unique_lock lock(mutex_);
            ++idle_;
            changed_.wait(lock, [this] { return over_ || !waiting_.empty(); });
            --idle_;
            if (waiting_.empty()) {
                return;
            }
            connection = std::move(waiting_.front());
            waiting_.pop_front();
            crowded_ = idle_ == 0 && !waiting_.empty();
            changed_.notify_all();
        }
        connection();
    }
}

BoundedServer::BoundedServer(std::chrono::milliseconds idle, std::chrono::milliseconds request)
    : idle_(idle), request_(request) {
    new_task_queue = [this] { return new ConnectionPool(crowded_); };
    // The base class would share the port with another server that listens there.
    set_socket_options([](socket_t socket) {
        const int on = 1; // at once after the one before
        ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    });
}

void BoundedServer::let_more_wait() {
    ::listen(svr_sock_, SOMAXCONN);
}

// In short pieces, so that nobody keeps the server from ending, and that whoever sends nothing
// makes room for those that wait.
bool BoundedServer::await_request(TimedStream& stream) const {
    const auto end = Clock::now() + idle_;
    do {
        stream.end_at(std::min(end, Clock::now() + kLook));
        if (stream.is_readable()) {
            return true;
        }
    } while (svr_sock_ != INVALID_SOCKET && !crowded_ && Clock::now() < end);
    return false;
}

bool BoundedServer::process_and_close_socket(socket_t socket) {
    TimedStream stream(socket);
    bool good = true;
    bool closed = false;
    while (good && !closed && await_request(stream)) {
        stream.end_at(Clock::now() + request_);
        good = process_request(stream, false, closed, [](httplib::Request&) {});
    }
    ::shutdown(socket, SHUT_RDWR);
    ::close(socket);
    return good;
}

} // namespace tsa
