// Forwarders to the C library's heap.
#include <chronoseal/base/heap.h>

#include <cstdlib>

void* HY_malloc(std::size_t size) {
    return std::malloc(size);
}

void* HY_calloc(std::size_t count, std::size_t size) {
    return std::calloc(count, size);
}

void* HY_realloc(void* block, std::size_t size) {
    return std::realloc(block, size);
}

void HY_free(void* block) {
    std::free(block);
}
