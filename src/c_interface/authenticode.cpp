// Stamps of the older Authenticode protocol as handles.
#include <chronoseal/c_interface/call.h>
#include <chronoseal/c_interface/options.h>
#include <chronoseal/c_interface/view.h>

using namespace chronoseal;
using namespace chronoseal::c_interface;

struct chronoseal_authenticode_stamp {
    explicit chronoseal_authenticode_stamp(AuthenticodeStamp got) : stamp(std::move(got)) {
        chronoseal_authenticode_info view{};
        view.der = view_of(stamp.der);
        view.has_time = stamp.time ? 1 : 0;
        view.time = time_of(stamp.time.value_or(Time{}));
        view.signer = stamp.signer ? view_of(kept, *stamp.signer) : nullptr;
        info = kept.value(view);
    }

    const AuthenticodeStamp stamp;
    Kept kept;
    const chronoseal_authenticode_info* info = nullptr;
};

namespace {

AuthenticodeOptions options_of(const chronoseal_authenticode_options* given) {
    if (given == nullptr) {
        return {};
    }
    const auto known = sized(given, "options");
    return {.url = optional_text(known.url),
            .trust = trust_of(known.trust),
            .verify = known.without_verification == 0};
}

} // namespace

chronoseal_status chronoseal_authenticode(const void* content, size_t size,
                                          const chronoseal_authenticode_options* options,
                                          chronoseal_authenticode_stamp** stamp,
                                          chronoseal_error** error) {
    return give_new(stamp, "stamp", error, [&] {
        return authenticode(needed_bytes(content, size, "content"), options_of(options));
    });
}

chronoseal_status chronoseal_authenticode_stamp_get_info(const chronoseal_authenticode_stamp* stamp,
                                                         const chronoseal_authenticode_info** info,
                                                         chronoseal_error** error) {
    return give_info(stamp, "stamp", info, error);
}

void chronoseal_authenticode_stamp_free(chronoseal_authenticode_stamp** stamp) {
    release(stamp);
}
