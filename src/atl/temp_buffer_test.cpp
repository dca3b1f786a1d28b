#include <chronoseal/atl/temp_buffer.h>

#include <cstring>

#include <gtest/gtest.h>

namespace ATL2 {
namespace {

struct CountingHeap : ATL::CCRTHeap {
    void* Allocate(unsigned long size) override {
        ++blocks;
        last = full ? nullptr : ATL::CCRTHeap::Allocate(size);
        return last;
    }
    void Free(void* block) override {
        --blocks;
        ATL::CCRTHeap::Free(block);
    }

    int blocks = 0;
    void* last = nullptr;
    bool full = false;
};

TEST(TempBuffer, StaysInlineUpToItsSizeAndThenMovesAllOfIt) {
    CountingHeap heap;
    {
        CTempBufferEx<char, 128> buffer(&heap);
        std::memset(buffer.Reallocate(128), 'a', 128);
        EXPECT_EQ(heap.blocks, 0);
        auto* const moved = buffer.Reallocate(129);
        EXPECT_EQ(std::string(moved, 128), std::string(128, 'a'));
        EXPECT_EQ(heap.blocks, 1);
        std::memset(buffer.Reallocate(5000), 'b', 5000);
        EXPECT_EQ(heap.blocks, 1);
    }
    EXPECT_EQ(heap.blocks, 0);
}

TEST(TempBuffer, LeavesTheBlockBehindWhenItReturnsInline) {
    CountingHeap heap;
    {
        CTempBufferEx<char, 128> buffer(&heap);
        buffer.Reallocate(200);
        buffer.Reallocate(10);
    }
    EXPECT_EQ(heap.blocks, 1);
    heap.Free(heap.last);
}

TEST(TempBuffer, ThrowsWithoutMemory) {
    CountingHeap heap;
    heap.full = true;
    CTempBufferEx<char, 128> buffer(&heap);
    std::memset(buffer.Reallocate(128), 'a', 128);
    EXPECT_THROW(buffer.Reallocate(129), ATL::CAtlException);
    EXPECT_EQ(buffer.get()[127], 'a');
}

} // namespace
} // namespace ATL2
