// One line of the table of all types, which tests walk. The functions take untyped records: a
// record is `size` bytes, zeroed or made by `construct`.
#pragma once

#include <cstddef>
#include <memory>

#include <chronoseal/asn1data/random_values.h>
#include <chronoseal/asn1data/record_memory.h>
#include <chronoseal/asn1rt/runtime.h>

namespace asn1data {

struct TypeEntry {
    const char* name;
    const char* module;
    std::size_t size;
    int (*encode)(ASN1CTXT* ctx, void* value, ASN1TagType tagging);
    int (*decode)(ASN1CTXT* ctx, void* value, ASN1TagType tagging, int length);
    void (*copy)(ASN1CTXT* ctx, void* source, void* target);
    void (*free)(ASN1CTXT* ctx, void* value);
    void (*fill)(RandomValues& random, void* value);
    /// A record by its constructor, deleted with its destructor.
    std::shared_ptr<void> (*construct)();
    /// A control object on a buffer.
    std::unique_ptr<ASN1CType> (*control)(ASN1MessageBufferIF& buffer, void* value);
    /// The selector of a CHOICE; 0 for a record of another kind.
    std::uint32_t (*selector)(const void* value);
    /// getCopy into `target`.
    void (*getCopy)(ASN1CType& control, void* target);
};

template <class Record, int (*Encode)(ASN1CTXT*, Record*, ASN1TagType),
          int (*Decode)(ASN1CTXT*, Record*, ASN1TagType, int),
          void (*Copy)(ASN1CTXT*, Record*, Record*), void (*Free)(ASN1CTXT*, Record*),
          void (*Fill)(RandomValues&, Record*), class Control>
TypeEntry typeEntry(const char* name, const char* module) {
    TypeEntry entry;
    entry.name = name;
    entry.module = module;
    entry.size = sizeof(Record);
    entry.encode = [](ASN1CTXT* ctx, void* value, ASN1TagType tagging) {
        return Encode(ctx, static_cast<Record*>(value), tagging);
    };
    entry.decode = [](ASN1CTXT* ctx, void* value, ASN1TagType tagging, int length) {
        return Decode(ctx, static_cast<Record*>(value), tagging, length);
    };
    entry.copy = [](ASN1CTXT* ctx, void* source, void* target) {
        Copy(ctx, static_cast<Record*>(source), static_cast<Record*>(target));
    };
    entry.free = [](ASN1CTXT* ctx, void* value) { Free(ctx, static_cast<Record*>(value)); };
    entry.fill = [](RandomValues& random, void* value) {
        Fill(random, static_cast<Record*>(value));
    };
    entry.construct = []() -> std::shared_ptr<void> { return std::make_shared<Record>(); };
    entry.control = [](ASN1MessageBufferIF& buffer, void* value) -> std::unique_ptr<ASN1CType> {
        return std::make_unique<Control>(buffer, *static_cast<Record*>(value));
    };
    entry.selector = []([[maybe_unused]] const void* value) -> std::uint32_t {
        if constexpr (requires(const Record& record) {
                          record.t;
                          record.u;
                      }) {
            return static_cast<const Record*>(value)->t;
        }
        return 0;
    };
    entry.getCopy = [](ASN1CType& control, void* target) {
        static_cast<Control&>(control).getCopy(static_cast<Record*>(target));
    };
    return entry;
}

} // namespace asn1data
