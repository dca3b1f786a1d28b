// Properties of certificate contexts, and their detaching from a store.
#include <basalt/error_codes.h>
#include <chronoseal/atl/cert_context.h>

#include <algorithm>
#include <array>

#include <chronoseal/atl/platform_answer.h>
#include <chronoseal/base/atl_exception.h>

namespace ATL2 {

namespace {

constexpr HRESULT kFailed = Halcyon::hr(E_FAIL);
constexpr HRESULT kMoreData = Halcyon::hr(Halcyon::kMoreData);

// What the platform computes afresh, or what binds a context to keys and stores of one process.
bool is_left_behind(DWORD id) {
    static constexpr std::array<DWORD, 18> kIds{1,  3,  4,  6,  7,  8,  14, 15, 17,
                                                18, 20, 24, 25, 27, 78, 79, 99, 100};
    return std::binary_search(kIds.begin(), kIds.end(), id);
}

HRESULT copy_property(const CCertContext& from, PCCERT_CONTEXT to, DWORD id) {
    ATL::CStringA value;
    if (const auto result = from.GetProperty(id, value); result < 0) {
        return result;
    }
    if (id == CERT_KEY_CONTEXT_PROP_ID) {
        return 0; // holds a live key handle: looked at, not taken along
    }
    char* const bytes = value.PrepareWrite(value.GetLength());
    const CRYPT_DATA_BLOB blob{static_cast<DWORD>(value.GetLength()),
                               reinterpret_cast<BYTE*>(bytes)};
    const void* const data =
        id == CERT_KEY_PROV_INFO_PROP_ID ? static_cast<const void*>(bytes) : &blob;
    if (!CertSetCertificateContextProperty(to, id, 0, data)) {
        return Halcyon::result_from_last_error();
    }
    return 0;
}

} // namespace

void CCertContext::attach(PCCERT_CONTEXT context) noexcept {
    if (context_) {
        CertFreeCertificateContext(context_);
    }
    context_ = context;
}

HRESULT CCertContext::GetProperty(unsigned id, ATL::CStringA& value) const {
    if (!context_) {
        return kFailed;
    }
    return fetch_answer(value, [&](char* buffer, DWORD* size) {
        return CertGetCertificateContextProperty(context_, id, buffer, size);
    });
}

HRESULT CCertContext::GetKeyProvInfo(ATL::CStringA& value) const {
    if (!context_) {
        return kFailed;
    }
    DWORD size = 512;
    auto call = [&] {
        char* const room = value.PrepareWrite(static_cast<int>(size));
        return CertGetCertificateContextProperty(context_, CERT_KEY_PROV_INFO_PROP_ID, room, &size)
                   ? 0
                   : Halcyon::result_from_last_error();
    };
    auto result = call();
    if (result == kMoreData) {
        if (size > 0x7FFFFFFFu) {
            ATL::AtlThrowImpl(Halcyon::hr(E_INVALIDARG));
        }
        result = call();
    }
    if (result < 0) {
        return result;
    }
    set_answer_length(value, size);
    return 0;
}

HRESULT CCertContext::DetachFromStore() {
    if (!context_) {
        return kFailed;
    }
    CCertContext detached(CertCreateCertificateContext(kAnyEncoding, context_->pbCertEncoded,
                                                       context_->cbCertEncoded));
    if (!detached) {
        return Halcyon::result_from_last_error();
    }
    DWORD id = 0;
    while ((id = CertEnumCertificateContextProperties(context_, id)) != 0) {
        if (is_left_behind(id)) {
            continue;
        }
        if (const auto result = copy_property(*this, detached.get(), id); result < 0) {
            return result;
        }
    }
    *this = std::move(detached);
    return 0;
}

} // namespace ATL2
