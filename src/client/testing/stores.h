// Certificate stores and trust for tests.
#pragma once

#include <string>

#include <basalt/chain.h>
#include <chronoseal/atl/cert_context.h>
#include <chronoseal/atl/cert_store.h>
#include <chronoseal/atl/platform_answer.h>
#include <chronoseal/client/stamp.h>

namespace Halcyon::PKI::TSP::Client::testing {

inline const unsigned char* bytes(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

inline ATL2::CCertContext certificate_of(const std::string& der) {
    return ATL2::CCertContext(CertCreateCertificateContext(ATL2::kAnyEncoding, bytes(der),
                                                           static_cast<DWORD>(der.size())));
}

inline ATL2::CCertStore store_with(const std::string& der) {
    ATL2::CCertStore store;
    store.Open(CERT_STORE_PROV_MEMORY, 0, 0, 0, nullptr);
    if (!der.empty()) {
        CertAddCertificateContextToStore(store.get(), certificate_of(der).get(),
                                         CERT_STORE_ADD_ALWAYS, nullptr);
    }
    return store;
}

// While it lives, this root and no other is trusted.
class Trust {
public:
    explicit Trust(const std::string& root) : store_(store_with(root)) {
        BasaltSetTrustAnchors(store_.get());
    }
    ~Trust() { BasaltSetTrustAnchors(nullptr); }
    Trust(const Trust&) = delete;
    Trust& operator=(const Trust&) = delete;

private:
    ATL2::CCertStore store_;
};

inline void import(CStamp& stamp, const std::string& der) {
    stamp.Import(bytes(der), der.size(), nullptr);
}

} // namespace Halcyon::PKI::TSP::Client::testing
