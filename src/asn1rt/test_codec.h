// For the tests of this folder: tables of values that go both ways, and of bytes that are refused.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <chronoseal/asn1rt/status.h>
#include <chronoseal/asn1rt/test_context.h>

template <typename T>
struct Row {
    const char* name;
    T value;
    std::string bytes;
};

// Encodes with and without the tag, and decodes both.
template <typename T, typename Encode, typename Decode>
void both_ways(const std::vector<Row<T>>& rows, Encode encode, Decode decode) {
    for (const Row<T>& row : rows) {
        SCOPED_TRACE(row.name);
        const Bytes whole = bytes_of(row.bytes);
        const std::size_t header = whole.size() > 130 ? 3 : 2;
        const Bytes contents(whole.begin() + static_cast<std::ptrdiff_t>(header), whole.end());
        for (const int tagging : {1, 0}) {
            const Bytes& bytes = tagging == 1 ? whole : contents;
            TestContext ctxt;
            ASSERT_EQ(xe_setp(&ctxt, nullptr, 0), 0);
            EXPECT_EQ(ctxt.written(encode(&ctxt, row.value, tagging)), bytes);
            T value{};
            ctxt.read(bytes);
            EXPECT_EQ(decode(&ctxt, value, tagging, static_cast<int>(contents.size())), 0);
            EXPECT_EQ(value, row.value);
            EXPECT_EQ(ctxt.bufIndex, bytes.size());
            EXPECT_EQ(ctxt.errInfo.status, 0);
        }
    }
}

using DecodeCall = std::function<int(ASN1CTXT*)>;

struct No {
    const char* name;
    const char* bytes;
    int status;
    int latched = 1; // 1: as the status
};

inline void refuse(const DecodeCall& decode, const std::vector<No>& rows) {
    for (const No& row : rows) {
        SCOPED_TRACE(row.name);
        TestContext ctxt;
        ctxt.read(bytes_of(row.bytes));
        EXPECT_EQ(decode(&ctxt), row.status);
        EXPECT_EQ(ctxt.errInfo.status, row.latched == 1 ? row.status : row.latched);
        if (row.name == std::string_view("other tag")) {
            EXPECT_EQ(ctxt.bufIndex, 0U);
        }
    }
}
