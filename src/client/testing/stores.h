// Certificate stores and trust for tests.
#pragma once

#include <string>

#include "atl/cert_context.h"
#include "atl/cert_store.h"
#include "atl/platform_answer.h"
#include "basalt20/chain.h"
#include "client/stamp.h"

namespace Halcyon::PKI::TSP::Client::testing {

inline unsigned char const* bytes(std::string const& text) {
    return reinterpret_cast<unsigned char const*>(text.data());
}

inline ATL2::CCertContext certificateOf(std::string const& der) {
    return ATL2::CCertContext(CertCreateCertificateContext(ATL2::anyEncoding, bytes(der),
                                                           static_cast<DWORD>(der.size())));
}

inline ATL2::CCertStore storeWith(std::string const& der) {
    ATL2::CCertStore store;
    store.Open(CERT_STORE_PROV_MEMORY, 0, 0, 0, nullptr);
    if (!der.empty()) {
        CertAddCertificateContextToStore(store.get(), certificateOf(der).get(),
                                         CERT_STORE_ADD_ALWAYS, nullptr);
    }
    return store;
}

// While it lives, this root and no other is trusted.
class Trust {
public:
    explicit Trust(std::string const& root) : store_(storeWith(root)) {
        BasaltSetTrustAnchors(store_.get());
    }
    ~Trust() { BasaltSetTrustAnchors(nullptr); }
    Trust(Trust const&) = delete;
    Trust& operator=(Trust const&) = delete;

private:
    ATL2::CCertStore store_;
};

inline void import(CStamp& stamp, std::string const& der) {
    stamp.Import(bytes(der), der.size(), nullptr);
}

} // namespace Halcyon::PKI::TSP::Client::testing
