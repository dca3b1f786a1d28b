// The calling thread's curl handle: its connections, its options, and what they point to. Options
// stay between exchanges that differ in nothing but the body; after a failure and after a fork they
// are put anew. Only lack of memory throws.
#pragma once

#include <basalt/basaltnet/chunked_body.h>
#include <basalt/basaltnet/exchange.h>

#include <curl/curl.h>

#include <array>
#include <memory>

#include <unistd.h>

namespace basalt {

// An answer on its way in.
struct Arrival {
    std::vector<BYTE> body;
    std::size_t bound = 0;
    std::size_t header_bytes = 0;
    bool chunked = false;
    ChunkedBody chunks;
    bool too_large = false;
    bool bad_coding = false;
    bool no_memory = false;
};

class CurlHandle {
public:
    static CurlHandle& of_thread();

    CURL* get() const { return handle_.get(); }

    // False for a proxy's address that is none.
    bool prepare(const HttpRequest& request, const std::string& ca_file);

    // One exchange by what was prepared, to be followed by `release_body` or `forget`.
    CURLcode perform(const HttpRequest& request);

    // The handle outlives the caller's bytes, and curl looks at its options even when it closes a
    // connection.
    void release_body();

    // Options are put anew the next time; the connections stay.
    void forget();

    Arrival& arrival() { return arrival_; }
    std::string error_text(CURLcode code) const;

private:
    struct HandleDeleter {
        void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
    };
    struct ListDeleter {
        void operator()(curl_slist* list) const { curl_slist_free_all(list); }
    };
    using List = std::unique_ptr<curl_slist, ListDeleter>;

    void renew_after_fork();
    bool fits(const HttpRequest& request, const std::string& ca_file) const;
    void set_limits(const HttpLimits& limits);
    void set_target(const HttpRequest& request, const std::string& ca_file);
    void set_identity(const HttpRequest& request);
    void set_arrival();
    void set_reach(const HttpRequest& request);
    bool set_proxy(const HttpRequest& request);
    static void append(List& list, const char* line);
    static List header_list(const HttpRequest& request);

    Arrival arrival_;
    std::array<char, CURL_ERROR_SIZE> error_{};
    List headers_;
    bool prepared_ = false;
    HttpRequest kept_; // what the options are; its body tells only whether there is one
    std::string kept_ca_file_;
    pid_t owner_ = 0;
    std::unique_ptr<CURL, HandleDeleter> handle_; // goes first
};

} // namespace basalt
