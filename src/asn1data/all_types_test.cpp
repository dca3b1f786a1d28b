// Every type of the schema against itself: random values survive coding and copying, frees leave
// nothing, and damaged encodings stay in bounds.
#include <cstdlib>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include <chronoseal/asn1data/test_value.h>

namespace asn1data {
namespace {

using test_coding::Bytes;
using test_coding::Encoded;
using test_coding::Value;

unsigned seeds() {
    const char* wish = std::getenv("CHRONOSEAL_RANDOM_VALUES");
    return wish != nullptr ? static_cast<unsigned>(std::atoi(wish)) : 6;
}

// A random value and its encoding.
struct Sample : Value {
    Sample(const TypeEntry& type, unsigned seed) : Value(type) {
        randomize(seed);
        encoded = encode();
    }
    const Bytes& bytes() const { return encoded.bytes; }

    Encoded encoded;
};

// Calls that with each type and a value for each seed.
template <class Check>
void for_random_values(Check check) {
    for (const TypeEntry& type : typeTable()) {
        for (unsigned seed = 1; seed <= seeds(); ++seed) {
            SCOPED_TRACE(std::string(type.name) + " seed " + std::to_string(seed));
            Sample sample(type, seed);
            check(type, sample);
            if (testing::Test::HasFatalFailure()) {
                return;
            }
        }
    }
}

TEST(AllTypes, RandomValueDecodesToTheSameBytes) {
    for_random_values([](const TypeEntry& type, Sample& sample) {
        ASSERT_GE(sample.encoded.status, 0);
        Value decoded(type);
        ASSERT_EQ(0, decoded.decode(sample.bytes()));
        EXPECT_EQ(0, decoded.context()->errInfo.status);
        ASSERT_EQ(sample.encoded.hex(), decoded.encode().hex());
    });
}

TEST(AllTypes, CopyEncodesAlikeAndFreeLeavesNothing) {
    for_random_values([](const TypeEntry& type, Sample& sample) {
        Value copy(type);
        type.copy(copy.context(), sample.record(), copy.record());
        ASSERT_EQ(sample.encoded.hex(), copy.encode().hex());

        Value freed(type);
        type.copy(freed.context(), sample.record(), freed.record());
        type.free(freed.context(), freed.record());
        ASSERT_EQ(nullptr, freed.context()->typeHeap->blockList);
    });
}

TEST(AllTypes, ControlObjectCodesAndCopies) {
    for (const TypeEntry& type : typeTable()) {
        Sample sample(type, 1);
        const auto copy = type.construct();
        {
            const auto decoded = type.construct();
            ASN1BERDecodeBuffer input(sample.bytes().data(),
                                      static_cast<int>(sample.bytes().size()));
            const auto reader = type.control(input, decoded.get());
            ASSERT_EQ(0, reader->Decode()) << type.name;
            type.getCopy(*reader, copy.get());
            ASN1BEREncodeBuffer output;
            const auto writer = type.control(output, decoded.get());
            const int length = writer->Encode();
            ASSERT_GT(length, 0) << type.name;
            ASSERT_EQ(sample.bytes(), Bytes(output.getMsgPtr(), output.getMsgPtr() + length))
                << type.name;
        }
    }
}

TEST(AllTypes, EveryTruncationStaysInBounds) {
    for (const TypeEntry& type : typeTable()) {
        const Sample sample(type, 2);
        const std::size_t step = sample.bytes().size() / 60 + 1;
        for (std::size_t size = 1; size < sample.bytes().size(); size += step) {
            Bytes part = sample.bytes();
            part.resize(size);
            part.shrink_to_fit();
            EXPECT_NE(0, Value(type).decode(part)) << type.name << " cut to " << size;
        }
    }
}

TEST(AllTypes, EverySingleByteChangeStaysInBounds) {
    for (const TypeEntry& type : typeTable()) {
        const Sample sample(type, 3);
        const std::size_t step = sample.bytes().size() / 60 + 1;
        for (std::size_t at = 0; at < sample.bytes().size(); at += step) {
            for (const int flip : {0x01, 0x20, 0x80, 0xFF}) {
                Bytes changed = sample.bytes();
                changed[at] = static_cast<unsigned char>(changed[at] ^ flip);
                Value value(type);
                if (value.decode(changed) == 0) {
                    value.encode();
                }
            }
        }
    }
}

// Every type that a caller may name exists with its whole family.
TEST(AllTypes, HaveTheNamesThatCallersUse) {
    std::ifstream names(std::string(CHRONOSEAL_TESTDATA) + "/type_names.txt");
    std::size_t count = 0;
    for (std::string name; names >> name; ++count) {
        const TypeEntry* type = test_coding::find_type(name);
        ASSERT_NE(type, nullptr) << name;
        EXPECT_TRUE(type->encode != nullptr && type->decode != nullptr) << name;
        EXPECT_TRUE(type->copy != nullptr && type->control != nullptr) << name;
        EXPECT_NE(type->construct(), nullptr) << name;
    }
    EXPECT_GE(count, 490U);
    EXPECT_GE(typeTable().size(), 500U);
}

} // namespace
} // namespace asn1data
