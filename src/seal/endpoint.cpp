// Reading of an authority's settings, and the exchange with it.
#include <chronoseal/seal/endpoint.h>

#include <algorithm>
#include <cctype>
#include <cerrno>

#include <sys/stat.h>
#include <unistd.h>

#include <basalt/error_codes.h>
#include <basalt/last_error.h>
#include <basalt/network.h>
#include <chronoseal/base/system_error.h>
#include <chronoseal/client/result_codes.h>
#include <chronoseal/seal/armor.h>
#include <chronoseal/seal/configuration_value.h>
#include <chronoseal/seal/failure.h>
#include <chronoseal/seal/file_bytes.h>
#include <chronoseal/seal/platform_text.h>

namespace chronoseal {

namespace {

constexpr std::size_t kMostLoginBytes = 64 << 10;
constexpr std::uint32_t kAddressUnreadable = Halcyon::of_system_error(ERROR_WINHTTP_INVALID_URL);
constexpr char kCheckAddress[] = "check the address";
constexpr char kUserAgent[] = "chronoseal/1.0";

Error malformed_address(const std::string& url, const char* why) {
    return Error(Category::misuse, "address_malformed", kAddressUnreadable,
                 "the address \"" + quote_address(url) + "\" " + why,
                 "give an http:// or https:// address");
}

struct Address {
    std::string url;
    std::string host;
};

// The scheme in small letters; host without port and brackets.
Address take_apart(const std::string& url) {
    const std::size_t scheme_end = url.find("://");
    std::string scheme = url.substr(0, std::min(scheme_end, url.size()));
    std::ranges::transform(scheme, scheme.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (scheme_end == std::string::npos || (scheme != "http" && scheme != "https")) {
        throw malformed_address(url, "is no http or https address");
    }
    const bool hidden = std::ranges::any_of(url, [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte <= 0x20 || byte == 0x7F;
    });
    if (hidden) {
        throw malformed_address(url, "holds a blank or a control character");
    }
    const std::size_t start = scheme_end + 3;
    const std::size_t end = std::min(url.find_first_of("/?#\\", start), url.size());
    std::string host = url.substr(start, end - start);
    if (host.find('@') != std::string::npos) {
        throw Error(Category::misuse, "address_has_login", kAddressUnreadable,
                    "the address \"" + quote_address(url) + "\" holds a name or a password",
                    "give the login in a file of its own");
    }
    if (host.starts_with('[')) {
        host = host.substr(1, host.find(']') - 1);
    } else {
        host = host.substr(0, host.find(':'));
    }
    if (host.empty()) {
        throw malformed_address(url, "names no host");
    }
    return {scheme + url.substr(scheme_end), host};
}

std::string text_of_file(const std::filesystem::path& path) {
    const Bytes bytes = read_file(path, kMostLoginBytes);
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// A secret that others may read is none.
void require_private(const std::filesystem::path& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        throw unreadable_file(path.string(), errno);
    }
    if ((status.st_mode & (S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH)) != 0) {
        throw Error(Category::misuse, "login_file_open", E_ACCESSDENIED,
                    "the file " + quote_foreign(path.string()) + " can be read by others",
                    "take their rights away: chmod 600");
    }
}

Login login_of_file(const std::filesystem::path& path) {
    require_private(path);
    std::string line = text_of_file(path);
    line.resize(std::min(line.find_first_of("\r\n"), line.size()));
    const std::size_t colon = line.find(':');
    if (colon == std::string::npos || colon == 0) {
        throw Error(Category::misuse, "login_malformed", 0,
                    "the file " + quote_foreign(path.string()) + " holds no USER:PASSWORD",
                    "write both in its first line, with a colon between");
    }
    return {line.substr(0, colon), line.substr(colon + 1)};
}

std::vector<std::string> words_of(const std::string& text) {
    std::vector<std::string> words;
    std::string word;
    bool quoted = false;
    bool open = false;
    for (std::size_t i = 0; i <= text.size(); ++i) {
        const char c = i < text.size() ? text[i] : '\n';
        if (c == '"') {
            quoted = !quoted;
            open = true;
        } else if (c == '\\' && quoted && i + 1 < text.size()) {
            word += text[++i];
        } else if (!quoted && std::isspace(static_cast<unsigned char>(c)) != 0) {
            if (open || !word.empty()) {
                words.push_back(std::exchange(word, {}));
            }
            open = false;
        } else {
            word += c;
        }
    }
    return words;
}

// "machine HOST login USER password PASSWORD", or "default login ...".
std::optional<Login> login_of_netrc(const std::filesystem::path& path, const std::string& host) {
    require_private(path);
    const auto words = words_of(text_of_file(path));
    std::optional<Login> found;
    bool matches = false;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        const std::string next = i + 1 < words.size() ? words[i + 1] : "";
        if (word == "machine" || word == "default") {
            if (found) {
                break;
            }
            matches = word == "default" || next == host;
            i += word == "machine" ? 1 : 0;
        } else if (word == "login" || word == "password" || word == "account") {
            if (matches && word != "account") {
                found = found.value_or(Login{});
                (word == "login" ? found->user : found->password) = next;
            }
            ++i;
        }
    }
    return found;
}

std::optional<Login> login_of(const Authority& authority, const std::string& host) {
    const int ways = int{authority.login.has_value()} + int{!authority.login_file.empty()} +
                     int{!authority.netrc.empty()};
    if (ways > 1) {
        throw Error(Category::misuse, "settings_conflict", 0,
                    "the login at the authority is given in more than one way",
                    "keep one of login, login file and netrc file");
    }
    if (authority.login) {
        return authority.login;
    }
    if (!authority.login_file.empty()) {
        return login_of_file(authority.login_file);
    }
    return authority.netrc.empty() ? std::nullopt : login_of_netrc(authority.netrc, host);
}

std::string readable(const std::filesystem::path& path) {
    if (!path.empty() && ::access(path.c_str(), R_OK) != 0) {
        throw unreadable_file(path.string(), errno);
    }
    return path.string();
}

// Behind a proxy by HTTP it alone is looked up and connected to.
Error with_proxy(const Error& error, const Endpoint& endpoint) {
    const std::string& proxy = endpoint.proxy;
    if (proxy.empty()) {
        return error;
    }
    const bool http = proxy.find("://") == std::string::npos || proxy.starts_with("http");
    const std::string shown = quote_address(proxy);
    const bool unknown = error.word() == "name_not_found";
    if (http && (unknown || error.word() == "cannot_connect")) {
        return Error(error.category(), error.word(), error.code(),
                     "can't ask " + endpoint.shown + ": the proxy " + shown +
                         (unknown ? " was not found" : " can't be connected to"),
                     "check the proxy's address, and whether it is up");
    }
    return Error(error.category(), error.word(), error.code(),
                 error.text() + ", by the proxy " + shown, error.advice());
}

struct FreeAnswer {
    BASALT_POST_ANSWER record{};
    FreeAnswer() { record.cbSize = sizeof record; }
    FreeAnswer(const FreeAnswer&) = delete;
    FreeAnswer& operator=(const FreeAnswer&) = delete;
    ~FreeAnswer() { BasaltFreePostAnswer(&record); }
};

struct StatusWords {
    unsigned first, last;
    const char* word;
    const char* text;
    const char* advice;
    std::uint32_t code;
};

using Halcyon::of_system_error;
constexpr std::uint32_t kHttpStatus = Halcyon::PKI::TSP::Client::kResultHttpStatus;
constexpr StatusWords kStatusWords[] = {
    {300, 399, "http_redirect", "redirects elsewhere, which is not followed",
     "give the address that it redirects to", of_system_error(ERROR_WINHTTP_REDIRECT_FAILED)},
    {401, 401, "login_required", "asks for a login",
     "give the login in a file, or ask the authority for access",
     of_system_error(ERROR_WINHTTP_LOGIN_FAILURE)},
    {402, 402, "http_refused", "asks for payment", "see to the account with the authority",
     kHttpStatus},
    {403, 403, "forbidden", "forbids it", "ask the authority for access", kHttpStatus},
    {404, 404, "page_not_found", "has nothing at this address", kCheckAddress, kHttpStatus},
    {405, 406, "http_refused", "doesn't take a request for a time-stamp there", kCheckAddress,
     kHttpStatus},
    {407, 407, "proxy_login_required", "can't be reached: the proxy asks for a login",
     "give the proxy's login in a file",
     of_system_error(ERROR_WINHTTP_CLIENT_AUTH_CERT_NEEDED_PROXY)},
    {408, 408, "time_out", "got no whole request in time", "try again", kHttpStatus},
    {413, 415, "http_refused", "doesn't take a request for a time-stamp there", kCheckAddress,
     kHttpStatus},
    {429, 429, "too_many_requests", "is asked too often", "wait, and set a rate for this authority",
     kHttpStatus},
    {500, 599, "server_failure", "has failed", "try again later, or ask another authority",
     kHttpStatus},
};

} // namespace

std::string settled_address(const std::string& url) {
    return take_apart(url).url;
}

bool is_address(const std::string& url) {
    try {
        take_apart(url);
        return true;
    } catch (const Error&) {
        return false;
    }
}

void check_proxy(const std::string& proxy) {
    if (proxy.find('@') != std::string::npos) {
        throw Error(Category::misuse, "address_has_login", kAddressUnreadable,
                    "the proxy's address \"" + quote_address(proxy) +
                        "\" holds a name or a password",
                    "give the login in a file of its own");
    }
}

bool holds_certificate(ByteView pem) {
    PemBlocks blocks(pem);
    while (const auto block = blocks.next()) {
        if (!block->is_damaged() && block->label.ends_with("CERTIFICATE")) {
            return true;
        }
    }
    return false;
}

// Without any root TLS fails in a way that blames the server's certificate.
void check_ca_file(const std::filesystem::path& path) {
    if (!path.empty() && !holds_certificate(read_file(path))) {
        throw Error(Category::unreachable, "no_certificates", 0,
                    "the file " + quote_foreign(path.string()) +
                        " holds no certificate in PEM, and TLS needs its root",
                    "give the authority's root in PEM as CA file");
    }
}

Endpoint make_endpoint(const Authority& authority, const std::string& default_proxy) {
    const Address address = take_apart(authority.url);
    Endpoint endpoint;
    endpoint.url = address.url;
    endpoint.shown = quote_address(address.url);
    endpoint.host = address.host;
    endpoint.login = login_of(authority, address.host);
    endpoint.proxy = authority.proxy.value_or(default_proxy);
    check_proxy(endpoint.proxy);
    if (authority.proxy_login && !authority.proxy_login_file.empty()) {
        throw Error(Category::misuse, "settings_conflict", 0,
                    "the login at the proxy is given in more than one way",
                    "keep one of login and login file");
    }
    endpoint.proxy_login = authority.proxy_login_file.empty()
                               ? authority.proxy_login
                               : login_of_file(authority.proxy_login_file);
    endpoint.client_certificate = readable(authority.client_certificate);
    endpoint.client_key = readable(authority.client_key);
    if (!authority.client_certificate.empty()) {
        require_private(authority.client_key.empty() ? authority.client_certificate
                                                     : authority.client_key);
    }
    if (endpoint.url.starts_with("https:") || endpoint.proxy.starts_with("https:")) {
        const auto usual = configured_text("\\config\\network\\CaFile");
        check_ca_file(authority.ca_file.empty() ? std::filesystem::path(usual.value_or(""))
                                                : authority.ca_file);
    }
    endpoint.ca_file = readable(authority.ca_file);
    endpoint.rate = authority.rate;
    endpoint.timeout = authority.timeout;
    return endpoint;
}

ExchangeAnswer post(const Endpoint& endpoint, ByteView body, const std::string& content_type) {
    const Login none;
    const Login& login = endpoint.login ? *endpoint.login : none;
    const Login& proxy_login = endpoint.proxy_login ? *endpoint.proxy_login : none;
    BASALT_POST record{};
    record.cbSize = sizeof record;
    record.pszUrl = endpoint.url.c_str();
    record.pszUserAgent = kUserAgent;
    record.pszContentType = content_type.c_str();
    record.pszUser = login.user.c_str();
    record.pszPassword = login.password.c_str();
    record.pszProxy = endpoint.proxy.c_str();
    record.pszProxyUser = proxy_login.user.c_str();
    record.pszProxyPassword = proxy_login.password.c_str();
    record.pszClientCertificate = endpoint.client_certificate.c_str();
    record.pszClientKey = endpoint.client_key.c_str();
    record.pszCaFile = endpoint.ca_file.c_str();
    record.dwTimeout = static_cast<DWORD>(
        std::clamp<std::int64_t>(endpoint.timeout.count(), 0, 24LL * 3600 * 1000));
    record.pbBody = octets(body);
    record.cbBody = static_cast<DWORD>(body.size());
    FreeAnswer answer;
    if (BasaltPost(&record, &answer.record) == 0) {
        throw with_proxy(error_of_last("ask " + endpoint.shown), endpoint);
    }
    return {answer.record.dwHttpStatus, std::chrono::seconds(answer.record.dwRetryAfter),
            copy_of(answer.record.pbBody, answer.record.cbBody)};
}

Error error_of_http_status(unsigned status, const Endpoint& endpoint) {
    const std::string server = "the server " + endpoint.shown + " ";
    const std::string with_status = ": HTTP status " + std::to_string(status);
    const auto* const row = std::ranges::find_if(kStatusWords, [&](const StatusWords& one) {
        return status >= one.first && status <= one.last;
    });
    if (row == std::end(kStatusWords)) {
        return Error(Category::unreachable, "http_status", kHttpStatus,
                     server + "answered with HTTP status " + std::to_string(status), kCheckAddress);
    }
    std::string text = row->text;
    std::string advice = row->advice;
    if (status == 401 && endpoint.login) {
        text = "refuses the login that was given";
        advice = "check its name and password";
    } else if (status == 407 && !endpoint.proxy.empty()) {
        text = "can't be reached: the proxy " + quote_address(endpoint.proxy) +
               (endpoint.proxy_login ? " refuses the login that was given" : " asks for a login");
        advice = endpoint.proxy_login ? "check its name and password" : advice;
    }
    return Error(Category::unreachable, row->word, row->code, server + text + with_status, advice);
}

} // namespace chronoseal
