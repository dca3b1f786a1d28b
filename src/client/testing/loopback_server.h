// A server on loopback that answers each POST by a function, for as long as it lives, and keeps
// what it was sent: the tests' server with answers of one form.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <loopback/loopback_server.h>

namespace Halcyon::PKI::TSP::Client::testing {

using HttpRequest = ::LoopbackRequest;

struct HttpAnswer {
    int status = 200;
    std::string body;
    std::string headers = "Content-Type: application/timestamp-reply\r\n";
};

class LoopbackServer {
public:
    using Handler = std::function<HttpAnswer(const HttpRequest&)>;

    explicit LoopbackServer(const Handler& handler)
        : server_([handler](const std::string& request) {
              const HttpAnswer answer = handler(HttpRequest(request));
              LoopbackReply reply =
                  http_reply(answer.status, answer.body, answer.headers + "Connection: close\r\n");
              reply.close = true;
              return reply;
          }) {}

    std::wstring url(const std::wstring& path = L"/") const { return server_.url(path); }

    std::vector<HttpRequest> requests() const {
        std::vector<HttpRequest> requests;
        for (const std::string& request : server_.requests()) {
            requests.emplace_back(request);
        }
        return requests;
    }

private:
    ::LoopbackServer server_;
};

} // namespace Halcyon::PKI::TSP::Client::testing
