// A sealer as a handle.
#pragma once

#include <chronoseal/chronoseal.h>
#include <chronoseal/chronoseal.hpp>

struct chronoseal_sealer {
    chronoseal_sealer(chronoseal::SealerOptions options, unsigned quorum_asked)
        : sealer(std::move(options)), quorum(quorum_asked) {}

    const chronoseal::Sealer sealer;
    const unsigned quorum;
};
