// The structs that a handle gives out: made of the values of the front door once, and kept beside
// them. Bytes lead into the value, which must not move; texts are copied, those of others quoted.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <chronoseal/c_interface/once.h>
#include <chronoseal/chronoseal.h>
#include <chronoseal/chronoseal.hpp>

namespace chronoseal::c_interface {

// Owns the structs, arrays and texts of one handle.
class Kept {
public:
    Kept() = default;
    Kept(const Kept&) = delete;
    Kept& operator=(const Kept&) = delete;

    template <class T>
    const T* value(T value) {
        auto owned = std::make_shared<const T>(std::move(value));
        const T* const pointer = owned.get();
        all_.push_back(std::move(owned));
        return pointer;
    }
    // One of ours: without null bytes.
    const char* text(std::string_view text) { return value(std::string(text))->c_str(); }
    const char* foreign(std::string_view text) { return value(quote_foreign(text))->c_str(); }
    // Null for an empty array.
    template <class T>
    const T* const* array(std::vector<const T*> pointers) {
        return pointers.empty() ? nullptr : value(std::move(pointers))->data();
    }
    const char* const* array(std::vector<const char*> texts) {
        return texts.empty() ? nullptr : value(std::move(texts))->data();
    }
    const char* const* words(const std::vector<std::string>& texts);

private:
    std::vector<std::shared_ptr<const void>> all_;
};

chronoseal_bytes view_of(const Bytes& bytes) noexcept;
chronoseal_algorithm view_of(Kept& kept, const AlgorithmInfo& algorithm);
const chronoseal_certificate* view_of(Kept& kept, const CertificateInfo& certificate);
const chronoseal_remark* const* view_of(Kept& kept, const std::vector<Remark>& remarks);
const chronoseal_token_info* view_of(Kept& kept, const TokenInfo& token);
const chronoseal_stamp_info* view_of(Kept& kept, const Stamp& stamp);

} // namespace chronoseal::c_interface

struct chronoseal_stamp {
    explicit chronoseal_stamp(chronoseal::Stamp value) : stamp(std::move(value)) {}

    const chronoseal::Stamp stamp;
    // Made when it is asked for: who only stores a stamp doesn't pay for it.
    mutable chronoseal::c_interface::Once once;
    mutable chronoseal::c_interface::Kept kept;
    mutable const chronoseal_stamp_info* info = nullptr;
};
