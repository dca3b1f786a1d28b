// Single bits, and the object that works on a whole bit string.
#include <chronoseal/asn1rt/bit_string_control.h>

#include <sys/mman.h>

#include <array>
#include <climits>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chronoseal/asn1rt/bit_string_value.h>
#include <chronoseal/asn1rt/decode_buffer.h>
#include <chronoseal/asn1rt/status.h>
#include <chronoseal/asn1rt/test_allocator.h>
#include <chronoseal/asn1rt/test_context.h>

namespace {

using testing::ElementsAre;

Bytes bytes_in_use(ASN1CBitStr& string) {
    Bytes out(static_cast<std::size_t>(string.size()));
    EXPECT_EQ(string.getBytes(out.data(), string.size()), string.size());
    return out;
}

std::uint32_t count_of(const ASN1CBitStr& string) {
    return ASN1TDynBitStr(string).numbits;
}

class BitStringTest : public testing::Test {
protected:
    int latched() { return std::exchange(buffer.getCtxtPtr()->errInfo.status, 0); }

    ASN1BERDecodeBuffer buffer;
};

TEST(BitValue, SetsClearsAndTestsWithinTheCount) {
    unsigned char bytes[] = {0x00, 0xFF};
    EXPECT_EQ(rtSetBit(bytes, 8, 0), 0);
    EXPECT_EQ(bytes[0], 0x80);
    EXPECT_EQ(rtSetBit(bytes, 8, 0), 0x80) << "the bit in place";
    EXPECT_EQ(rtClearBit(bytes, 16, 15), 0x01);
    EXPECT_EQ(rtClearBit(bytes, 16, 15), 0);
    EXPECT_EQ(bytes[1], 0xFE);
    EXPECT_EQ(rtTestBit(bytes, 16, 9), 0x40);
    for (const std::uint32_t index : {9U, 10U, 0xFFFFFFFFU}) {
        EXPECT_EQ(rtSetBit(bytes, 9, index), rtStatusBitIndex);
        EXPECT_EQ(rtClearBit(bytes, 9, index), rtStatusBitIndex);
        EXPECT_EQ(rtTestBit(bytes, 9, index), 0);
    }
    EXPECT_EQ(bytes[1], 0xFE);
    const int lowest[] = {rtOctetBitLen(0),    rtOctetBitLen(0x80), rtOctetBitLen(0x40),
                          rtOctetBitLen(0xC0), rtOctetBitLen(0x01), rtOctetBitLen(0xFF)};
    EXPECT_THAT(lowest, ElementsAre(0, 1, 2, 2, 8, 8));
}

TEST_F(BitStringTest, DynamicStringGrowsAndShrinks) {
    ASN1CBitStr string(buffer);
    EXPECT_EQ(string.length(), 0);
    EXPECT_EQ(string.unusedBitsInLastUnit(), 0);
    EXPECT_EQ(string.set(2), 0);
    EXPECT_EQ(string.set(9), 0);
    EXPECT_EQ(bytes_in_use(string), bytes_of("20 40"));
    const ASN1TDynBitStr* record = string;
    EXPECT_EQ(record->numbits, 10U);
    EXPECT_EQ(record->data[1], 0x40);
    EXPECT_EQ(string.set(8 * 5000), 0);
    EXPECT_EQ(string.size(), 5001);
    EXPECT_EQ(string.cardinality(), 3);
    EXPECT_TRUE(string.get(9) && !string.get(10) && !string.get(1'000'000));
    EXPECT_EQ(string.clear(8 * 5000), 0);
    EXPECT_EQ(bytes_in_use(string), bytes_of("20 40")) << "trailing zero bytes aren't in use";
    EXPECT_EQ(count_of(string), 10U);
    EXPECT_EQ(string.unusedBitsInLastUnit(), 6);
    EXPECT_EQ(string.clear(9), 0);
    EXPECT_EQ(string.clear(2), 0);
    EXPECT_EQ(count_of(string), 0U);
    EXPECT_EQ(string.clear(100), 0) << "behind the bytes in use it's clear already";
    EXPECT_EQ(string.set(0xFFFFFFFF), rtStatusBitIndex) << "an index that can't be counted";
}

TEST_F(BitStringTest, LimitIsTestedOneTooLate) {
    ASN1CBitStr full_bytes(buffer, 16);
    EXPECT_EQ(full_bytes.set(15), 0);
    EXPECT_EQ(full_bytes.set(16), rtStatusInvalidLength) << "the limit itself fails in the storage";
    EXPECT_EQ(latched(), rtStatusInvalidLength);
    EXPECT_EQ(full_bytes.set(17), rtStatusBitIndex);
    EXPECT_EQ(latched(), rtStatusBitIndex);
    EXPECT_EQ(full_bytes.clear(16), 0);
    EXPECT_EQ(full_bytes.clear(17), rtStatusBitIndex);
    EXPECT_FALSE(full_bytes.get(16) || full_bytes.get(17));
    ASN1CBitStr with_room(buffer, 12);
    EXPECT_EQ(with_room.set(12), 0) << "the last byte has room for it";
    EXPECT_EQ(count_of(with_room), 13U);
}

TEST_F(BitStringTest, RangesEndInFrontOfTheirEnd) {
    ASN1CBitStr string(buffer, 24);
    struct Row {
        int (ASN1CBitStr::*change)(std::uint32_t, std::uint32_t);
        std::uint32_t from;
        std::uint32_t to;
        const char* bytes;
    };
    constexpr int (ASN1CBitStr::*set)(std::uint32_t, std::uint32_t) = &ASN1CBitStr::set;
    constexpr int (ASN1CBitStr::*clear)(std::uint32_t, std::uint32_t) = &ASN1CBitStr::clear;
    constexpr int (ASN1CBitStr::*invert)(std::uint32_t, std::uint32_t) = &ASN1CBitStr::invert;
    for (const Row& row :
         {Row{set, 4, 12, "0F F0"}, Row{invert, 8, 24, "0F 0F FF"}, Row{clear, 6, 22, "0C 00 03"},
          Row{clear, 6, 24, "0C"}, Row{clear, 20, 24, "0C"}, Row{set, 3, 3, "0C"},
          Row{invert, 3, 3, "0C"}, Row{invert, 0, 5, "F4"}}) {
        EXPECT_EQ((string.*row.change)(row.from, row.to), 0);
        EXPECT_EQ(bytes_in_use(string), bytes_of(row.bytes));
    }
    EXPECT_EQ(count_of(string), 6U);
    EXPECT_EQ(string.invert(0) | string.invert(4), 0);
    EXPECT_EQ(bytes_in_use(string), bytes_of("7C"));
    EXPECT_EQ(string.set(5, 4), rtStatusBitRange);
    EXPECT_EQ(latched(), rtStatusBitRange);
    EXPECT_EQ(string.set(0, 25), rtStatusBitIndex);
    EXPECT_EQ(string.clear(0, 25), rtStatusBitIndex);
    EXPECT_EQ(string.invert(9, 8), rtStatusBitRange);
    string.clear();
    EXPECT_EQ(string.cardinality(), 0);
    EXPECT_EQ(count_of(string), 0U);
}

TEST_F(BitStringTest, CopiesOutARange) {
    ASN1CBitStr string(buffer);
    string.set(4, 12);
    Bytes out(2, 0xEE);
    EXPECT_EQ(string.get(3, 15, out.data(), 2), 0);
    EXPECT_EQ(out, bytes_of("7F 80"));
    EXPECT_EQ(string.get(100, 108, out.data(), 1), 0);
    EXPECT_EQ(out[0], 0);
    EXPECT_EQ(string.get(3, 15, out.data(), 1), rtStatusBufferOverflow);
    EXPECT_EQ(string.get(3, 15, out.data(), -1), rtStatusBufferOverflow);
    EXPECT_EQ(string.get(4, 3, out.data(), 2), rtStatusBitRange);
    EXPECT_EQ(string.getBytes(out.data(), 1), rtStatusBufferOverflow);
}

TEST_F(BitStringTest, WorksOnARecordUntilItGrows) {
    unsigned char mine[2] = {0x80, 0x01};
    ASN1TDynBitStr record{16, mine};
    ASN1CBitStr string(buffer, record);
    EXPECT_EQ(string.length(), 16);
    string.set(1);
    EXPECT_EQ(mine[0], 0xC0);
    string.set(16);
    EXPECT_NE(record.data, mine);
    EXPECT_EQ(record.numbits, 17U);
    EXPECT_EQ(bytes_in_use(string), bytes_of("C0 01 80"));
    string.set(20000);
    EXPECT_EQ(record.numbits, 20001U);
    EXPECT_EQ(mine[1], 0x01);
    ASN1TDynBitStr empty{};
    ASN1CBitStr fresh(*buffer.getContext(), empty);
    EXPECT_EQ(fresh.set(0), 0);
    EXPECT_EQ(empty.data[0], 0x80);
    const auto block_size = [&] {
        return (reinterpret_cast<const rtMemBlock*>(empty.data) - 1)->size;
    };
    EXPECT_EQ(block_size(), 1 + 1024) << "room ahead";
    EXPECT_EQ(fresh.set(8 * 1024), 0);
    EXPECT_EQ(block_size(), 1 + 1024) << "which is then used";
    EXPECT_EQ(fresh.set(8 * 1025), 0);
    EXPECT_EQ(block_size(), 1026 + 1024);
}

TEST_F(BitStringTest, WorksOnAnArray) {
    std::array<unsigned char, 4> array{0x80, 0xFF, 0xFF, 0xFF};
    std::uint32_t count = 3;
    ASN1CBitStr fixed(buffer, array.data(), count, 32);
    EXPECT_EQ(fixed.set(16), 0);
    EXPECT_THAT(array, ElementsAre(0x80, 0x00, 0x80, 0xFF)) << "what stood there is no bit of it";
    EXPECT_EQ(count, 17U);
    EXPECT_EQ(fixed.set(32), rtStatusInvalidLength);

    // Without a limit, the array holds no more than the bits that are there.
    count = 8;
    ASN1CBitStr dynamic(*buffer.getContext(), array.data(), count, 0);
    EXPECT_EQ(dynamic.set(9), 0);
    EXPECT_EQ(array[1], 0x00) << "it left the array";
    EXPECT_EQ(bytes_in_use(dynamic), bytes_of("80 40"));
}

TEST_F(BitStringTest, CopiesAreApart) {
    ASN1CBitStr fixed(*buffer.getContext(), 12);
    fixed.set(3);
    ASN1CBitStr copy(fixed);
    copy.set(4);
    EXPECT_FALSE(fixed.get(4));
    EXPECT_EQ(copy.set(16), rtStatusBitIndex);
    ASN1CBitStr extendable(fixed, 1);
    EXPECT_EQ(extendable.set(16), 0);
    ASN1CBitStr bounded(fixed, 0);
    EXPECT_EQ(bounded.set(16), rtStatusBitIndex);
    unsigned char zeros[2] = {};
    ASN1TDynBitStr record{16, zeros};
    const ASN1CBitStr trailing_zeros{ASN1CBitStr(buffer, record)};
    EXPECT_EQ(count_of(trailing_zeros), 16U);
    EXPECT_EQ(ASN1TDynBitStr(trailing_zeros).data[1], 0)
        << "there are bytes for all that is counted";
}

TEST_F(BitStringTest, CombinesWithAnOperand) {
    const Bytes operand = bytes_of("0F FF F0");
    const auto combined = [&](auto operation) {
        ASN1CBitStr string(buffer);
        string.set(0, 8);
        string.set(31);
        EXPECT_EQ((string.*operation)(nullptr, 1), rtStatusNullArgument);
        EXPECT_EQ(latched(), rtStatusNullArgument);
        EXPECT_EQ((string.*operation)(operand.data(), 18), 0);
        return bytes_in_use(string);
    };
    EXPECT_EQ(combined(&ASN1CBitStr::doAnd), bytes_of("0F"));
    EXPECT_EQ(combined(&ASN1CBitStr::doAndNot), bytes_of("F0 00 00 01"));
    EXPECT_EQ(combined(&ASN1CBitStr::doOr), bytes_of("FF FF C0 01")) << "18 bits, not 24";
    EXPECT_EQ(combined(&ASN1CBitStr::doXor), bytes_of("F0 FF C0 01"));

    ASN1CBitStr fixed(buffer, 12);
    EXPECT_EQ(fixed.doOr(operand.data(), 13), rtStatusBitIndex);
    EXPECT_EQ(fixed.doXor(operand.data(), 12), 0);
    EXPECT_EQ(bytes_in_use(fixed), bytes_of("0F F0"));
    EXPECT_EQ(fixed.doXor(operand.data(), 12), 0);
    EXPECT_EQ(fixed.length(), 0);
    EXPECT_EQ(count_of(fixed), 12U);
    EXPECT_EQ(fixed.doAnd(nullptr, 0), 0);
    EXPECT_EQ(fixed.doOr(nullptr, 0), 0);
}

TEST_F(BitStringTest, ShiftsWithTheCount) {
    for (const std::uint32_t n : {0U, 1U, 7U, 8U, 9U, 17U, 40U}) {
        ASN1CBitStr string(buffer);
        const std::vector<std::uint32_t> bits{0, 5, 8, 19, 23, 41};
        for (const std::uint32_t bit : bits) {
            string.set(bit);
        }
        ASSERT_EQ(string.shiftRight(n), 0);
        EXPECT_EQ(count_of(string), 42 + n);
        EXPECT_EQ(string.cardinality(), 6);
        for (const std::uint32_t bit : bits) {
            EXPECT_TRUE(string.get(bit + n)) << bit << " by " << n;
        }
        ASSERT_EQ(string.shiftLeft(n), 0);
        ASSERT_EQ(string.shiftLeft(n), 0);
        EXPECT_EQ(count_of(string), 42 - n);
        for (const std::uint32_t bit : bits) {
            EXPECT_EQ(bit >= n, bit >= n && string.get(bit - n)) << bit << " by " << n;
        }
    }
    ASN1CBitStr fixed(buffer, 12);
    fixed.set(0);
    fixed.set(9);
    EXPECT_EQ(fixed.shiftRight(3), 0);
    EXPECT_EQ(bytes_in_use(fixed), bytes_of("10")) << "bits beyond the limit are dropped";
    EXPECT_EQ(count_of(fixed), 12U);
    EXPECT_EQ(fixed.shiftRight(0xFFFFFFFF), 0);
    EXPECT_EQ(fixed.length(), 0);
    EXPECT_EQ(fixed.shiftLeft(0xFFFFFFFF), 0);
    EXPECT_EQ(count_of(fixed), 0U);
    ASN1CBitStr endless(buffer);
    endless.set(0);
    EXPECT_EQ(endless.shiftRight(0xFFFFFFFF), rtStatusBitIndex);
}

// Pages that are never touched cost nothing; only the last byte has a bit.
TEST_F(BitStringTest, CountsBeyondAnInt) {
    constexpr std::size_t size = 0x20000000;
    void* pages = mmap(nullptr, size, PROT_READ | PROT_WRITE,
                       MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(pages, MAP_FAILED);
    auto* bytes = static_cast<unsigned char*>(pages);
    bytes[size - 1] = 0x40;
    std::uint32_t count = UINT32_MAX;
    ASN1CBitStr string(buffer, bytes, count, UINT32_MAX - 1);
    EXPECT_EQ(string.length(), INT_MAX);
    EXPECT_TRUE(string.get(UINT32_MAX - 6));
    bytes[size - 1] = 0xC0;
    EXPECT_EQ(string.clear(UINT32_MAX - 6), 0);
    EXPECT_EQ(count, UINT32_MAX - 6) << "up to the last that is set";
    munmap(pages, size);
}

TEST_F(BitStringTest, ThrowsWithoutMemory) {
    ASN1CBitStr string(buffer);
    const FailingAllocator none(0);
    EXPECT_THROW(string.set(0), ASN1MessageBuffer::RTLError);
    EXPECT_THROW(ASN1CBitStr(buffer, 8), ASN1MessageBuffer::RTLError);
    EXPECT_THROW(static_cast<void>(static_cast<ASN1TDynBitStr*>(string)),
                 ASN1MessageBuffer::RTLError);
    EXPECT_EQ(latched(), rtStatusNoMemory);
}

} // namespace
