// An evidence record as a handle.
#pragma once

#include <string>

#include <chronoseal/c_interface/view.h>
#include <chronoseal/evidence.hpp>

struct chronoseal_evidence_record {
    explicit chronoseal_evidence_record(chronoseal::EvidenceRecord value)
        : record(std::move(value)) {}

    const chronoseal::EvidenceRecord record;
    // Made when they are asked for: who only stores a record doesn't pay for them.
    mutable chronoseal::c_interface::Once info_once;
    mutable chronoseal::c_interface::Once names_once;
    mutable std::vector<std::unique_ptr<chronoseal_stamp>> stamps;
    mutable chronoseal::c_interface::Kept kept;
    mutable chronoseal::c_interface::Kept kept_names;
    mutable const chronoseal_evidence_record_info* info = nullptr;
    mutable const char* const* data_algorithms = nullptr;
    mutable std::size_t data_algorithm_count = 0;
    mutable chronoseal::c_interface::Once renewal_once;
    mutable std::string renewal_algorithm;
};
