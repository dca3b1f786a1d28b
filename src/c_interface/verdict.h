// A verdict as a handle: the structs that it gives out are made with it.
#pragma once

#include <array>
#include <optional>

#include <chronoseal/c_interface/call.h>
#include <chronoseal/c_interface/view.h>

struct chronoseal_verdict {
    explicit chronoseal_verdict(chronoseal::Verdict found);

    const chronoseal::Verdict verdict;
    std::optional<chronoseal::c_interface::KeptError> error;
    chronoseal::c_interface::Kept kept;
    std::array<const chronoseal_finding*, chronoseal::kChecks> findings{};
    const chronoseal_verdict_info* info = nullptr;
};
