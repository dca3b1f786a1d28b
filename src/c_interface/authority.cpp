// The authorities of a sealer and of the machine's configuration, by callbacks.
#include <chronoseal/c_interface/call.h>
#include <chronoseal/c_interface/sealer.h>

using namespace chronoseal;
using namespace chronoseal::c_interface;

namespace {

using Each = int (*)(void* user, const chronoseal_authority* authority);

const char* unless_empty(const std::string& text) {
    return text.empty() ? nullptr : text.c_str();
}

// Borrows the texts of the authority.
chronoseal_authority view_of(const Authority& authority) {
    chronoseal_authority view{};
    view.size = sizeof view;
    view.url = authority.url.c_str();
    if (authority.login) {
        view.user = authority.login->user.c_str();
        view.password = authority.login->password.c_str();
    }
    view.login_file = unless_empty(authority.login_file.native());
    view.netrc = unless_empty(authority.netrc.native());
    view.client_certificate = unless_empty(authority.client_certificate.native());
    view.client_key = unless_empty(authority.client_key.native());
    view.ca_file = unless_empty(authority.ca_file.native());
    view.proxy = authority.proxy ? authority.proxy->c_str() : nullptr;
    if (authority.proxy_login) {
        view.proxy_user = authority.proxy_login->user.c_str();
        view.proxy_password = authority.proxy_login->password.c_str();
    }
    view.rate_count = authority.rate.count;
    view.rate_period_ms = authority.rate.period.count();
    view.timeout_ms = authority.timeout.count();
    view.proxy_login_file = unless_empty(authority.proxy_login_file.native());
    return view;
}

chronoseal_status tell(const std::vector<Authority>& authorities, Each each, void* user) {
    for (const Authority& authority : authorities) {
        const chronoseal_authority view = view_of(authority);
        if (each(user, &view) != 0) {
            break;
        }
    }
    return CHRONOSEAL_OK;
}

} // namespace

chronoseal_status chronoseal_sealer_authorities(const chronoseal_sealer* sealer, Each each,
                                                void* user, chronoseal_error** error) {
    return call(error, [&] {
        needed(each, "each");
        return tell(needed(sealer, "sealer").sealer.authorities(), each, user);
    });
}

chronoseal_status chronoseal_configured_authorities(Each each, void* user,
                                                    chronoseal_error** error) {
    return call(error, [&] {
        needed(each, "each");
        return tell(configured_authorities(), each, user);
    });
}
