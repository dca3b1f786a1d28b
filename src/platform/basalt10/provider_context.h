// What stands behind an HCRYPTPROV, for the floor's own use.
#pragma once

#include <basalt/provider.h>

#include <span>
#include <string_view>

namespace basalt {

struct ListedAlgorithm {
    ALG_ID algorithm;
    DWORD default_bits;
    DWORD least_bits;
    DWORD most_bits;
    std::string_view name;      // at most 19 characters
    std::string_view long_name; // at most 39
};

struct Provider {
    DWORD type;
    const char* name;
    const char* type_name;
    std::span<const ListedAlgorithm> algorithms;

    // The algorithms that OpenSSL can do here, counted from 0; null behind the last.
    const ListedAlgorithm* available(std::size_t index) const;
    const ListedAlgorithm* find(ALG_ID algorithm) const;
};

// All providers, in the order of enumeration; each is the default of its type.
std::span<const Provider> providers();

// The provider of a context; null with the last error ERROR_INVALID_PARAMETER for a handle that is
// none.
const Provider* provider_of(HCRYPTPROV context) noexcept;

} // namespace basalt
