// SendPKIRequest: the caller's texts and buffers around one POST.
#include <basalt/coding/fault.h>
#include <basalt/coding/narrow_text.h>
#include <basalt/network.h>
#include <basalt/network/http_client.h>
#include <basalt/network/http_status_error.h>

#include <cstring>
#include <string>
#include <string_view>

namespace {

using basalt::HttpAnswer;
using basalt::HttpRequest;

constexpr std::uint32_t kFirstCapacity = 4096;
constexpr std::uint32_t kLargestDoubled = 1U << 31; // beyond it the capacity is the size itself

std::vector<std::string> lines_of(std::string_view text) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
        if (end != 0) {
            lines.emplace_back(text.substr(0, end));
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

// Makes room for `size` bytes by the rule of the record: the capacity doubles, from 4096 on.
void make_room(PKI_BUFFER& buffer, std::uint32_t size) {
    if (size <= buffer.capacity && buffer.data != nullptr) {
        return;
    }
    std::uint32_t capacity = buffer.capacity == 0 ? kFirstCapacity : buffer.capacity;
    if (size > kLargestDoubled) {
        capacity = size;
    }
    while (capacity < size) {
        capacity *= 2;
    }
    BYTE* data = new BYTE[capacity];
    delete[] buffer.data;
    buffer.data = data;
    buffer.capacity = capacity;
}

void put(PKI_BUFFER& buffer, const std::vector<BYTE>& bytes) {
    const auto size = static_cast<std::uint32_t>(bytes.size()); // bounded far below
    if (size != 0) {
        make_room(buffer, size);
        std::memcpy(buffer.data, bytes.data(), size);
    }
    buffer.size = size;
}

HttpRequest request_of(LPCWSTR url, LPCWSTR user_agent, LPCWSTR headers, LPCWSTR proxy,
                       LPCWSTR credentials) {
    HttpRequest request;
    request.url = basalt::narrow_text(url);
    request.user_agent = basalt::narrow_text(user_agent);
    request.headers = lines_of(basalt::narrow_text(headers));
    request.proxy = basalt::narrow_text(proxy);
    const std::string both = basalt::narrow_text(credentials);
    const std::size_t colon = std::min(both.find(':'), both.size());
    request.proxy_user = both.substr(0, colon);
    request.proxy_password = both.substr(std::min(colon + 1, both.size()));
    request.limits = basalt::network_limits();
    return request;
}

} // namespace

std::uint64_t SendPKIRequest(LPCWSTR url, LPCWSTR userAgent, LPCWSTR headers, LPCWSTR proxy,
                             LPCWSTR proxyCredentials, PKI_BUFFER* request,
                             PKI_BUFFER* response) noexcept {
    return basalt::guarded<std::uint64_t>(0, [&]() -> std::uint64_t {
        basalt::require(url != nullptr && request != nullptr && response != nullptr &&
                            (request->data != nullptr || request->size == 0),
                        ERROR_INVALID_PARAMETER);
        response->size = 0;
        HttpRequest exchange = request_of(url, userAgent, headers, proxy, proxyCredentials);
        exchange.body.emplace(request->data, request->size);
        const HttpAnswer answer = basalt::http_exchange(exchange);
        if (answer.error != ERROR_SUCCESS) {
            basalt::fail(answer.error);
        }
        put(*response, answer.body);
        SetLastError(basalt::http_status_error(answer.status));
        return answer.status;
    });
}
