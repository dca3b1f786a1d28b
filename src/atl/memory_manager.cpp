// The C library's heap as a memory manager.
#include <basalt/error_codes.h>
#include <chronoseal/atl/memory_manager.h>

#include <cstdlib>

#include <chronoseal/base/atl_exception.h>

namespace ATL {

void* CCRTHeap::Allocate(unsigned long size) {
    return std::malloc(size);
}

void CCRTHeap::Free(void* block) {
    std::free(block);
}

void* CCRTHeap::Reallocate(void* block, unsigned long size) {
    return std::realloc(block, size);
}

unsigned long CCRTHeap::GetSize(void* /*block*/) {
    AtlThrowImpl(Halcyon::hr(E_FAIL));
}

} // namespace ATL
