// Digests, stops and the watching of long calls, between C and the front door.
#pragma once

#include <optional>
#include <stop_token>

#include <chronoseal/chronoseal.h>
#include <chronoseal/chronoseal.hpp>

struct chronoseal_stop {
    std::stop_source source;
};

namespace chronoseal::c_interface {

// The named one, SHA-256 for null.
HashAlgorithm algorithm_of(const char* name);
Digest digest_of(const chronoseal_digest* digest);
chronoseal_digest digest_of(const Digest& digest);
std::vector<Digest> digests_of(const chronoseal_digest* first, std::size_t count, const char* name);

// What a caller's control, which may be null, means for one call: its progress may end the call,
// and so may its stop. Must outlive the call.
class Watch {
public:
    explicit Watch(const chronoseal_control* control);
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    std::stop_token stop() const { return own_.get_token(); }
    Progress progress();
    // Of a batch, whose callbacks may end it, too.
    explicit Watch(chronoseal_stop* stop);
    void end() { own_.request_stop(); }

private:
    struct PassOn {
        std::stop_source* own;
        void operator()() const noexcept { own->request_stop(); }
    };

    void follow(chronoseal_stop* stop);

    chronoseal_control control_{};
    std::stop_source own_;
    std::optional<std::stop_callback<PassOn>> follow_;
};

} // namespace chronoseal::c_interface
