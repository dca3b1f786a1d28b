// The last error that goes with an HTTP status: 12156 for a redirect, 12015 for 401, 12187 for 407,
// and 0 for all others, since a refusal by the server is told well enough by its status.
#pragma once

#include <basalt/error_codes.h>

namespace basalt {

inline DWORD http_status_error(unsigned status) {
    if (status >= 300 && status < 400) {
        return ERROR_WINHTTP_REDIRECT_FAILED;
    }
    return status == 401   ? ERROR_WINHTTP_LOGIN_FAILURE
           : status == 407 ? ERROR_WINHTTP_CLIENT_AUTH_CERT_NEEDED_PROXY
                           : ERROR_SUCCESS;
}

} // namespace basalt
