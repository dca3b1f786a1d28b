// Heaps, contexts, the latched status and the bounds of a decode, under an allocator that keeps
// count.
#include <chronoseal/asn1rt/heap.h>

#include <cstring>
#include <set>

#include <gtest/gtest.h>

#include <chronoseal/asn1rt/limits.h>
#include <chronoseal/asn1rt/nesting.h>
#include <chronoseal/asn1rt/status.h>
#include <chronoseal/asn1rt/stream.h>
#include <chronoseal/asn1rt/test_context.h>

namespace {

// Counts blocks by the allocator's first argument, and fails on demand.
struct Ledger {
    std::set<void*> live;
    int fail_after = -1; // allocations that still succeed; -1: all
};

void* ledger_malloc(void* arg, std::size_t size) {
    auto* ledger = static_cast<Ledger*>(arg);
    if (ledger->fail_after == 0) {
        return nullptr;
    }
    if (ledger->fail_after > 0) {
        --ledger->fail_after;
    }
    void* block = std::malloc(size);
    ledger->live.insert(block);
    return block;
}

void ledger_free(void* arg, void* ptr) {
    EXPECT_EQ(static_cast<Ledger*>(arg)->live.erase(ptr), 1U) << "freed twice or to the wrong heap";
    std::free(ptr);
}

class HeapTest : public testing::Test {
protected:
    HeapTest() {
        g_malloc_func = ledger_malloc;
        g_free_func = ledger_free;
    }
    ~HeapTest() override {
        g_malloc_func = rtDefaultMalloc;
        g_free_func = rtDefaultFree;
    }
    // A heap, or a context, of that ledger's.
    static rtMemHeap* heap_on(Ledger& ledger) {
        rtMemHeap* slot = nullptr;
        EXPECT_EQ(rtMemHeapCreate(&slot, &ledger), 0);
        return slot;
    }
    struct Context : ASN1CTXT {
        explicit Context(Ledger& ledger) { EXPECT_EQ(rtInitContext(this, &ledger), 0); }
    };

    Ledger ledger;
    Ledger other;
};

TEST_F(HeapTest, BlocksDieWithTheLastReference) {
    rtMemHeap* slot = heap_on(ledger);
    EXPECT_EQ(slot->refCount, 1U);
    EXPECT_EQ(slot->flags, 0x10000000U);
    EXPECT_EQ(slot->defBlkSize, 4096U);
    rtMemHeap* second = slot;
    rtMemHeapAddRef(&second);
    auto* first = static_cast<unsigned char*>(rtMemHeapAlloc(&slot, 0));
    auto* zeroed = static_cast<unsigned char*>(rtMemHeapAllocZ(&slot, 100));
    ASSERT_TRUE(first != nullptr && zeroed != nullptr);
    EXPECT_EQ(std::count(zeroed, zeroed + 100, 0), 100);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(first) % 16, 0U);
    EXPECT_EQ(reinterpret_cast<char*>(slot->blockList) + 48, reinterpret_cast<char*>(zeroed));
    rtMemHeapRelease(&second);
    EXPECT_NE(second, nullptr) << "the slot keeps its handle while references remain";
    EXPECT_EQ(ledger.live.size(), 3U);
    rtMemHeapRelease(&slot);
    EXPECT_EQ(slot, nullptr);
    EXPECT_TRUE(ledger.live.empty());
}

TEST_F(HeapTest, EmptyAndNullSlotsAndSizesThatCannotBe) {
    rtMemHeap* empty = nullptr;
    for (rtMemHeap** slot : {&empty, static_cast<rtMemHeap**>(nullptr)}) {
        EXPECT_EQ(rtMemHeapRealloc(slot, nullptr, 1), nullptr);
        rtMemHeapAddRef(slot);
        rtMemHeapFreePtr(slot, &ledger);
        rtMemHeapRelease(slot);
        EXPECT_EQ(rtMemHeapCheckPtr(slot, nullptr), 1);
        EXPECT_EQ(rtMemHeapMarkSaved(slot, nullptr), 0);
    }
    EXPECT_EQ(rtMemHeapCreate(nullptr, nullptr), rtStatusNullArgument);
    EXPECT_EQ(rtMemHeapAlloc(nullptr, 1), nullptr);
    EXPECT_EQ(rtMemHeapAllocZ(nullptr, 1), nullptr);
    g_malloc_func = rtDefaultMalloc;
    g_free_func = rtDefaultFree;
    EXPECT_NE(rtMemHeapAlloc(&empty, 1), nullptr) << "allocation makes the heap";
    for (const std::int32_t size : {-1, -8, INT32_MIN, rtMaxBlockSize + 1, INT32_MAX}) {
        EXPECT_EQ(rtMemHeapAlloc(&empty, size), nullptr) << size;
        EXPECT_EQ(rtMemHeapAllocZ(&empty, size), nullptr) << size;
        EXPECT_EQ(rtMemHeapRealloc(&empty, nullptr, size), nullptr) << size;
    }
    rtMemHeapRelease(&empty);
}

TEST_F(HeapTest, ReallocShrinksInPlaceAndForgetsTheRest) {
    rtMemHeap* slot = heap_on(ledger);
    auto* block = static_cast<char*>(rtMemHeapRealloc(&slot, nullptr, 8));
    std::memcpy(block, "abcdefg", 8);
    EXPECT_EQ(rtMemHeapRealloc(&slot, block, 8), block);
    EXPECT_EQ(rtMemHeapRealloc(&slot, block, 3), block);
    EXPECT_EQ(slot->blockList->size, 3);
    auto* grown = static_cast<char*>(rtMemHeapRealloc(&slot, block, 8));
    ASSERT_NE(grown, block) << "the recorded size is the shrunken one";
    EXPECT_EQ(std::string_view(grown, 3), "abc");
    EXPECT_EQ(rtMemHeapRealloc(&slot, grown, -1), nullptr);
    ledger.fail_after = 0;
    EXPECT_EQ(rtMemHeapRealloc(&slot, grown, 100), nullptr);
    EXPECT_EQ(std::string_view(grown, 3), "abc") << "the old block stays valid";
    ledger.fail_after = -1;
    EXPECT_EQ(ledger.live.size(), 2U);
    rtMemHeapRelease(&slot);
    EXPECT_TRUE(ledger.live.empty());
}

TEST_F(HeapTest, FreeInAnyOrderAndThroughAnotherHeapsSlot) {
    rtMemHeap* slot = heap_on(ledger);
    rtMemHeap* stranger = heap_on(other);
    void* blocks[4];
    for (void*& block : blocks) {
        block = rtMemHeapAlloc(&slot, 16);
    }
    void* foreign = rtMemHeapAlloc(&stranger, 16);
    rtMemHeapFreePtr(&slot, blocks[1]);
    rtMemHeapFreePtr(&stranger, blocks[3]); // the head of the other heap's list
    rtMemHeapFreePtr(&slot, blocks[0]);
    rtMemHeapFreePtr(&slot, nullptr);
    EXPECT_EQ(slot->blockList->next, nullptr);
    EXPECT_EQ(stranger->blockList + 1, foreign);
    rtMemHeapRelease(&slot);
    rtMemHeapRelease(&stranger);
    EXPECT_TRUE(ledger.live.empty());
    EXPECT_TRUE(other.live.empty());
}

TEST_F(HeapTest, ContextFromStartToEnd) {
    ASN1CTXT ctxt;
    std::memset(&ctxt, 0xA5, sizeof ctxt);
    ledger.fail_after = 0;
    EXPECT_EQ(rtInitContext(&ctxt, &ledger), rtStatusNoMemory);
    EXPECT_EQ(ctxt.initCode, rtContextAlive);
    rtFreeContext(&ctxt);
    ledger.fail_after = 1;
    ASSERT_EQ(rtInitContext(&ctxt, &ledger), 0);
    EXPECT_EQ(rtInitContextBuffer(&ctxt, nullptr, 5), rtStatusNoMemory);
    ledger.fail_after = -1;
    EXPECT_EQ(ctxt.msgHeap, ctxt.typeHeap);
    EXPECT_EQ(ctxt.msgHeap->refCount, 2U);
    EXPECT_EQ(ctxt.initCode, 0x1AA2A34AU);
    EXPECT_EQ(static_cast<void*>(&ctxt), static_cast<void*>(&ctxt.msgHeap));
    unsigned char bytes[3]{};
    using Row = std::tuple<unsigned char*, std::uint32_t, std::uint32_t>;
    for (const auto& [data, size, capacity] :
         {Row{bytes, 3, 3}, Row{nullptr, 5, 5}, Row{nullptr, 0, 16384}}) {
        ASSERT_EQ(rtInitContextBuffer(&ctxt, data, size), 0);
        EXPECT_EQ(ctxt.bufSize, capacity);
        EXPECT_EQ(ctxt.bufDynamic, data == nullptr ? 1 : 0);
        EXPECT_EQ(ctxt.bufBitOffset, 8);
    }
    EXPECT_EQ(rtInitContextBuffer(&ctxt, nullptr, UINT32_MAX), rtStatusNoMemory);
    rtCtxtSetFlag(&ctxt, 0xFFFF0000U | ctxFlagSaveBuffer);
    rtCtxtSetFlag(&ctxt, ctxFlagNoCopy);
    ASN1CTXT saved;
    rtCopyContext(&saved, &ctxt);
    EXPECT_EQ(saved.bufData, ctxt.bufData);
    EXPECT_EQ(saved.bufSize, 16384U);
    EXPECT_EQ(saved.flags, ctxFlagSaveBuffer | ctxFlagNoCopy);
    ASSERT_NE(rtSListAppend(&ctxt.listA, &ctxt), nullptr);
    ASSERT_NE(rtSListAppend(&ctxt.listB, &ctxt), nullptr);
    rtFreeContext(&ctxt);
    EXPECT_TRUE(ledger.live.empty());
    EXPECT_EQ(ctxt.initCode, 0U);
    rtFreeContext(&ctxt);
    EXPECT_EQ(rtInitContextBuffer(&ctxt, nullptr, 1), rtStatusNotInitialised);
}

TEST_F(HeapTest, SharedHeapsOutliveTheirMaker) {
    Context maker(ledger);
    Context user(other);
    rtCtxtSetMemHeap(&user, &maker);
    rtCtxtSetMemHeap(&user, &maker);
    rtCtxtSetMemHeap(nullptr, &maker);
    rtCtxtSetMsgMemHeap(&user, nullptr);
    EXPECT_EQ(maker.typeHeap->refCount, 3U);
    EXPECT_NE(user.msgHeap, user.typeHeap);
    auto* text = static_cast<char*>(rtMemHeapAlloc(&user.typeHeap, 4));
    std::memcpy(text, "abc", 4);
    rtFreeContext(&maker);
    EXPECT_STREQ(text, "abc");
    rtCtxtSetMsgMemHeap(&user, &user);
    Context third(other);
    rtCtxtSetMsgMemHeap(&third, &user);
    EXPECT_EQ(third.msgHeap, user.msgHeap);
    rtFreeContext(&user);
    rtFreeContext(&third);
    EXPECT_TRUE(ledger.live.empty());
    EXPECT_TRUE(other.live.empty());
}

// The type heap may be exchanged, and die, while an encode buffer is in use and grows.
TEST_F(HeapTest, EncodeBufferStaysOnTheMessageHeap) {
    Context maker(ledger);
    Context user(other);
    rtCtxtSetMemHeap(&user, &maker);
    ASSERT_EQ(xe_setp(&user, nullptr, 4), 0);
    for (const std::uint32_t size : {16388U, 32772U, 49158U, 73737U}) {
        ASSERT_EQ(xe_expandBuffer(&user, 1), 0);
        EXPECT_EQ(user.bufSize, size) << "by 16384 at least, else by half";
    }
    rtFreeContext(&maker);
    Context third(ledger);
    rtCtxtSetMemHeap(&user, &third);
    EXPECT_EQ(xe_null(&user, 1), 2);
    ASSERT_EQ(xe_expandBuffer(&user, 1), 0);
    other.fail_after = 0;
    EXPECT_EQ(xe_expandBuffer(&user, 1), rtStatusNoMemory);
    EXPECT_EQ(xe_expandBuffer(&user, 0x7FFFFFFF), rtStatusNoMemory);
    xe_free(&user);
    EXPECT_EQ(user.bufData, nullptr);
    xe_free(&user);
    EXPECT_EQ(xe_null(&user, 1), rtStatusBufferOverflow);
    rtFreeContext(&third);
    rtFreeContext(&user);
    EXPECT_TRUE(ledger.live.empty());
    EXPECT_TRUE(other.live.empty());
}

// What a context had for itself on a heap that it gives up.
TEST_F(HeapTest, AContextLetsGoOfWhatDiesWithItsHeap) {
    Context user(ledger);
    Context source(other);
    ASSERT_NE(rtSListAppend(&user.listA, &user), nullptr);
    rtCtxtSetMemHeap(&user, &source);
    EXPECT_EQ(user.listA.count, 0U);
    ASSERT_EQ(xe_setp(&user, nullptr, 0), 0);
    user.stream = static_cast<rtStream*>(rtMemHeapAllocZ(&user.msgHeap, sizeof(rtStream)));
    rtCtxtSetMsgMemHeap(&user, &source);
    EXPECT_TRUE(ledger.live.empty());
    EXPECT_EQ(user.stream, nullptr);
    EXPECT_EQ(xe_null(&user, 1), rtStatusBufferOverflow);
    EXPECT_EQ(xe_setp(&user, nullptr, 0), 0);
    rtFreeContext(&source);
    EXPECT_EQ(xe_null(&user, 1), 2);
    rtFreeContext(&user);
    EXPECT_TRUE(other.live.empty());
}

TEST_F(HeapTest, SavedBuffersLiveAsLongAsTheirHeap) {
    for (const std::uint16_t flag : {std::uint16_t{0}, ctxFlagSaveBuffer}) {
        Context ctxt(ledger);
        rtMemHeap* heap = ctxt.msgHeap;
        rtMemHeapAddRef(&heap);
        ASSERT_EQ(xe_setp(&ctxt, nullptr, 0), 0);
        rtCtxtSetFlag(&ctxt, flag);
        rtFreeContext(&ctxt);
        EXPECT_EQ(ledger.live.size(), flag == 0 ? 1U : 2U);
        rtMemHeapRelease(&heap);
    }
    EXPECT_TRUE(ledger.live.empty());
}

TEST(NestingTest, DepthAndBudgetOfOneDecode) {
    TestContext ctxt;
    ctxt.read(Bytes(100));
    const auto budget = [&ctxt] { return ctxt.typeHeap->budget; };
    {
        const DecodeNesting outer(&ctxt);
        EXPECT_FALSE(outer.refused());
        EXPECT_EQ(budget(), rtDecodeBaseBytes + 100 * rtDecodeBytesPerMessageByte);
        ctxt.read(Bytes(50000)); // a known open type inside doesn't get more
        const DecodeNesting inner(&ctxt);
        EXPECT_EQ(budget(), rtDecodeBaseBytes + 100 * rtDecodeBytesPerMessageByte);
        void* block = rtMemHeapAlloc(&ctxt.typeHeap, 200000);
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(rtMemHeapAlloc(&ctxt.typeHeap, 200000), nullptr);
        rtMemHeapFreePtr(&ctxt.typeHeap, block);
        EXPECT_EQ(rtMemHeapAlloc(&ctxt.typeHeap, 200000), nullptr) << "freed blocks count";
    }
    EXPECT_EQ(budget(), rtMemHeapUnlimited);
    EXPECT_EQ(ctxt.nestingDepth, 0);
    TestContext sharing;
    rtCtxtSetMemHeap(&sharing, &ctxt);
    {
        const DecodeNesting outer(&ctxt);
        const std::uint64_t before = budget();
        { const DecodeNesting other(&sharing); }
        EXPECT_EQ(budget(), before) << "a decode inside another's ends nothing";
    }
}

int descend(ASN1CTXT* ctxt) {
    const DecodeNesting nesting(ctxt);
    return nesting.refused() ? 0 : 1 + descend(ctxt);
}

TEST(NestingTest, EndlessRecursionStops) {
    TestContext ctxt;
    EXPECT_EQ(descend(&ctxt), rtMaxNestingDepth);
    EXPECT_EQ(descend(&ctxt), rtMaxNestingDepth) << "left as it was entered";
}

TEST(ErrorTest, TheFirstStatusStays) {
    ASN1ErrorRecord first{0};
    ASN1ErrorRecord second{-7};
    for (const int status : {0, -3, -5}) {
        EXPECT_EQ(rtErrSetData(&first, status), status);
    }
    EXPECT_EQ(rtErrCopyData(&first, &second), -3);
    EXPECT_EQ(second.status, -3);
    testing::internal::CaptureStdout();
    EXPECT_EQ(rtErrPrint(&first), 23);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "ASN.1 ERROR: Status -3\n");
    EXPECT_EQ(rtErrReset(&second) | second.status, 0);
    EXPECT_STREQ(rtErrGetText(), "");
    EXPECT_EQ(rtErrAddIntParm(&first, 1) + rtErrAddStrParm(&first, "pvalue->count"), 2);
}

} // namespace
