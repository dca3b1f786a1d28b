// The platform's judgement of a chain, for one verifier: its own roots, modes and "now". The only
// place of this floor that asks the platform about chains.
#pragma once

#include <memory>
#include <optional>

#include <basalt/chain.h>
#include <chronoseal/atl/cert_store.h>
#include <chronoseal/chronoseal.hpp>
#include <chronoseal/seal/shared_fetching.h>

namespace chronoseal {

struct ChainJudgement {
    std::vector<ChainLink> links;       // from the signer on
    std::uint32_t trust_bits = 0;       // of the whole chain
    std::uint32_t code = 0;             // the time-stamp policy's verdict
    bool condemned = false;             // revoked, and no other chain can be good
    bool aged = false;                  // some signature or key passes with a remark
    std::vector<std::string> unreached; // of each link the first address asked in vain, foreign
    // Of the links: whose key somebody calls compromised of whom nobody tells whether he may.
    std::optional<std::size_t> accused;
};

// Where certificates and evidence may come from beside what is given.
enum class Reach { everywhere, given_only };

// How the network may be asked for one judgement.
struct Asking {
    const SharedFetching* together = nullptr; // with others; null: there are none
    bool allowed = true;                      // false: not at all
};

// Immutable; any number of threads may judge at once.
class ChainEngine {
public:
    // `roots` may be null: the machine's. `extra` holds what the caller gives beside the machine's:
    // it goes before what a stamp brings along. `as_of` stands for that of `trust`.
    ChainEngine(const Trust& trust, std::optional<Time> as_of, HCERTSTORE roots, HCERTSTORE extra,
                Reach reach);
    ~ChainEngine();
    ChainEngine(const ChainEngine&) = delete;
    ChainEngine& operator=(const ChainEngine&) = delete;

    // `store` holds what the stamp brings along. Throws Error where there is no judgement.
    ChainJudgement judge(PCCERT_CONTEXT certificate, Time at, HCERTSTORE store,
                         Asking asking = {}) const;

private:
    HCERTCHAINENGINE handle_ = nullptr;
};

// Words for the trust bits of one certificate.
std::vector<std::string> fault_words(std::uint32_t trust_bits);

} // namespace chronoseal
