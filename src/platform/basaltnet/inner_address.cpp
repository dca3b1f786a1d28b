// The networks as prefixes (RFC 6890 and the registries that it began).
#include <basalt/basaltnet/inner_address.h>

#include <arpa/inet.h>
#include <curl/curl.h>
#include <netinet/in.h>
#include <strings.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <span>

namespace basalt {

namespace {

using V4 = std::array<std::uint8_t, 4>;
using V6 = std::array<std::uint8_t, 16>;

template <class Address>
struct Prefix {
    Address network;
    unsigned bits;
};

constexpr Prefix<V4> kInner4[] = {
    {{0, 0, 0, 0}, 8},      // this network
    {{10, 0, 0, 0}, 8},     // private
    {{100, 64, 0, 0}, 10},  // shared by a provider's customers
    {{127, 0, 0, 0}, 8},    // loopback
    {{169, 254, 0, 0}, 16}, // link-local, where clouds keep their secrets
    {{172, 16, 0, 0}, 12},  // private
    {{192, 0, 0, 0}, 24},   // of protocols
    {{192, 88, 99, 0}, 24}, // relays of 6to4, as they were
    {{192, 168, 0, 0}, 16}, // private
    {{198, 18, 0, 0}, 15},  // of benches
    {{224, 0, 0, 0}, 3},    // multicast, reserved, broadcast
};

constexpr Prefix<V6> kInner6[] = {
    {{0xFC, 0x00}, 7},                          // unique local
    {{0xFE, 0x80}, 10},                         // link-local
    {{0xFE, 0xC0}, 10},                         // site-local, as it was
    {{0xFF, 0x00}, 8},                          // multicast
    {{0x00, 0x64, 0xFF, 0x9B, 0x00, 0x01}, 48}, // by a network's own translator
    {{0x01, 0x00}, 64},                         // where all is thrown away
    {{0x20, 0x01}, 23},                         // of protocols, Teredo among them
    {{0x20, 0x01, 0x0D, 0xB8}, 32},             // of examples
    {{0x5F, 0x00}, 16},                         // segments of a network's own routing
};

// Where an IPv4 address lies within an IPv6 one.
struct Carrier {
    Prefix<V6> prefix;
    std::size_t at;
};

constexpr Carrier kCarriers[] = {
    {{{}, 96}, 12},                                         // ::, ::1, ::1.2.3.4
    {{{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF}, 96}, 12}, // mapped
    {{{0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 0, 0}, 96}, 12}, // translated
    {{{0x00, 0x64, 0xFF, 0x9B}, 96}, 12},                   // by a translator
    {{{0x20, 0x02}, 16}, 2},                                // 6to4
};

template <class Address>
bool lies_in(const Address& address, const Prefix<Address>& prefix) {
    const std::size_t whole = prefix.bits / 8;
    const unsigned rest = prefix.bits % 8;
    const auto mask = static_cast<std::uint8_t>(0xFF00U >> rest);
    return std::equal(address.begin(), address.begin() + whole, prefix.network.begin()) &&
           (rest == 0 || (address[whole] & mask) == prefix.network[whole]);
}

bool is_inner(const V4& address) {
    return std::any_of(std::begin(kInner4), std::end(kInner4),
                       [&](const Prefix<V4>& prefix) { return lies_in(address, prefix); });
}

bool is_inner(const V6& address) {
    if (std::any_of(std::begin(kInner6), std::end(kInner6),
                    [&](const Prefix<V6>& prefix) { return lies_in(address, prefix); })) {
        return true;
    }
    for (const Carrier& carrier : kCarriers) {
        if (lies_in(address, carrier.prefix)) {
            V4 carried{};
            std::copy_n(address.begin() + static_cast<std::ptrdiff_t>(carrier.at), carried.size(),
                        carried.begin());
            return is_inner(carried);
        }
    }
    return false;
}

struct UrlDeleter {
    void operator()(CURLU* url) const { curl_url_cleanup(url); }
};

// As curl itself will take it: numbers in any notation are four of them afterwards.
std::string host_of(const std::string& address) {
    const std::unique_ptr<CURLU, UrlDeleter> url(curl_url());
    if (url == nullptr) {
        throw std::bad_alloc();
    }
    char* text = nullptr;
    std::string host;
    if (curl_url_set(url.get(), CURLUPART_URL, address.c_str(), 0) == CURLUE_OK &&
        curl_url_get(url.get(), CURLUPART_HOST, &text, 0) == CURLUE_OK && text != nullptr) {
        host = text;
    }
    curl_free(text);
    return host;
}

bool ends_with(const std::string& text, const char* end) {
    const std::size_t size = std::strlen(end);
    return text.size() >= size && strcasecmp(text.c_str() + text.size() - size, end) == 0;
}

} // namespace

bool is_inner(const sockaddr& address) {
    if (address.sa_family == AF_INET) {
        sockaddr_in ip{};
        std::memcpy(&ip, &address, sizeof ip);
        V4 bytes{};
        std::memcpy(bytes.data(), &ip.sin_addr, bytes.size());
        return is_inner(bytes);
    }
    if (address.sa_family == AF_INET6) {
        sockaddr_in6 ip{};
        std::memcpy(&ip, &address, sizeof ip);
        V6 bytes{};
        std::memcpy(bytes.data(), &ip.sin6_addr, bytes.size());
        return is_inner(bytes);
    }
    return true;
}

bool names_inner_host(const std::string& url) {
    std::string host = host_of(url);
    if (host.starts_with('[')) {
        V6 bytes{};
        const std::string inside = host.substr(1, host.find_first_of("]%") - 1);
        return inet_pton(AF_INET6, inside.c_str(), bytes.data()) != 1 || is_inner(bytes);
    }
    while (host.ends_with('.')) {
        host.pop_back();
    }
    V4 bytes{};
    if (inet_pton(AF_INET, host.c_str(), bytes.data()) == 1) {
        return is_inner(bytes);
    }
    return host.find('.') == std::string::npos || ends_with(host, ".localhost") ||
           ends_with(host, ".local") || ends_with(host, ".internal");
}

} // namespace basalt
