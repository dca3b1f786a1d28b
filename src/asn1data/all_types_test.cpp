// Every type of the schema against itself: random values survive coding and copying, frees leave
// nothing, and damaged encodings stay in bounds.
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <chronoseal/asn1data/type_table.h>

namespace asn1data {
namespace {

using Bytes = std::vector<unsigned char>;

class Context {
public:
    Context() { rtInitContext(&ctx_, nullptr); }
    ~Context() { rtFreeContext(&ctx_); }
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;
    operator ASN1CTXT*() { return &ctx_; }
    ASN1CTXT* operator->() { return &ctx_; }

private:
    ASN1CTXT ctx_;
};

// The status in `status` when it is negative, otherwise the encoding. The record's typed open
// values keep what they were encoded to, which lies in the context.
Bytes encode(Context& ctx, const TypeEntry& type, void* value, int& status) {
    xe_setp(ctx, nullptr, 0);
    status = type.encode(ctx, value, ownTag);
    if (status < 0) {
        return {};
    }
    const unsigned char* start = xe_getp(ctx);
    return {start, start + status};
}

void* zeroedRecord(Context& ctx, const TypeEntry& type) {
    return requiredBlock(ctx, type.size);
}

int decode(Context& ctx, const TypeEntry& type, void* value, const Bytes& bytes) {
    if (bytes.empty()) {
        return rtStatusEndOfBuffer;
    }
    const int stat = xd_setp(ctx, bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr);
    return stat != 0 ? stat : type.decode(ctx, value, ownTag, 0);
}

std::string hex(const Bytes& bytes) {
    static constexpr char digits[] = "0123456789abcdef";
    std::string result;
    for (const unsigned char byte : bytes) {
        result += digits[byte >> 4];
        result += digits[byte & 15];
    }
    return result.size() > 400 ? result.substr(0, 400) + "..." : result;
}

unsigned seeds() {
    const char* wish = std::getenv("CHRONOSEAL_RANDOM_VALUES");
    return wish != nullptr ? static_cast<unsigned>(std::atoi(wish)) : 6;
}

// A random value and its encoding.
struct Sample {
    Context ctx;
    void* value = nullptr;
    Bytes encoding;
    int status = 0;

    Sample(const TypeEntry& type, unsigned seed) {
        value = zeroedRecord(ctx, type);
        RandomValues random(ctx, seed);
        type.fill(random, value);
        encoding = encode(ctx, type, value, status);
    }
};

TEST(AllTypes, RandomValueDecodesToTheSameBytes) {
    for (const TypeEntry& type : typeTable()) {
        for (unsigned seed = 1; seed <= seeds(); ++seed) {
            Sample sample(type, seed);
            ASSERT_GE(sample.status, 0) << type.name << " seed " << seed;
            Context ctx;
            void* decoded = zeroedRecord(ctx, type);
            ASSERT_EQ(0, decode(ctx, type, decoded, sample.encoding))
                << type.name << " seed " << seed << ": " << hex(sample.encoding);
            EXPECT_EQ(0, ctx->errInfo.status) << type.name;
            int status = 0;
            const Bytes again = encode(ctx, type, decoded, status);
            ASSERT_EQ(hex(sample.encoding), hex(again)) << type.name << " seed " << seed;
        }
    }
}

TEST(AllTypes, CopyEncodesAlikeAndFreeLeavesNothing) {
    for (const TypeEntry& type : typeTable()) {
        for (unsigned seed = 1; seed <= seeds(); ++seed) {
            Sample sample(type, seed);
            Context home;
            void* copy = zeroedRecord(home, type);
            type.copy(home, sample.value, copy);
            int status = 0;
            ASSERT_EQ(hex(sample.encoding), hex(encode(home, type, copy, status)))
                << type.name << " seed " << seed;

            Context ctx;
            void* freed = zeroedRecord(home, type);
            type.copy(ctx, sample.value, freed);
            type.free(ctx, freed);
            ASSERT_EQ(nullptr, ctx->typeHeap->blockList) << type.name << " seed " << seed;
        }
    }
}

TEST(AllTypes, ControlObjectCodesAndCopies) {
    for (const TypeEntry& type : typeTable()) {
        Sample sample(type, 1);
        if (sample.encoding.empty()) {
            continue;
        }
        const auto copy = type.construct();
        {
            const auto decoded = type.construct();
            ASN1BERDecodeBuffer input(sample.encoding.data(),
                                      static_cast<int>(sample.encoding.size()));
            const auto reader = type.control(input, decoded.get());
            ASSERT_EQ(0, reader->Decode()) << type.name;
            type.getCopy(*reader, copy.get());
            ASN1BEREncodeBuffer output;
            const auto writer = type.control(output, decoded.get());
            const int length = writer->Encode();
            ASSERT_GT(length, 0) << type.name;
            ASSERT_EQ(hex(sample.encoding),
                      hex(Bytes(output.getMsgPtr(), output.getMsgPtr() + length)))
                << type.name;
        }
    }
}

TEST(AllTypes, EveryTruncationStaysInBounds) {
    for (const TypeEntry& type : typeTable()) {
        Sample sample(type, 2);
        const std::size_t step = sample.encoding.size() / 60 + 1;
        for (std::size_t size = 1; size < sample.encoding.size(); size += step) {
            const Bytes part(sample.encoding.begin(),
                             sample.encoding.begin() + static_cast<std::ptrdiff_t>(size));
            Context ctx;
            EXPECT_NE(0, decode(ctx, type, zeroedRecord(ctx, type), part))
                << type.name << " cut to " << size << ": " << hex(sample.encoding);
        }
    }
}

TEST(AllTypes, EverySingleByteChangeStaysInBounds) {
    for (const TypeEntry& type : typeTable()) {
        Sample sample(type, 3);
        const std::size_t step = sample.encoding.size() / 60 + 1;
        for (std::size_t at = 0; at < sample.encoding.size(); at += step) {
            for (const int flip : {0x01, 0x20, 0x80, 0xFF}) {
                Bytes changed = sample.encoding;
                changed[at] = static_cast<unsigned char>(changed[at] ^ flip);
                Context ctx;
                void* value = zeroedRecord(ctx, type);
                if (decode(ctx, type, value, changed) == 0) {
                    int status = 0;
                    encode(ctx, type, value, status);
                }
            }
        }
    }
}

TEST(AllTypes, NamesAreDistinctAndMany) {
    std::set<std::string> names;
    std::map<std::string, int> per_module;
    for (const TypeEntry& type : typeTable()) {
        EXPECT_TRUE(names.insert(type.name).second) << type.name;
        ++per_module[type.module];
    }
    for (const auto& [module, count] : per_module) {
        std::printf("%4d %s\n", count, module.c_str());
    }
    std::printf("%4zu families\n", names.size());
    EXPECT_GE(names.size(), 500U);
}

} // namespace
} // namespace asn1data
