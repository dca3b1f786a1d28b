// What OpenSSL reads in a signed message: the oracle of the entries that write into one.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <openssl/cms.h>
#include <openssl/err.h>

#include <chronoseal/chronoseal.hpp>

namespace fuzzing {

inline void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

// The signature of each signer in their order; nothing for what OpenSSL doesn't read.
inline std::optional<std::vector<std::string>> signatures_by_openssl(chronoseal::ByteView der) {
    const auto* place = reinterpret_cast<const unsigned char*>(der.data());
    const std::unique_ptr<CMS_ContentInfo, decltype(&CMS_ContentInfo_free)> message(
        d2i_CMS_ContentInfo(nullptr, &place, static_cast<long>(der.size())), &CMS_ContentInfo_free);
    std::optional<std::vector<std::string>> found;
    STACK_OF(CMS_SignerInfo)* signers = message ? CMS_get0_SignerInfos(message.get()) : nullptr;
    if (signers != nullptr) {
        found.emplace();
        for (int i = 0; i < sk_CMS_SignerInfo_num(signers); ++i) {
            const ASN1_OCTET_STRING* value =
                CMS_SignerInfo_get0_signature(sk_CMS_SignerInfo_value(signers, i));
            found->emplace_back(reinterpret_cast<const char*>(ASN1_STRING_get0_data(value)),
                                static_cast<std::size_t>(ASN1_STRING_length(value)));
        }
    }
    ERR_clear_error();
    return found;
}

} // namespace fuzzing
