#include "server.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <mutex>
#include <thread>
#include <utility>

#include "authenticode_responder.h"
#include "bounded_server.h"
#include "request_log.h"

namespace tsa {

namespace {

constexpr std::size_t kMaxRequest = std::size_t{1} << 20;
constexpr unsigned char kSequenceTag = 0x30;

// What became of the request that this thread answers, for its line in the log.
thread_local std::string outcome;

// A DER request starts with the tag of a SEQUENCE, which no Base64 text of one does: that begins
// with 'M'.
bool is_time_stamp_query(const httplib::Request& request) {
    return request.get_header_value("Content-Type") == "application/timestamp-query" ||
           (!request.body.empty() &&
            static_cast<unsigned char>(request.body.front()) == kSequenceTag);
}

void handle_post(const Identity& identity, TimeStampResponder& responder, std::mutex& mutex,
                 const httplib::Request& request, httplib::Response& response) {
    const std::lock_guard lock(mutex);
    if (is_time_stamp_query(request)) {
        Answer answer = responder.respond(request.body);
        response.set_content(answer.der, "application/timestamp-reply");
        outcome = std::move(answer.outcome);
        return;
    }
    const std::optional<std::string> answer = answer_authenticode(identity, request.body);
    if (!answer) {
        response.status = 400;
        response.set_content("neither a time-stamp request nor an Authenticode one\n",
                             "text/plain");
        return;
    }
    response.set_content(*answer, "application/octet-stream");
    outcome = "signed";
}

void handle_crl(const std::filesystem::path& folder, httplib::Response& response) {
    std::ifstream file(folder / "root.crl", std::ios::binary);
    if (!file) {
        response.status = 404;
        return;
    }
    response.set_content(std::string(std::istreambuf_iterator<char>(file), {}),
                         "application/pkix-crl");
}

} // namespace

bool serve(const Identity& identity, TimeStampResponder& responder, const ServerOptions& options) {
    BoundedServer server(options.idle, options.request);
    std::mutex mutex;
    server.set_tcp_nodelay(true);
    server.set_payload_max_length(kMaxRequest);
    server.Post(".*", [&](const httplib::Request& request, httplib::Response& response) {
        handle_post(identity, responder, mutex, request, response);
    });
    server.Get("/root.crl", [&](const httplib::Request&, httplib::Response& response) {
        handle_crl(options.folder, response);
    });
    server.set_logger([&](const httplib::Request& request, const httplib::Response& response) {
        if (options.log) {
            log_request(request, response, std::exchange(outcome, ""));
        }
    });
    server.set_exception_handler(
        [](const httplib::Request&, httplib::Response& response, std::exception_ptr) {
            response.status = 500;
            outcome = "can't make an answer";
        });

    int port = options.port;
    if (port == 0) {
        port = server.bind_to_any_port(options.host);
    } else if (!server.bind_to_port(options.host, port)) {
        port = -1;
    }
    if (port <= 0) {
        return false;
    }
    server.let_more_wait();

    // Blocked here, before any thread starts, the signals reach only the thread that waits for
    // them.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::atomic<bool> over = false;
    std::thread stopper([&] {
        int signal = 0;
        sigwait(&signals, &signal);
        while (!over && !server.is_running()) { // before, it can't be stopped
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        server.stop();
    });

    std::printf("chronoseal-tsa listening on http://%s:%d/\n", options.host.c_str(), port);
    std::fflush(stdout);
    const bool good = server.listen_after_bind();
    over = true;
    // Wakes the waiting thread if something else ended the server.
    pthread_kill(stopper.native_handle(), SIGTERM);
    stopper.join();
    return good;
}

} // namespace tsa
