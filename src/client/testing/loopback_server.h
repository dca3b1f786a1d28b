// A server on loopback that answers each POST by a function, for as long as it lives. It notes what
// it was sent.
#pragma once

#include <atomic>
#include <cstdint>
#include <cstring>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Halcyon::PKI::TSP::Client::testing {

struct HttpRequest {
    std::string head; // request line and headers
    std::string body;
};

struct HttpAnswer {
    int status = 200;
    std::string body;
    std::string headers = "Content-Type: application/timestamp-reply\r\n";
};

class LoopbackServer {
public:
    using Handler = std::function<HttpAnswer(const HttpRequest&)>;

    explicit LoopbackServer(Handler handler) : handler_(std::move(handler)) {
        listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof(address);
        ::bind(listener_, reinterpret_cast<sockaddr*>(&address), size);
        ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size);
        ::listen(listener_, 8);
        port_ = ntohs(address.sin_port);
        thread_ = std::thread([this] { run(); });
    }
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;
    ~LoopbackServer() {
        ::shutdown(listener_, SHUT_RDWR);
        thread_.join();
        ::close(listener_);
    }

    std::wstring url(const std::wstring& path = L"/") const {
        return L"http://127.0.0.1:" + std::to_wstring(port_) + path;
    }
    std::vector<HttpRequest> requests() const {
        const std::lock_guard lock(mutex_);
        return requests_;
    }

private:
    void run() {
        for (;;) {
            const int connection = ::accept(listener_, nullptr, nullptr);
            if (connection < 0) {
                return;
            }
            serve(connection);
            ::close(connection);
        }
    }

    void serve(int connection) {
        std::string data;
        HttpRequest request;
        char buffer[4096];
        for (;;) {
            const auto end = data.find("\r\n\r\n");
            if (end != std::string::npos) {
                request.head = data.substr(0, end + 2);
                const std::size_t length = content_length(request.head);
                if (data.size() >= end + 4 + length) {
                    request.body = data.substr(end + 4, length);
                    break;
                }
            }
            const auto got = ::recv(connection, buffer, sizeof(buffer), 0);
            if (got <= 0) {
                return;
            }
            data.append(buffer, static_cast<std::size_t>(got));
        }
        {
            const std::lock_guard lock(mutex_);
            requests_.push_back(request);
        }
        const auto answer = handler_(request);
        const auto text = "HTTP/1.1 " + std::to_string(answer.status) + " Status\r\n" +
                          answer.headers + "Content-Length: " + std::to_string(answer.body.size()) +
                          "\r\nConnection: close\r\n\r\n" + answer.body;
        ::send(connection, text.data(), text.size(), MSG_NOSIGNAL);
    }

    static std::size_t content_length(const std::string& head) {
        static constexpr char name[] = "\r\nContent-Length:";
        const auto* const place = ::strcasestr(head.c_str(), name);
        return place ? std::stoul(place + sizeof(name) - 1) : 0;
    }

    Handler handler_;
    int listener_ = -1;
    std::uint16_t port_ = 0;
    std::thread thread_;
    mutable std::mutex mutex_;
    std::vector<HttpRequest> requests_;
};

} // namespace Halcyon::PKI::TSP::Client::testing
