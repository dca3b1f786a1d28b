// Local blocks are blocks of the C library's heap.
#include <basalt/local_block.h>

#include <basalt/error_codes.h>
#include <basalt/last_error.h>

#include <cstdlib>

HLOCAL LocalAlloc(UINT flags, SIZE_T size) noexcept {
    const SIZE_T room =
        size == 0 ? 1 : size; // malloc(0) may give null, which would read as failure
    void* block = nullptr;
    if (room <= PTRDIFF_MAX) { // no object can be larger
        block = (flags & LMEM_ZEROINIT) != 0 ? std::calloc(1, room) : std::malloc(room);
    }
    if (block == nullptr) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    }
    return block;
}

HLOCAL LocalFree(HLOCAL block) noexcept {
    std::free(block);
    return nullptr;
}
