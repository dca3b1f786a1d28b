// For the tests of this folder: makes the heaps' allocator fail on demand while it lives.
#pragma once

#include <chronoseal/asn1rt/heap.h>

class FailingAllocator {
public:
    // `successes` allocations go through, the rest fail.
    explicit FailingAllocator(int successes) {
        left_ = successes;
        g_malloc_func = allocate;
    }
    ~FailingAllocator() { g_malloc_func = rtDefaultMalloc; }
    FailingAllocator(const FailingAllocator&) = delete;
    FailingAllocator& operator=(const FailingAllocator&) = delete;

private:
    static void* allocate(void* arg, std::size_t size) {
        return left_-- > 0 ? rtDefaultMalloc(arg, size) : nullptr;
    }

    static inline int left_ = 0;
};
