// The chain behind a CERT_CHAIN_CONTEXT: the path, what is known of revocation, and the published
// records over both.
#pragma once

#include "basalt20/chain/chain_path.h"
#include "basalt20/revocation/revocation_search.h"
#include "basalt20/surface/chain.h"

#include <array>
#include <atomic>
#include <mutex>

namespace basalt {

struct ChainRequest {
    PCCERT_CONTEXT end = nullptr;
    FileTicks at = 0;
    HCERTSTORE additional = nullptr;
    DWORD flags = 0;
};

class Chain : public CERT_CHAIN_CONTEXT {
public:
    // Builds the chain. The references in `request` are duplicated.
    explicit Chain(const ChainRequest& request);
    Chain(const Chain&) = delete;
    Chain& operator=(const Chain&) = delete;

    void add_reference() noexcept { ++references_; }
    void release() noexcept {
        if (--references_ == 0) {
            delete this;
        }
    }

    const ChainPath& path() const { return path_; }
    FileTicks built_for() const { return at_; }

    // A chain for the same question at another moment.
    Chain* rebuilt_for(FileTicks at) const;

    // The state of the element's revocation at that moment; `no_source` for the anchor, and for all
    // when the chain was asked for without revocation or the mode is off. May fetch.
    RevocationStatus revocation_at(std::size_t element, FileTicks at) const;

private:
    ~Chain() = default;

    struct Record {
        CERT_CHAIN_ELEMENT element{};
        CERT_REVOCATION_INFO revocation{};
    };

    bool checks_revocation(std::size_t element) const;
    void search_revocation();
    void fill_records();
    void fill_element(std::size_t index);
    DWORD revocation_bits(std::size_t index, Record& record) const;

    std::atomic<unsigned> references_{1};
    CertificateReference end_;
    StoreReference additional_;
    StoreReference authorities_;
    FileTicks at_;
    DWORD flags_;
    ChainPath path_;
    mutable std::mutex revocation_mutex_;
    mutable std::vector<std::unique_ptr<RevocationSearch>>
        revocation_; // one for each element that is checked

    std::vector<Record> records_;
    std::vector<CERT_CHAIN_ELEMENT*> element_pointers_;
    CERT_SIMPLE_CHAIN simple_{};
    std::array<CERT_SIMPLE_CHAIN*, 1> simple_pointers_{};
};

} // namespace basalt
