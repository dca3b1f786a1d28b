// Authenticode stamps: policy, request, exchange and answer.
#include <chronoseal/client/authenticode.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <string>

#include <basalt/configuration.h>
#include <basalt/error_codes.h>
#include <basalt/last_error.h>
#include <basalt/local_block.h>
#include <basalt/object_coding.h>
#include <chronoseal/atl/base64.h>
#include <chronoseal/atl/platform_answer.h>
#include <chronoseal/base/atl_exception.h>
#include <chronoseal/base/blob.h>
#include <chronoseal/client/http_params.h>
#include <chronoseal/client/policy_value.h>
#include <chronoseal/client/result_codes.h>
#include <chronoseal/client/send_request.h>
#include <chronoseal/client/trace.h>

namespace Halcyon::PKI::TSP::Client {

namespace {

// The server to use, or nothing with last error 1260 when policy doesn't allow it. Without any the
// empty address is left to the transport to refuse.
std::optional<std::wstring> choose_server(const wchar_t* url) {
    wchar_t folder_name[] = L"tsppolicy";
    wchar_t* folder = folder_name;
    wchar_t* unused = nullptr;
    support_registry_refresh(); // the policy of this moment
    CGPStrings allowed;
    allowed.Load(unused, folder, L"AllowedMSTSPs", L"MSTSAsAllowedSetted", false);
    CGPString preset;
    preset.Load(unused, folder, L"DefaultMSTSPURL");
    const std::wstring server = url ? url : preset.value;
    if (allowed.isSet && !allowed.Find(server.c_str())) {
        SetLastError(ERROR_ACCESS_DISABLED_BY_POLICY);
        return std::nullopt;
    }
    return server;
}

std::optional<CBlob> encode_request(const CRYPT_DATA_BLOB& content,
                                    const CRYPT_ATTRIBUTES* attributes) {
    char algorithm[] = "1.3.6.1.4.1.311.3.2.1";
    char content_type[] = "1.2.840.113549.1.7.1";
    CRYPT_TIME_STAMP_REQUEST_INFO info{};
    info.pszTimeStampAlgorithm = algorithm;
    info.pszContentType = content_type;
    info.Content = content;
    info.cAttribute = attributes ? attributes->cAttr : 0;
    info.rgAttribute = attributes ? attributes->rgAttr : nullptr;
    DWORD size = 0;
    if (!CryptEncodeObject(ATL2::kAnyEncoding, PKCS_TIME_REQUEST, &info, nullptr, &size)) {
        return std::nullopt;
    }
    CBlob der;
    der.resize_to(size);
    if (!CryptEncodeObject(ATL2::kAnyEncoding, PKCS_TIME_REQUEST, &info, der.pbData(), &size)) {
        return std::nullopt;
    }
    return der;
}

// The text keeps the size that the encoder asks for: zeros fill what it doesn't use, and go out
// with it.
std::optional<CBlob> base64_body(const CBlob& der) {
    if (der.cbData() >= 0x20000000) {
        ATL::AtlThrowImpl(hr(kResultFailed));
    }
    const int size = static_cast<int>(der.cbData());
    int length = ATL::Base64EncodeGetRequiredLength(size, 0);
    CBlob body(static_cast<unsigned long>(length));
    if (!ATL::Base64Encode(der.pbData(), size, reinterpret_cast<char*>(body.pbData()), &length,
                           0)) {
        return std::nullopt;
    }
    return body;
}

std::optional<CBlob> exchange(const std::wstring& server, CBlob& body) {
    WinHTTPParams params;
    params.address = server;
    auto send = [&] {
        return SendRequest(&params, L"Halcyon chronoseal.dll", nullptr, &body, false, false,
                           nullptr, false);
    };
    auto answer = send();
    if (params.httpStatus == 407) {
        params.proxyAuthType = AuthNegotiate;
        answer = send();
    }
    if (params.httpStatus != 200) {
        trace("GetMSStamp", "HTTP STATUS: %lu\n", static_cast<unsigned long>(params.httpStatus));
        SetLastError(kResultHttpStatus);
        return std::nullopt;
    }
    return answer;
}

// The transport's failures as last errors.
std::optional<CBlob> exchange_or_last_error(const std::wstring& server, CBlob& body) {
    try {
        return exchange(server, body);
    } catch (const ATL::CAtlException& failure) {
        SetLastError(static_cast<DWORD>(failure.m_hr));
    } catch (...) {
        SetLastError(kResultHttpStatus);
    }
    return std::nullopt;
}

_CRYPTOAPI_BLOB* result_record(const CBlob& bytes) {
    auto* const record = static_cast<_CRYPTOAPI_BLOB*>(LocalAlloc(0, sizeof(_CRYPTOAPI_BLOB)));
    if (record) {
        record->cbData = static_cast<DWORD>(bytes.cbData());
        record->pbData = static_cast<BYTE*>(LocalAlloc(0, bytes.cbData()));
        if (record->pbData) {
            std::copy_n(bytes.pbData(), bytes.cbData(), record->pbData);
            return record;
        }
        LocalFree(record);
    }
    SetLastError(ERROR_OUTOFMEMORY);
    return nullptr;
}

// A policy that can't be read allows nothing.
std::optional<std::wstring> choose_server_or_last_error(const wchar_t* url) {
    try {
        return choose_server(url);
    } catch (const ATL::CAtlException& failure) {
        SetLastError(static_cast<DWORD>(failure.m_hr));
        return std::nullopt;
    }
}

_CRYPTOAPI_BLOB* stamp(const CRYPT_DATA_BLOB& content, const wchar_t* url,
                       const CRYPT_ATTRIBUTES* attributes) {
    const auto server = choose_server_or_last_error(url);
    if (!server) {
        return nullptr;
    }
    const auto der = encode_request(content, attributes);
    if (!der) {
        return nullptr;
    }
    auto body = base64_body(*der);
    if (!body) {
        return nullptr;
    }
    const auto answer = exchange_or_last_error(*server, *body);
    if (!answer) {
        return nullptr;
    }
    CBlob decoded(answer->cbData());
    int length = static_cast<int>(answer->cbData());
    if (!ATL::Base64Decode(reinterpret_cast<const char*>(answer->pbData()), length,
                           decoded.pbData(), &length)) {
        return nullptr;
    }
    decoded.resize_to(static_cast<unsigned long>(length));
    return result_record(decoded);
}

} // namespace

} // namespace Halcyon::PKI::TSP::Client

_CRYPTOAPI_BLOB* GetMSStamp(const _CRYPTOAPI_BLOB* content, const wchar_t* url,
                            const _CRYPT_ATTRIBUTES* attributes) {
    if (!content) {
        SetLastError(E_INVALIDARG);
        return nullptr;
    }
    return Halcyon::PKI::TSP::Client::stamp(*content, url, attributes);
}

int FreeMSStamp(_CRYPTOAPI_BLOB* stamp) {
    if (stamp) {
        if (stamp->pbData) {
            LocalFree(stamp->pbData);
        }
        LocalFree(stamp);
    }
    return 1;
}
