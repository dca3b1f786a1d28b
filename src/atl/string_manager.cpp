// Allocation of string headers, and the one manager of the library.
#include <chronoseal/atl/string_manager.h>

#include <limits>
#include <new>

namespace ATL {

namespace {

// Never destroyed: strings of static objects may outlive any order of destruction.
union DefaultManager {
    struct Parts {
        constexpr Parts() noexcept : manager(&heap) {}
        CCRTHeap heap;
        CAtlStringMgr manager;
    };

    constexpr DefaultManager() noexcept : parts() {}
    ~DefaultManager() {}

    Parts parts;
};

constinit DefaultManager default_manager;

// The bytes of a header with room for `chars` characters, in whole eights; 0 if that is beyond any
// size.
unsigned long block_size(int chars, int char_size) {
    if (chars < 0 || char_size <= 0) {
        return 0;
    }
    const auto rounded = (static_cast<unsigned long>(chars) & ~7ul) + 8;
    unsigned long bytes = 0;
    constexpr auto kLimit = std::numeric_limits<unsigned long>::max() - sizeof(CStringData);
    if (__builtin_mul_overflow(rounded, static_cast<unsigned long>(char_size), &bytes) ||
        bytes > kLimit) {
        return 0;
    }
    return bytes + sizeof(CStringData);
}

} // namespace

constinit CAtlStringMgr& g_defaultStrMgr = default_manager.parts.manager;

constinit void* CFixedStringMgr::s_pLog = nullptr;

void CStringData::Release() noexcept {
    if (nRefs.fetch_sub(1) <= 1) {
        pStringMgr->Free(this);
    }
}

CStringData* CAtlStringMgr::Allocate(int chars, int char_size) {
    const auto size = block_size(chars, char_size);
    void* const block = size == 0 ? nullptr : memory_->Allocate(size);
    if (!block) {
        return nullptr;
    }
    auto* const data = new (block) CStringData;
    data->pStringMgr = this;
    data->nRefs = 1;
    data->nAllocLength = chars | 7;
    return data;
}

void CAtlStringMgr::Free(CStringData* data) {
    memory_->Free(data);
}

CStringData* CAtlStringMgr::Reallocate(CStringData* data, int chars, int char_size) {
    const auto size = block_size(chars, char_size);
    if (size == 0) {
        return nullptr;
    }
    auto* const moved = static_cast<CStringData*>(memory_->Reallocate(data, size));
    if (moved) {
        moved->nAllocLength = chars | 7;
    }
    return moved;
}

CStringData* CAtlStringMgr::GetNilString() {
    nil_.AddRef();
    return &nil_;
}

IAtlStringMgr* CAtlStringMgr::Clone() {
    return this;
}

} // namespace ATL
