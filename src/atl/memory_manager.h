// The source of memory behind the string manager and the temporary buffers.
#pragma once

#include <chronoseal/visibility.h>

namespace ATL {

// The order of the operations is part of the interface.
class CHRONOSEAL_API IAtlMemMgr {
public:
    // Null where there is no memory.
    virtual void* Allocate(unsigned long size) = 0;
    virtual void Free(void* block) = 0;
    // Null where there is no memory; `block` is untouched then.
    virtual void* Reallocate(void* block, unsigned long size) = 0;
    virtual unsigned long GetSize(void* block) = 0;
    virtual ~IAtlMemMgr() = default;
};

// The C library's heap.
class CHRONOSEAL_API CCRTHeap : public IAtlMemMgr {
public:
    void* Allocate(unsigned long size) override;
    void Free(void* block) override;
    void* Reallocate(void* block, unsigned long size) override;
    // Not supported: throws CAtlException 0x80004005.
    unsigned long GetSize(void* block) override;
};

} // namespace ATL
