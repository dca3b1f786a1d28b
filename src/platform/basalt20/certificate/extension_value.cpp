#include <basalt/certificate/extension_value.h>

namespace basalt {

Bytes extension_value(const X509* certificate, int nid) {
    const int where = X509_get_ext_by_NID(certificate, nid, -1);
    if (where < 0) {
        return {};
    }
    const ASN1_OCTET_STRING* data = X509_EXTENSION_get_data(X509_get_ext(certificate, where));
    return {ASN1_STRING_get0_data(data), static_cast<std::size_t>(ASN1_STRING_length(data))};
}

} // namespace basalt
