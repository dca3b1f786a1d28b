// A buffer that lies inline up to N elements' bytes and moves to a memory manager beyond.
#pragma once

#include <cstring>
#include <type_traits>

#include <chronoseal/atl/memory_manager.h>
#include <chronoseal/base/atl_exception.h>

namespace ATL2 {

// Owns its heap block. One thread at a time; not copied.
template <class T, unsigned long N>
class CTempBufferEx {
    static_assert(std::is_trivial_v<T> && sizeof(T) == 1);

public:
    explicit CTempBufferEx(ATL::IAtlMemMgr* manager = &m_crtHeap) noexcept : manager_(manager) {}
    CTempBufferEx(const CTempBufferEx&) = delete;
    CTempBufferEx& operator=(const CTempBufferEx&) = delete;
    ~CTempBufferEx() {
        if (current_ && current_ != inline_) {
            manager_->Free(current_);
        }
    }

    T* get() const noexcept { return current_; }

    // Makes room for `size` bytes and keeps the content, but for a return from the heap: the
    // pointer becomes the inline array then, and the block stays with the memory manager. Throws
    // CAtlException 0x8007000E out of memory; the buffer is as it was then.
    T* Reallocate(unsigned long size) {
        if (size <= N) {
            return current_ = inline_;
        }
        const bool on_heap = current_ && current_ != inline_;
        void* const block =
            on_heap ? manager_->Reallocate(current_, size) : manager_->Allocate(size);
        if (!block) {
            ATL::AtlThrowImpl(Halcyon::hr(Halcyon::kMemoryExhausted));
        }
        if (current_ == inline_) {
            std::memcpy(block, inline_, N);
        }
        return current_ = static_cast<T*>(block);
    }

    static inline ATL::CCRTHeap m_crtHeap;

private:
    T* current_ = nullptr;
    T inline_[N] = {};
    ATL::IAtlMemMgr* manager_;
};

} // namespace ATL2
