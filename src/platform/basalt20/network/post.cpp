// BasaltPost: the caller's record around one POST.
#include <basalt/coding/fault.h>
#include <basalt/error_codes.h>
#include <basalt/network.h>
#include <basalt/network/http_client.h>

#include <algorithm>
#include <cstring>

namespace {

std::string text_of(LPCSTR text) {
    return text != nullptr ? text : "";
}

basalt::HttpRequest request_of(const BASALT_POST& post) {
    basalt::HttpRequest request;
    request.url = text_of(post.pszUrl);
    request.user_agent = text_of(post.pszUserAgent);
    if (const std::string type = text_of(post.pszContentType); !type.empty()) {
        request.headers.push_back("Content-Type: " + type);
    }
    request.user = text_of(post.pszUser);
    request.password = text_of(post.pszPassword);
    request.proxy = text_of(post.pszProxy);
    request.proxy_user = text_of(post.pszProxyUser);
    request.proxy_password = text_of(post.pszProxyPassword);
    request.client_certificate = text_of(post.pszClientCertificate);
    request.client_key = text_of(post.pszClientKey);
    request.ca_file = text_of(post.pszCaFile);
    request.body.emplace(post.pbBody, post.cbBody);
    request.limits = basalt::network_limits();
    if (post.dwTimeout != 0) {
        request.limits.total_timeout = std::chrono::milliseconds(post.dwTimeout);
        request.limits.connect_timeout =
            std::min(request.limits.connect_timeout, request.limits.total_timeout);
    }
    return request;
}

// A line end in a content type would begin a header of the caller's making.
bool is_one_line(LPCSTR text) {
    return text == nullptr || std::strpbrk(text, "\r\n") == nullptr;
}

} // namespace

BOOL BasaltPost(const BASALT_POST* request, BASALT_POST_ANSWER* answer) noexcept {
    return basalt::guarded<BOOL>(FALSE, [&]() -> BOOL {
        basalt::require(request != nullptr && answer != nullptr &&
                            request->cbSize == sizeof *request &&
                            answer->cbSize == sizeof *answer && request->pszUrl != nullptr &&
                            (request->pbBody != nullptr || request->cbBody == 0) &&
                            is_one_line(request->pszContentType),
                        ERROR_INVALID_PARAMETER);
        answer->dwHttpStatus = 0;
        answer->dwRetryAfter = 0;
        answer->pbBody = nullptr;
        answer->cbBody = 0;
        const basalt::HttpAnswer came = basalt::http_exchange(request_of(*request));
        answer->dwHttpStatus = came.status;
        answer->dwRetryAfter = came.retry_after;
        if (came.error != ERROR_SUCCESS) {
            basalt::fail(came.error);
        }
        answer->pbBody = new BYTE[came.body.size() + 1];
        std::copy(came.body.begin(), came.body.end(), answer->pbBody);
        answer->cbBody = static_cast<DWORD>(came.body.size()); // bounded far below
        return TRUE;
    });
}

void BasaltFreePostAnswer(BASALT_POST_ANSWER* answer) noexcept {
    if (answer != nullptr) {
        delete[] answer->pbBody;
        answer->pbBody = nullptr;
        answer->cbBody = 0;
    }
}
