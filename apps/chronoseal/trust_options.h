// Whom a verification trusts and what it may look at: the options --certs, --crls, --roots,
// --revocation.
#pragma once

#include <string>
#include <vector>

#include <CLI/App.hpp>

#include "store_handle.h"

namespace cli {

struct TrustOptions {
    std::vector<std::string> certs;
    std::vector<std::string> crls;
    std::vector<std::string> roots;
    std::string revocation; // "require", "available", "off"; empty: as the machine is configured
};

void add_trust_options(CLI::App& command, TrustOptions& options);

// The options in force: the process's trust anchors and revocation mode are set by the constructor,
// once for the life of the process; the extra certificates, CRLs and OCSP answers are in one store.
// Throws Failure for a file that can't be read or holds nothing of use.
class Trust {
public:
    explicit Trust(const TrustOptions& options);

    // For calls that take an array of stores and its length.
    void** stores() { return &extra_; }
    unsigned long store_count() const { return 1; }

private:
    StoreHandle store_;
    void* extra_;
};

} // namespace cli
