// For one source of a program: its operator new, which fails where a test wants it.
#pragma once

#include <cstdlib>
#include <new>

// How many allocations of this thread succeed before one fails; below 0: all.
inline thread_local long allocations_left = -1;

void* operator new(std::size_t size) {
    void* const block = allocations_left == 0 ? nullptr : std::malloc(size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    allocations_left -= allocations_left > 0 ? 1 : 0;
    return block;
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocations_left == 0 ? nullptr : std::malloc(size);
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}
