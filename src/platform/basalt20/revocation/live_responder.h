// For tests: a responder and publisher on loopback that serves any list or answer with any delay
// and fault, on a clock of its own: a delay moves the clock that the budget reads and costs no real
// time. Each has a cache folder of its own.
#pragma once

#include <basalt/network/network_fixture.h>
#include <basalt/revocation/budget.h>
#include <loopback/loopback_server.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <mutex>
#include <string>

namespace basalt::test {

struct Served {
    std::string body{};
    int status = 200;
    int seconds = 0;     // on the set clock
    bool broken = false; // what comes is no answer, and the connection ends
    std::string headers{};
};

class LiveResponder {
public:
    LiveResponder() : server_([this](const std::string& request) { return reply(request); }) {
        NetworkFixture::get(); // before the first exchange, which reads the settings for good
        std::string pattern = std::filesystem::temp_directory_path() / "basalt_evidence_XXXXXX";
        folder_ = mkdtemp(pattern.data());
        setenv("XDG_CACHE_HOME", folder_.c_str(), 1);
    }
    ~LiveResponder() {
        unsetenv("XDG_CACHE_HOME");
        std::filesystem::remove_all(folder_);
    }
    LiveResponder(const LiveResponder&) = delete;
    LiveResponder& operator=(const LiveResponder&) = delete;

    void serve(const std::string& path, Served what) {
        const std::lock_guard lock(mutex_);
        served_[path] = std::move(what);
    }

    std::string url(const std::string& path) const {
        return "http://127.0.0.1:" + std::to_string(server_.port()) + path;
    }

    std::size_t requests() const { return server_.requests().size(); }

    std::string last_request() const { return server_.requests().back(); }

    Budget::Clock clock() {
        return [this] { return Budget::TimePoint(std::chrono::seconds(seconds_.load())); };
    }

    int seconds() const { return seconds_; }

    // The files of the cache.
    std::vector<std::filesystem::path> cached() const {
        std::vector<std::filesystem::path> files;
        std::error_code none;
        for (const auto& entry :
             std::filesystem::directory_iterator(folder_ + "/basalt/retrieved", none)) {
            files.push_back(entry.path());
        }
        return files;
    }

    // Empties the cache and serves nothing any more.
    void forget() {
        for (const std::filesystem::path& file : cached()) {
            std::filesystem::remove(file);
        }
        const std::lock_guard lock(mutex_);
        served_.clear();
    }

private:
    LoopbackReply reply(const std::string& request) {
        const std::size_t begin = request.find(' ') + 1;
        const std::string path = request.substr(begin, request.find(' ', begin) - begin);
        const std::lock_guard lock(mutex_);
        const auto found = served_.find(path);
        if (found == served_.end()) {
            return http_reply(404, "");
        }
        const Served& what = found->second;
        seconds_ += what.seconds;
        if (what.broken) {
            return {"no answer of HTTP\r\n\r\n", true};
        }
        return http_reply(what.status, what.body, what.headers);
    }

    std::string folder_;
    std::mutex mutex_;
    std::map<std::string, Served> served_;
    std::atomic<int> seconds_ = 0;
    LoopbackServer server_;
};

} // namespace basalt::test
