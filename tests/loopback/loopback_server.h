// For tests: a server on 127.0.0.1 that reads HTTP requests and answers with whatever bytes a test
// likes, right or wrong, over TCP or TLS. One thread a connection; all end with the object.
#pragma once

#include <arpa/inet.h>
#include <openssl/ssl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <list>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

struct LoopbackReply {
    std::string bytes;                  // as they go out
    bool close = false;                 // end the connection behind them
    bool endless = false;               // send them again and again
    std::chrono::milliseconds delay{0}; // before the first byte
};

// A well-formed answer that keeps the connection.
inline LoopbackReply http_reply(int status, const std::string& body,
                                const std::string& headers = "") {
    return {"HTTP/1.1 " + std::to_string(status) + " Reason\r\n" + headers +
            "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body};
}

// A request taken apart: the request line with the headers, up to the empty line, and what follows.
struct LoopbackRequest {
    std::string head;
    std::string body;

    explicit LoopbackRequest(const std::string& text) {
        const std::size_t end = text.find("\r\n\r\n");
        head = text.substr(0, end + 2);
        body = text.substr(end + 4);
    }
};

class LoopbackServer {
public:
    // The request as it came, head and body; called from the threads of the connections.
    using Handler = std::function<LoopbackReply(const std::string& request)>;

    // With a TLS context, which the server doesn't own, it speaks TLS.
    explicit LoopbackServer(Handler handler, SSL_CTX* tls = nullptr)
        : handler_(std::move(handler)), tls_(tls), listener_(socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        if (bind(listener_, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
            listen(listener_, 16) != 0 ||
            getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
            std::abort();
        }
        port_ = ntohs(address.sin_port);
        acceptor_ = std::thread([this] { accept_all(); });
    }

    ~LoopbackServer() {
        stopping_ = true;
        shutdown(listener_, SHUT_RDWR);
        acceptor_.join();
        {
            const std::lock_guard lock(mutex_);
            for (const int connection : open_) {
                shutdown(connection, SHUT_RDWR);
            }
        }
        for (Connection& connection : threads_) {
            connection.thread.join();
        }
        close(listener_);
    }

    int port() const { return port_; }
    int connections() const { return connections_; }

    std::wstring url(const std::wstring& path = L"/") const {
        return (tls_ != nullptr ? L"https://127.0.0.1:" : L"http://127.0.0.1:") +
               std::to_wstring(port_) + path;
    }

    // All requests so far, head and body.
    std::vector<std::string> requests() const {
        const std::lock_guard lock(mutex_);
        return requests_;
    }
    // For tests that run long.
    void forget_requests() {
        const std::lock_guard lock(mutex_);
        requests_.clear();
    }

private:
    struct Connection {
        std::atomic<bool> over = false;
        std::thread thread;
    };

    // One connection's bytes, over TLS or not.
    struct Stream {
        int socket;
        SSL* tls;

        long read(char* data, int size) const {
            return tls != nullptr ? SSL_read(tls, data, size)
                                  : recv(socket, data, static_cast<std::size_t>(size), 0);
        }
        bool write(const std::string& bytes) const {
            std::size_t done = 0;
            while (done < bytes.size()) {
                const std::size_t left = bytes.size() - done;
                const long count = tls != nullptr
                                       ? SSL_write(tls, bytes.data() + done, static_cast<int>(left))
                                       : send(socket, bytes.data() + done, left, MSG_NOSIGNAL);
                if (count <= 0) {
                    return false;
                }
                done += static_cast<std::size_t>(count);
            }
            return true;
        }
    };

    void accept_all() {
        for (;;) {
            const int connection = accept(listener_, nullptr, nullptr);
            if (connection < 0) {
                return;
            }
            const std::lock_guard lock(mutex_);
            ++connections_;
            open_.push_back(connection);
            join_ended();
            Connection& own = threads_.emplace_back();
            own.thread = std::thread([this, connection, &own] {
                serve(connection);
                own.over = true;
            });
        }
    }

    // A thread that nobody has joined keeps its stack.
    void join_ended() {
        threads_.remove_if([](Connection& connection) {
            if (connection.over) {
                connection.thread.join();
            }
            return connection.over.load();
        });
    }

    void serve(int connection) {
        // A client that has gone must not end the program here; in its own threads it might.
        sigset_t pipe;
        sigemptyset(&pipe);
        sigaddset(&pipe, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &pipe, nullptr);
        SSL* tls = tls_ != nullptr ? SSL_new(tls_) : nullptr;
        if (tls == nullptr || (SSL_set_fd(tls, connection) == 1 && SSL_accept(tls) == 1)) {
            const Stream stream{connection, tls};
            while (answer(stream)) {
            }
        }
        SSL_free(tls);
        const std::lock_guard lock(mutex_);
        std::erase(open_, connection);
        close(connection);
    }

    bool answer(const Stream& stream) {
        const std::string request = read_request(stream);
        if (request.empty()) {
            return false;
        }
        {
            const std::lock_guard lock(mutex_);
            requests_.push_back(request);
        }
        const LoopbackReply reply = handler_(request);
        for (auto waited = std::chrono::milliseconds(0); waited < reply.delay && !stopping_;
             waited += std::chrono::milliseconds(10)) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        bool good = stream.write(reply.bytes);
        while (good && reply.endless && !stopping_) {
            good = stream.write(reply.bytes);
        }
        return good && !reply.close;
    }

    static std::string read_request(const Stream& stream) {
        std::string request;
        std::size_t wanted = std::string::npos;
        char piece[4096];
        while (request.size() < wanted) {
            const long count = stream.read(piece, sizeof piece);
            if (count <= 0) {
                return {};
            }
            request.append(piece, static_cast<std::size_t>(count));
            const std::size_t head = request.find("\r\n\r\n");
            if (wanted == std::string::npos && head != std::string::npos) {
                const char* length = strcasestr(request.c_str(), "\r\nContent-Length:");
                wanted =
                    head + 4 + (length != nullptr ? std::strtoul(length + 17, nullptr, 10) : 0);
            }
        }
        return request;
    }

    Handler handler_;
    SSL_CTX* tls_;
    int listener_;
    int port_ = 0;
    std::atomic<bool> stopping_ = false;
    std::atomic<int> connections_ = 0;
    mutable std::mutex mutex_;
    std::vector<int> open_;
    std::vector<std::string> requests_;
    std::list<Connection> threads_;
    std::thread acceptor_;
};
