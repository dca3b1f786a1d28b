// Parameters of cryptographic messages.
#include <basalt/error_codes.h>
#include <chronoseal/atl/crypt_msg.h>

namespace ATL2 {

HRESULT CCryptMsg::GetParam(unsigned type, unsigned index, ATL::CStringA& value) const {
    if (!handle_) {
        return Halcyon::hr(E_FAIL);
    }
    return fetch_answer(value, [&](char* buffer, DWORD* size) {
        return CryptMsgGetParam(handle_, type, index, buffer, size);
    });
}

HRESULT CCryptMsg::GetAndDecodeCmsSignerInfo(unsigned index, ATL::CStringA& value,
                                             const CMSG_CMS_SIGNER_INFO** info, unsigned flags,
                                             unsigned encoding) const {
    ATL::CStringA signer;
    if (const auto result = GetParam(CMSG_ENCODED_SIGNER, index, signer); result < 0) {
        return result;
    }
    const auto result =
        ATL2::CryptDecodeObject(CMS_SIGNER_INFO, signer.bytes(),
                                static_cast<unsigned>(signer.GetLength()), value, flags, encoding);
    if (result < 0) {
        return result;
    }
    *info = reinterpret_cast<const CMSG_CMS_SIGNER_INFO*>(value.Lock());
    return 0;
}

HRESULT CryptDecodeObject(const char* structType, const unsigned char* data, unsigned size,
                          ATL::CStringA& value, unsigned flags, unsigned encoding) {
    return fetch_answer(
        value,
        [&](char* buffer, DWORD* needed) {
            return ::CryptDecodeObject(encoding, structType, data, size, flags, buffer, needed);
        },
        &result_from_last_error_or_fail);
}

} // namespace ATL2
