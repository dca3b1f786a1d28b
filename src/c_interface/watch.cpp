// How long calls are watched, and stops as handles.
#include <chronoseal/c_interface/watch.h>

#include <chronoseal/c_interface/call.h>

using namespace chronoseal;
using namespace chronoseal::c_interface;

namespace chronoseal::c_interface {

Watch::Watch(const chronoseal_control* control) {
    if (control != nullptr) {
        control_ = sized(control, "control");
        follow(control_.stop);
    }
}

Watch::Watch(chronoseal_stop* stop) {
    follow(stop);
}

void Watch::follow(chronoseal_stop* stop) {
    if (stop != nullptr) {
        follow_.emplace(stop->source.get_token(), PassOn{&own_});
    }
}

Progress Watch::progress() {
    if (control_.progress == nullptr) {
        return {};
    }
    return [this](std::uint64_t done, std::uint64_t total) {
        if (control_.progress(control_.user, done, total) != 0) {
            end();
        }
    };
}

} // namespace chronoseal::c_interface

chronoseal_status chronoseal_stop_new(chronoseal_stop** stop, chronoseal_error** error) {
    return call(error, [&] {
        auto*& place = emptied(stop, "stop");
        place = new chronoseal_stop;
        return CHRONOSEAL_OK;
    });
}

chronoseal_status chronoseal_stop_request(chronoseal_stop* stop, chronoseal_error** error) {
    return call(error, [&] {
        needed(stop, "stop").source.request_stop();
        return CHRONOSEAL_OK;
    });
}

void chronoseal_stop_free(chronoseal_stop** stop) {
    release(stop);
}
