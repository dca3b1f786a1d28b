// A value of any type of the schema, by the type's name: for tests that run over files or over all
// types.
#pragma once

#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <chronoseal/asn1data/test_coding.h>
#include <chronoseal/asn1data/type_table.h>

namespace test_coding {

/// The table's entry of a type, or null.
inline const asn1data::TypeEntry* find_type(const std::string& name) {
    static const auto index = [] {
        std::map<std::string, const asn1data::TypeEntry*> result;
        for (const asn1data::TypeEntry& entry : asn1data::typeTable()) {
            result.emplace(entry.name, &entry);
        }
        return result;
    }();
    const auto found = index.find(name);
    return found == index.end() ? nullptr : found->second;
}

/// A record with the context that its contents live in.
class Value {
public:
    explicit Value(const asn1data::TypeEntry& type) : type_(type) {
        rtInitContext(&context_, nullptr);
        record_ = type_.construct();
    }
    ~Value() {
        record_.reset();
        rtFreeContext(&context_);
    }
    Value(const Value&) = delete;
    Value& operator=(const Value&) = delete;

    void* record() { return record_.get(); }
    ASN1CTXT* context() { return &context_; }

    /// Status; `bytes` must stay as long as the value is used.
    int decode(const Bytes& bytes) {
        const int status =
            xd_setp(&context_, bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr);
        return status != 0 ? status : type_.decode(&context_, record(), 1, 0);
    }

    void randomize(unsigned seed) {
        asn1data::RandomValues random(&context_, seed);
        type_.fill(random, record());
    }

    // Typed open values keep what they were encoded to, so the context is the value's own.
    Encoded encode() {
        xe_setp(&context_, nullptr, 0);
        Encoded result;
        result.status = type_.encode(&context_, record(), 1);
        result.latched = context_.errInfo.status;
        if (result.status >= 0) {
            const unsigned char* start = xe_getp(&context_);
            result.bytes.assign(start, start + result.status);
        }
        return result;
    }

private:
    const asn1data::TypeEntry& type_;
    ASN1CTXT context_;
    std::shared_ptr<void> record_;
};

/// What `bytes` become when decoded and encoded again as the named type: hexadecimal text, or a
/// status.
inline std::string recode(const std::string& name, const Bytes& bytes) {
    const asn1data::TypeEntry* type = find_type(name);
    if (type == nullptr) {
        throw std::invalid_argument("no type " + name);
    }
    Value value(*type);
    const int status = value.decode(bytes);
    return status != 0 ? std::to_string(status) : value.encode().hex();
}

} // namespace test_coding
