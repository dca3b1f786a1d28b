#include "openssl_handles.h"

#include <openssl/err.h>

namespace tsa {

namespace {

std::string with_reason(const std::string& what) {
    const unsigned long code = ERR_peek_last_error();
    ERR_clear_error();
    if (code == 0) {
        return what;
    }
    char reason[256];
    ERR_error_string_n(code, reason, sizeof reason);
    return what + ": " + reason;
}

} // namespace

OpenSslError::OpenSslError(const std::string& what) : std::runtime_error(with_reason(what)) {}

void require(bool good, const char* what) {
    if (!good) {
        throw OpenSslError(what);
    }
}

} // namespace tsa
