// For tests of this floor: handles that free themselves, structs that tell their size, and bytes
// that go in and out.
#pragma once

#include <memory>
#include <string>
#include <tuple>

#include <chronoseal/chronoseal.h>

namespace chronoseal::testing {

// Each kind of handle has a function of its own.
inline constexpr auto kFreeFunctions = std::make_tuple(
    chronoseal_authenticode_stamp_free, chronoseal_cms_signature_free, chronoseal_error_free,
    chronoseal_evidence_record_free, chronoseal_evidence_tree_free,
    chronoseal_evidence_verdict_free, chronoseal_evidence_verifier_free, chronoseal_extension_free,
    chronoseal_hash_path_free, chronoseal_hash_renewal_free, chronoseal_hasher_free,
    chronoseal_inspection_free, chronoseal_manifest_reader_free, chronoseal_manifest_renewal_free,
    chronoseal_manifest_tree_free, chronoseal_sealer_free, chronoseal_stamp_free,
    chronoseal_stamp_renewal_free, chronoseal_stop_free, chronoseal_verdict_free,
    chronoseal_verifier_free);

struct HandleFree {
    template <class T>
    void operator()(T* handle) const {
        std::get<void (*)(T**)>(kFreeFunctions)(&handle);
    }
};
template <class T>
using Handle = std::unique_ptr<T, HandleFree>;

inline chronoseal_source source_of(const std::string& bytes) {
    return {nullptr, bytes.data(), bytes.size()};
}

inline std::string text_of(const chronoseal_bytes& view) {
    return {reinterpret_cast<const char*>(view.data), view.size};
}

inline std::string text_of(const chronoseal_digest& digest) {
    return {reinterpret_cast<const char*>(digest.value), digest.size};
}

template <class T>
T sized() {
    T made{};
    made.size = sizeof made;
    return made;
}

// It points to its root.
chronoseal_trust trust_in(const chronoseal_source&& root) = delete;
inline chronoseal_trust trust_in(const chronoseal_source& root) {
    auto trust = sized<chronoseal_trust>();
    trust.roots = &root;
    trust.root_count = 1;
    return trust;
}

} // namespace chronoseal::testing
