// Owner of a certificate chain.
#pragma once

#include <utility>

#include <basalt/chain.h>

namespace ATL2 {

// Belongs to one thread; moved, not copied.
class CCertChainContext {
public:
    CCertChainContext() noexcept = default;
    CCertChainContext(CCertChainContext&& other) noexcept
        : chain_(std::exchange(other.chain_, nullptr)) {}
    CCertChainContext& operator=(CCertChainContext&& other) noexcept {
        std::swap(chain_, other.chain_);
        return *this;
    }
    ~CCertChainContext() {
        if (chain_) {
            CertFreeCertificateChain(std::exchange(chain_, nullptr));
        }
    }

    PCCERT_CHAIN_CONTEXT get() const noexcept { return chain_; }
    // Where a platform call puts a chain; the owner has to be empty.
    PCCERT_CHAIN_CONTEXT* put() noexcept { return &chain_; }

private:
    PCCERT_CHAIN_CONTEXT chain_ = nullptr;
};

} // namespace ATL2
