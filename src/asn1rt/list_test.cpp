// Both lists, with the address sanitizer as witness of what is freed.
#include <chronoseal/asn1rt/list.h>

#include <array>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chronoseal/asn1rt/status.h>
#include <chronoseal/asn1rt/test_allocator.h>
#include <chronoseal/asn1rt/test_context.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// The data in order, after a look at the links in both directions and at the count.
std::vector<int> values(const rtDList& list) {
    std::vector<int> result;
    const rtDListNode* last = nullptr;
    for (const rtDListNode* node = list.head; node != nullptr; node = node->next) {
        EXPECT_EQ(node->prev, last);
        last = node;
        result.push_back(*static_cast<int*>(node->data));
    }
    EXPECT_EQ(list.tail, last);
    EXPECT_EQ(list.count, result.size());
    return result;
}

class ListTest : public testing::Test {
protected:
    ListTest() { rtDListInit(&list); }

    // An element in one block with its node.
    int* node_with_data(int value) {
        auto* node = static_cast<rtDListNode*>(
            rtMemHeapAllocZ(&ctxt.typeHeap, sizeof(rtDListNode) + sizeof(int)));
        auto* data = reinterpret_cast<int*>(node + 1);
        *data = value;
        return data;
    }

    int* own_block(int value) {
        auto* data = static_cast<int*>(rtMemHeapAlloc(&ctxt.typeHeap, sizeof(int)));
        *data = value;
        return data;
    }

    TestContext ctxt;
    rtDList list;
    std::array<int, 6> n{10, 11, 12, 13, 14, 15};
};

TEST_F(ListTest, InsertsAtEveryPlace) {
    EXPECT_EQ(rtDListInsert(&ctxt, &list, 1, &n[0]), nullptr) << "behind the end";
    EXPECT_EQ(rtDListInsert(&ctxt, &list, -1, &n[0]), nullptr);
    rtDListInsert(&ctxt, &list, 0, &n[1]);
    rtDListInsert(&ctxt, &list, 0, &n[0]);
    rtDListInsert(&ctxt, &list, 2, &n[3]); // index equal to the count appends
    rtDListInsert(&ctxt, &list, 2, &n[2]);
    EXPECT_THAT(values(list), ElementsAre(10, 11, 12, 13));
    rtDListInsertBefore(&ctxt, &list, nullptr, &n[4]);
    rtDListInsertAfter(&ctxt, &list, nullptr, &n[5]);
    EXPECT_THAT(values(list), ElementsAre(15, 10, 11, 12, 13, 14));
    rtDListInsertBefore(&ctxt, &list, list.head, &n[0]);
    rtDListInsertAfter(&ctxt, &list, list.tail, &n[0]);
    EXPECT_THAT(values(list), ElementsAre(10, 15, 10, 11, 12, 13, 14, 10));
}

TEST_F(ListTest, FindsByIndexAndByPointerOnly) {
    rtDListNode* first = rtDListAppend(&ctxt, &list, &n[0]);
    rtDListNode* second = rtDListAppend(&ctxt, &list, &n[1]);
    EXPECT_EQ(rtDListFindByIndex(&list, -7), first);
    EXPECT_EQ(rtDListFindByIndex(&list, 1), second);
    EXPECT_EQ(rtDListFindByIndex(&list, 2), nullptr);
    EXPECT_EQ(rtDListFindByData(&list, &n[1]), second);
    EXPECT_EQ(rtDListFindIndexByData(&list, &n[1]), 1);
    const int same_value = n[1];
    EXPECT_EQ(rtDListFindByData(&list, &same_value), nullptr);
    EXPECT_EQ(rtDListFindIndexByData(&list, &same_value), -1);
}

TEST_F(ListTest, RemoveKeepsTheLinksWhole) {
    for (int& value : n) {
        rtDListAppend(&ctxt, &list, &value);
    }
    rtDListRemove(&list, rtDListFindByIndex(&list, 2));
    rtDListRemove(&list, list.head);
    rtDListRemove(&list, list.tail);
    EXPECT_THAT(values(list), ElementsAre(11, 13, 14));
    while (list.count > 0) {
        rtDListRemove(&list, list.head);
    }
    EXPECT_THAT(values(list), IsEmpty());
}

// The address sanitizer turns a block freed twice, or not at all, into a failure.
TEST_F(ListTest, FreesBothLayoutsInOneList) {
    rtDListAppendNode(&ctxt, &list, node_with_data(1));
    rtDListAppend(&ctxt, &list, own_block(2));
    rtDListAppendNode(&ctxt, &list, node_with_data(3));
    rtDListAppend(&ctxt, &list, nullptr);
    rtDListFreeAll(&ctxt, &list);
    EXPECT_THAT(values(list), IsEmpty());
    EXPECT_EQ(ctxt.typeHeap->blockList, nullptr);
    int* data = own_block(7);
    rtDListAppend(&ctxt, &list, data);
    rtDListFreeNodes(&ctxt, &list);
    EXPECT_EQ(*data, 7) << "the nodes alone";
    EXPECT_THAT(values(list), IsEmpty());
    rtDListInit(nullptr);
}

TEST_F(ListTest, ToArrayReplacesAnArrayThatIsTooSmall) {
    rtDListAppendArray(&ctxt, &list, n.data(), 3, sizeof(int));
    std::array<int, 3> mine{};
    void* array = mine.data();
    std::uint32_t capacity = 3;
    EXPECT_EQ(rtDListToArray(&ctxt, &list, &array, &capacity, sizeof(int)), 3);
    EXPECT_EQ(array, mine.data());
    EXPECT_THAT(mine, ElementsAre(10, 11, 12));
    EXPECT_EQ(rtDListToArray(&ctxt, &list, &array, nullptr, sizeof(int)), 3);
    capacity = 2;
    EXPECT_EQ(rtDListToArray(&ctxt, &list, &array, &capacity, sizeof(int)), 3);
    EXPECT_NE(array, mine.data());
    EXPECT_EQ(capacity, 3U);
    EXPECT_EQ(static_cast<int*>(array)[2], 12);
    capacity = 0;
    EXPECT_EQ(rtDListToArray(&ctxt, &list, &array, &capacity, 0xF0000000), rtStatusNoMemory);
    EXPECT_EQ(ctxt.errInfo.status, rtStatusNoMemory);
}

// A rest shorter than an element must not be read beyond the array's end.
TEST_F(ListTest, AppendArrayPointsAndAppendArrayCopyCopies) {
    rtDListAppendArray(&ctxt, &list, n.data(), 2, sizeof(int));
    EXPECT_EQ(rtDListAppendArrayCopy(&ctxt, &list, n.data(), 2 * sizeof(int), sizeof(int)), 0);
    n[0] = 99;
    EXPECT_THAT(values(list), ElementsAre(99, 11, 10, 11));
    rtDListInit(&list);
    const auto exact = bytes_of("01 02 03 04 05");
    EXPECT_EQ(rtDListAppendArrayCopy(&ctxt, &list, exact.data(), 5, 4), 0);
    EXPECT_EQ(rtDListAppendArrayCopy(&ctxt, &list, exact.data(), 5, 0), 0);
    ASSERT_EQ(list.count, 2U);
    const auto* rest = static_cast<unsigned char*>(list.tail->data);
    EXPECT_THAT(std::vector(rest, rest + 4), ElementsAre(5, 0, 0, 0));
}

TEST_F(ListTest, WithoutMemory) {
    {
        const FailingAllocator none(0);
        EXPECT_EQ(rtDListAppend(&ctxt, &list, &n[0]), nullptr);
        EXPECT_EQ(rtDListInsertAfter(&ctxt, &list, nullptr, &n[0]), nullptr);
        rtDListAppendArray(&ctxt, &list, n.data(), 2, sizeof(int));
        EXPECT_EQ(ctxt.errInfo.status, rtStatusOk) << "a missing node isn't latched";
        EXPECT_EQ(rtDListAppendArrayCopy(&ctxt, &list, n.data(), 8, 4), rtStatusNoMemory);
        EXPECT_EQ(ctxt.errInfo.status, rtStatusNoMemory);
        EXPECT_THAT(values(list), IsEmpty());
    }
    // The second element finds no memory for its block.
    const FailingAllocator two(2);
    EXPECT_EQ(rtDListAppendArrayCopy(&ctxt, &list, n.data(), 8, 4), rtStatusNoMemory);
    EXPECT_THAT(values(list), ElementsAre(10));
}

TEST_F(ListTest, SinglyLinkedOnHeapAndWithoutOwner) {
    for (ASN1CTXT* owner : {static_cast<ASN1CTXT*>(&ctxt), static_cast<ASN1CTXT*>(nullptr)}) {
        rtSList slist;
        rtSListInitEx(owner, &slist);
        for (int& value : n) {
            EXPECT_EQ(rtSListAppend(&slist, &value)->data, &value);
        }
        EXPECT_EQ(slist.count, n.size());
        EXPECT_EQ(slist.head->data, &n.front());
        EXPECT_EQ(slist.tail->data, &n.back());
        EXPECT_EQ(slist.tail->next, nullptr);
        rtSListFree(&slist);
        EXPECT_EQ(slist.head, nullptr);
        EXPECT_EQ(slist.owner, nullptr) << "the owner is cleared too";
    }
    EXPECT_EQ(ctxt.typeHeap->blockList, nullptr);
    rtSList slist;
    rtSListInitEx(&ctxt, &slist);
    const FailingAllocator none(0);
    EXPECT_EQ(rtSListAppend(&slist, &n[0]), nullptr);
    EXPECT_EQ(slist.count, 0U);
}

} // namespace
