// An authority whose settings have been looked at: addresses are well-formed, logins are read,
// files can be read.
#pragma once

#include <chronoseal/chronoseal.hpp>

namespace chronoseal {

struct Endpoint {
    std::string url;   // its scheme in small letters
    std::string shown; // for people
    std::string host;
    std::optional<Login> login;
    std::string proxy; // empty: a direct connection
    std::optional<Login> proxy_login;
    std::string client_certificate, client_key, ca_file;
    Rate rate;
    std::chrono::milliseconds timeout{0};
};

// Throws `address_malformed`, `address_has_login`, `login_file_open`, `login_malformed`,
// `file_unreadable`, `settings_conflict`.
Endpoint make_endpoint(const Authority& authority, const std::string& default_proxy);

// The parts of it, for whoever looks at settings without asking. An address as the lists of the
// policy are held against it; throws `address_malformed`, `address_has_login`.
std::string settled_address(const std::string& url);
bool is_address(const std::string& url);
// Throws `address_has_login`.
void check_proxy(const std::string& proxy);
// That there are roots in the file, if one is named. Throws `file_unreadable`, `no_certificates`.
void check_ca_file(const std::filesystem::path& path);

struct ExchangeAnswer {
    unsigned status = 0;
    std::chrono::milliseconds retry_after{0};
    Bytes body;
};

// One POST; an empty type declares none. Throws Error where no answer came.
ExchangeAnswer post(const Endpoint& endpoint, ByteView body, const std::string& content_type);

// The error for a status other than 200.
Error error_of_http_status(unsigned status, const Endpoint& endpoint);

} // namespace chronoseal
