// The header that stands before the characters of every string, and the managers that allocate it.
// Only the reference count is touched by several threads, and it is atomic.
#pragma once

#include <atomic>
#include <cstdint>

#include <chronoseal/atl/memory_manager.h>
#include <chronoseal/visibility.h>

namespace ATL {

class IAtlStringMgr;

// The characters follow the header directly. The one at index nDataLength is zero.
struct CStringData {
    IAtlStringMgr* pStringMgr = nullptr; // allocated it, and is to free it
    std::int32_t nDataLength = 0;        // characters, without the terminator
    std::int32_t nAllocLength = 0;       // room in characters, without the terminator
    // 2 or more: shared; 1: owned by one string; negative: owned and locked in its place.
    std::atomic<std::int32_t> nRefs{0};

    void* data() noexcept { return this + 1; }
    void AddRef() noexcept { ++nRefs; }
    // Gives up one share; the last one frees the header.
    void Release() noexcept;
    bool IsShared() const noexcept { return nRefs > 1; }
    bool IsLocked() const noexcept { return nRefs < 0; }
};

// The order of the operations is part of the interface.
class IAtlStringMgr {
public:
    // A header with one reference and room for `chars` characters, or null where there is no
    // memory.
    virtual CStringData* Allocate(int chars, int charSize) = 0;
    virtual void Free(CStringData* data) = 0;
    // Null where there is no memory; `data` is untouched then.
    virtual CStringData* Reallocate(CStringData* data, int chars, int charSize) = 0;
    // The shared empty string, with one more reference.
    virtual CStringData* GetNilString() = 0;
    virtual IAtlStringMgr* Clone() = 0;
    virtual ~IAtlStringMgr() = default;
};

// Allocates in steps of eight characters, the terminator taking the last one.
class CAtlStringMgr : public IAtlStringMgr {
public:
    // `memory` has to outlive the manager.
    constexpr explicit CAtlStringMgr(IAtlMemMgr* memory) noexcept
        : memory_(memory), nil_{this, 0, 0, 2} {} // two shares: the nil string is never freed
    CAtlStringMgr(const CAtlStringMgr&) = delete;
    CAtlStringMgr& operator=(const CAtlStringMgr&) = delete;

    CStringData* Allocate(int chars, int charSize) override;
    void Free(CStringData* data) override;
    CStringData* Reallocate(CStringData* data, int chars, int charSize) override;
    CStringData* GetNilString() override;
    IAtlStringMgr* Clone() override;

private:
    IAtlMemMgr* memory_;
    CStringData nil_;
    [[maybe_unused]] wchar_t nil_terminator_[2] = {}; // follows the header, as characters do
};

// The manager of every string in the library. It is ready before any code runs and is never
// destroyed.
extern CAtlStringMgr& g_defaultStrMgr;

// Kept for its symbol; nothing reads it.
class CHRONOSEAL_API CFixedStringMgr {
public:
    static void* s_pLog;
};

} // namespace ATL
