// The list object and its iterators.
#include <chronoseal/asn1rt/list_control.h>

#include <array>
#include <cstring>
#include <functional>
#include <memory>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chronoseal/asn1rt/decode_buffer.h>
#include <chronoseal/asn1rt/status.h>
#include <chronoseal/asn1rt/test_allocator.h>

namespace {

using testing::ElementsAre;

class ListControlTest : public testing::Test {
protected:
    ListControlTest() : control(buffer, list) {
        for (int& value : n) {
            control.append(&value);
        }
    }

    std::vector<int> values() {
        std::vector<int> result;
        ASN1CSeqOfListIterator* it = control.iterator();
        while (void* data = it->next()) {
            result.push_back(*static_cast<int*>(data));
        }
        EXPECT_EQ(it->getState(), rtStatusMissingElement);
        return result;
    }

    ASN1BERDecodeBuffer buffer;
    ASN1TSeqOfList list{};
    ASN1CSeqOfList control;
    std::array<int, 3> n{1, 2, 3};
    int extra = 9;
};

int value_of(void* data) {
    return data == nullptr ? -1 : *static_cast<int*>(data);
}

// What the functions on lists do is in list_test.cpp: here, that each operation is the right one.
TEST_F(ListControlTest, ReadsAndChanges) {
    EXPECT_EQ(control.size(), 3);
    EXPECT_EQ(control.indexOf(&n[2]), 2);
    EXPECT_TRUE(control.getFirst() == &n[0] && control.getLast() == &n[2]);
    EXPECT_TRUE(control.get(1) == &n[1] && control.get(-1) == &n[0] && control.get(3) == nullptr);
    EXPECT_EQ(control.set(1, &extra), &n[1]);
    EXPECT_EQ(control.set(3, &extra), nullptr);
    EXPECT_TRUE(control.insert(4, &extra) == nullptr && control.insert(-1, &extra) == nullptr);
    control.insert(3, &n[1]);
    control.insertBefore(&n[2], list.head);
    control.insertAfter(&n[0], list.tail);
    EXPECT_THAT(values(), ElementsAre(3, 1, 9, 3, 2, 1));
    EXPECT_EQ(control.remove(0), &n[2]);
    EXPECT_EQ(control.remove(&extra), &extra);
    EXPECT_EQ(control.remove(&extra), nullptr);
    control.remove(list.tail);
    EXPECT_EQ(control.remove(17), nullptr);
    std::array<int, 2> more{4, 5};
    control.appendArray(more.data(), 2, sizeof(int));
    control.appendArrayCopy(more.data(), 2, sizeof(int));
    control.appendArrayCopy(more.data(), -1, sizeof(int));
    more = {6, 7};
    EXPECT_THAT(values(), ElementsAre(1, 3, 2, 6, 7, 4, 5));
    std::array<int, 7> mine{};
    EXPECT_EQ(control.toArray(mine.data(), sizeof(int), 7), mine.data());
    EXPECT_THAT(mine, ElementsAre(1, 3, 2, 6, 7, 4, 5));
    EXPECT_NE(control.toArray(mine.data(), sizeof(int), 6), mine.data());
    EXPECT_EQ(std::memcmp(control.toArray(sizeof(int)), mine.data(), sizeof mine), 0);
    control.clear();
    EXPECT_TRUE(control.isEmpty() && control.toArray(sizeof(int)) == nullptr);
    EXPECT_TRUE(control.getFirst() == nullptr && control.getLast() == nullptr);
}

TEST_F(ListControlTest, IteratesForwardBackwardAndFromAnElement) {
    ASN1CSeqOfListIterator* it = control.iteratorFromLast();
    EXPECT_EQ(it->next(), nullptr);
    EXPECT_EQ(value_of(it->prev()), 3);
    EXPECT_EQ(value_of(it->prev()), 2);
    EXPECT_EQ(value_of(it->next()), 2) << "a turn comes by the same element again";
    EXPECT_EQ(value_of(it->prev()), 2);
    EXPECT_EQ(value_of(it->prev()), 1);
    EXPECT_EQ(it->prev(), nullptr);
    EXPECT_EQ(it->getState(), rtStatusMissingElement);
    EXPECT_EQ(value_of(it->next()), 1) << "the front stays the front";
    EXPECT_EQ(it->getState(), rtStatusOk);
    EXPECT_EQ(value_of(control.iteratorFrom(&n[1])->next()), 2);
    EXPECT_EQ(control.iteratorFrom(&extra), nullptr);
}

TEST_F(ListControlTest, IteratorChangesTheListAndStaysFresh) {
    ASN1CSeqOfListIterator* it = control.iterator();
    EXPECT_EQ(it->remove(), rtStatusNoCurrentElement);
    EXPECT_EQ(it->set(&extra), rtStatusNoCurrentElement);
    it->next();
    EXPECT_EQ(it->remove(), 0);
    EXPECT_EQ(it->remove(), rtStatusNoCurrentElement) << "each element can be removed once";
    EXPECT_EQ(value_of(it->next()), 2);
    EXPECT_EQ(it->set(&extra), 0);
    EXPECT_EQ(it->insert(&n[0]), 0);
    EXPECT_EQ(value_of(it->next()), 3);
    EXPECT_EQ(it->insert(&n[1]), 0) << "at the end";
    EXPECT_THAT(values(), ElementsAre(9, 1, 3, 2));
    it = control.iteratorFromLast();
    it->prev();
    EXPECT_EQ(it->remove(), 0) << "the element that next would return";
    EXPECT_EQ(it->next(), nullptr);
    EXPECT_THAT(values(), ElementsAre(9, 1, 3));
}

TEST_F(ListControlTest, EveryChangeMakesIteratorsStale) {
    const std::function<void()> changes[] = {
        [&] { control.append(&extra); },
        [&] { control.insert(0, &extra); },
        [&] { control.insertBefore(&extra, nullptr); },
        [&] { control.insertAfter(&extra, nullptr); },
        [&] { control.set(0, &extra); },
        [&] { control.remove(0); },
        [&] { control.appendArray(n.data(), 3, sizeof(int)); },
        [&] { control.iterator()->insert(&extra); },
        [&] { control.clear(); },
        [&] { control.appendArrayCopy(n.data(), 3, sizeof(int)); },
        [&] { control.freeAll(); }};
    for (const auto& change : changes) {
        ASN1CSeqOfListIterator* it = control.iterator();
        it->next();
        change();
        EXPECT_EQ(it->next(), nullptr);
        EXPECT_EQ(it->getState(), rtStatusListChanged);
        EXPECT_EQ(it->prev(), nullptr);
        EXPECT_EQ(it->getState(), rtStatusListChanged);
        EXPECT_EQ(it->remove(), rtStatusListChanged);
        EXPECT_EQ(it->set(&extra), rtStatusListChanged);
        EXPECT_EQ(it->insert(&extra), rtStatusListChanged);
    }
}

TEST_F(ListControlTest, WithoutMemory) {
    ASN1CSeqOfListIterator* it = control.iterator();
    const FailingAllocator none(0);
    for (const rtDListNode* node :
         {control.append(&extra), control.insert(0, &extra), control.insertBefore(&extra, nullptr),
          control.insertAfter(&extra, nullptr)}) {
        EXPECT_EQ(node, nullptr);
    }
    EXPECT_EQ(it->insert(&extra), rtStatusNoMemory) << "it isn't stale, for nothing has changed";
    EXPECT_EQ(control.getCtxtPtr()->errInfo.status, 0) << "none of this is latched";
    const auto status_of = [](auto action) {
        try {
            action();
        } catch (const ASN1MessageBuffer::RTLError& error) {
            return error.status;
        }
        return 0;
    };
    EXPECT_EQ(status_of([&] { control.iterator(); }), rtStatusNoMemory);
    EXPECT_EQ(status_of([&] { control.toArray(sizeof(int)); }), rtStatusNoMemory);
    EXPECT_EQ(status_of([&] { control.appendArrayCopy(n.data(), 1, 4); }), rtStatusNoMemory);
    EXPECT_EQ(status_of([&] { ASN1CSeqOfList fresh(buffer); }), rtStatusNoMemory);
    EXPECT_EQ(control.size(), 3);
}

TEST(ListControl, OnAListOfItsOwnOrOfTheCallers) {
    ASN1BERDecodeBuffer buffer;
    ASN1CtxtPtr context = buffer.getContext();
    int value = 5;
    ASN1CSeqOfList on_buffer(buffer);
    ASN1CSeqOfList on_context(*context);
    on_buffer.append(&value);
    on_context.append(&value);
    EXPECT_EQ(on_buffer.size() + on_context.size(), 2);
    _Asn1RTDList list{};
    ASN1CSeqOfList(list).append(&value);
    EXPECT_EQ(list.count, 1U);
    list = {};
    ASN1CSeqOfList(*context, list).append(&value);
    EXPECT_EQ(list.tail->data, &value);
}

// Elements that a caller has put in needn't be of any heap: only a list that a copy was made into
// frees them when it goes.
TEST(ListControl, ACallersListIsNotBoundToTheContext) {
    ASN1BERDecodeBuffer buffer;
    ASN1TPDUSeqOfList list;
    int on_the_stack = 5;
    rtDListAppend(buffer.getCtxtPtr(), &list, &on_the_stack);
    const ASN1CSeqOfList on_private(list);
    const ASN1CSeqOfList on_buffer(buffer, list);
    const ASN1CSeqOfList on_context(*buffer.getContext(), list);
    EXPECT_EQ(list.context, nullptr);
    EXPECT_EQ(on_context.getFirst(), &on_the_stack);
}

} // namespace
