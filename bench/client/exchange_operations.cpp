// Exchanges over loopback with a canned answer: the transport alone beside a bare POST by libcurl,
// and a whole exchange, import included, beside that POST with OpenSSL reading the answer.
#include <curl/curl.h>

#include "authority.h"
#include "canned_server.h"
#include "operation.h"
#include <chronoseal/client/request.h>
#include <chronoseal/client/send_request.h>
#include <chronoseal/client/stamp.h>

namespace bench {

namespace {

using namespace Halcyon::PKI::TSP::Client;

// An answer with two certificates, or one with none.
template <bool certificates>
struct Site {
    static const Site& instance() {
        static const Site site;
        return site;
    }

    const std::string query = request(certificates);
    const std::string answer = certificates ? authority(Authority::Kind::rsa).first().response
                                            : authority(Authority::Kind::rsa).bare_response();
    const CannedServer server{answer, query.size()};
};

std::wstring wide(const std::string& text) {
    return {text.begin(), text.end()};
}

template <bool certificates>
void exchange() {
    static const auto& site = Site<certificates>::instance();
    static CRequest* const request = [] {
        auto* const made = new CRequest;
        auto der = site.query;
        made->Import(reinterpret_cast<unsigned char*>(der.data()), der.size());
        made->put_TSAAddress(wide(site.server.url()).c_str());
        return made;
    }();
    require(request->Send(false).get_HasNonce(), "exchange");
}

template <bool certificates>
void post() {
    static const auto& site = Site<certificates>::instance();
    static WinHTTPParams* const params = [] {
        auto* const made = new WinHTTPParams;
        made->address = wide(site.server.url());
        return made;
    }();
    static Halcyon::CBlob body(bytes(site.query), site.query.size());
    const auto answer = SendRequest(params, L"bench", L"Content-type: application/timestamp-query",
                                    &body, false, false, nullptr, false);
    require(params->httpStatus == 200 && answer.cbData() == site.answer.size(), "POST");
}

std::size_t append(char* data, std::size_t size, std::size_t count, void* target) {
    static_cast<std::string*>(target)->append(data, size * count);
    return size * count;
}

// The handle is kept, with all its options.
template <bool certificates>
const std::string& post_by_curl() {
    static const auto& site = Site<certificates>::instance();
    static std::string answer;
    static CURL* const handle = [] {
        CURL* const made = curl_easy_init();
        curl_easy_setopt(made, CURLOPT_URL, site.server.url().c_str());
        curl_easy_setopt(made, CURLOPT_HTTPHEADER,
                         curl_slist_append(nullptr, "Content-type: application/timestamp-query"));
        curl_easy_setopt(made, CURLOPT_USERAGENT, "bench");
        curl_easy_setopt(made, CURLOPT_NOSIGNAL, 1L);
        curl_easy_setopt(made, CURLOPT_PROXY, "");
        curl_easy_setopt(made, CURLOPT_POSTFIELDS, site.query.data());
        curl_easy_setopt(made, CURLOPT_POSTFIELDSIZE_LARGE,
                         static_cast<curl_off_t>(site.query.size()));
        curl_easy_setopt(made, CURLOPT_WRITEFUNCTION, &append);
        curl_easy_setopt(made, CURLOPT_WRITEDATA, &answer);
        return made;
    }();
    answer.clear();
    require(curl_easy_perform(handle) == CURLE_OK && answer.size() == site.answer.size(), "curl");
    return answer;
}

template <bool certificates>
void curl() {
    post_by_curl<certificates>();
}

template <bool certificates>
void curl_and_openssl() {
    const auto& answer = post_by_curl<certificates>();
    const auto* place = bytes(answer);
    const Response response(d2i_TS_RESP(nullptr, &place, static_cast<long>(answer.size())));
    require(response && TS_TST_INFO_get_nonce(TS_RESP_get_tst_info(response.get())), "answer");
}

} // namespace

void add_exchange_operations(Operations& operations) {
    operations.push_back({"post", "chronoseal", &post<true>});
    operations.push_back({"post", "libcurl", &curl<true>});
    operations.push_back({"exchange_2_certificates", "chronoseal", &exchange<true>});
    operations.push_back({"exchange_2_certificates", "openssl", &curl_and_openssl<true>});
    operations.push_back({"exchange_2_certificates", "libcurl", &curl<true>});
    operations.push_back({"exchange_bare", "chronoseal", &exchange<false>});
    operations.push_back({"exchange_bare", "openssl", &curl_and_openssl<false>});
    operations.push_back({"exchange_bare", "libcurl", &curl<false>});
}

} // namespace bench
