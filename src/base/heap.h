// The library's heap, for callers who free in one library what another one gave out. The functions
// forward to the C library and add nothing.
#pragma once

#include <cstddef>

#include <chronoseal/visibility.h>

extern "C" {
CHRONOSEAL_API void* HY_malloc(std::size_t size);
CHRONOSEAL_API void* HY_calloc(std::size_t count, std::size_t size);
CHRONOSEAL_API void* HY_realloc(void* block, std::size_t size);
CHRONOSEAL_API void HY_free(void* block);
}
