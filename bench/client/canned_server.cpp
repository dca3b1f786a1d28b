// Its threads run until the process ends.
#include "canned_server.h"

#include <thread>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include "operation.h"

namespace bench {

CannedServer::CannedServer(const std::string& body, std::size_t request_size)
    : answer_("HTTP/1.1 200 OK\r\nContent-Type: application/timestamp-reply\r\nContent-Length: " +
              std::to_string(body.size()) + "\r\n\r\n" + body),
      request_size_(request_size) {
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    const bool listening =
        ::bind(listener, reinterpret_cast<sockaddr*>(&address), size) == 0 &&
        ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size) == 0 &&
        ::listen(listener, 8) == 0;
    require(listening, "server");
    url_ = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/";
    std::thread([this, listener] { accept(listener); }).detach();
}

void CannedServer::accept(int listener) const {
    for (;;) {
        const int connection = ::accept(listener, nullptr, nullptr);
        if (connection < 0) {
            return;
        }
        const int on = 1;
        ::setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
        std::thread([this, connection] { serve(connection); }).detach();
    }
}

void CannedServer::serve(int connection) const {
    std::string data;
    char buffer[4096];
    for (;;) {
        const auto got = ::recv(connection, buffer, sizeof(buffer), 0);
        if (got <= 0) {
            ::close(connection);
            return;
        }
        data.append(buffer, static_cast<std::size_t>(got));
        const auto end = data.find("\r\n\r\n");
        if (end != std::string::npos && data.size() >= end + 4 + request_size_) {
            data.clear();
            ::send(connection, answer_.data(), answer_.size(), MSG_NOSIGNAL);
        }
    }
}

} // namespace bench
