// Certificate stores: a handle in a shared slot, so that a copy of the wrapper sees the store that
// was opened after it was copied, and the list of the child stores that a collection keeps open.
#pragma once

#include <list>
#include <memory>

#include <basalt/store.h>
#include <basalt/types.h>

namespace ATL2 {

// The deleters of a slot close the handle with its last share; a null one isn't closed. `check`
// asks the platform to say whether contexts are left, which the library never does. The types tell
// how the slot was filled.
struct CCertStoreDeleter {
    bool check = false;
    void operator()(HCERTSTORE* slot) const noexcept;
};

struct CCertStoreNonCheckingDeleter {
    bool check = false;
    void operator()(HCERTSTORE* slot) const noexcept;
};

// Shares may be given up on different threads; all else belongs to one thread.
class CCertStore {
public:
    CCertStore();

    HCERTSTORE get() const noexcept { return *slot_; }

    // Opens a store into the empty slot. Throws CAtlException: 0x80004005 if the slot is in use,
    // else the last error's code.
    void Open(LPCSTR provider, DWORD encoding, HCRYPTPROV prov, DWORD flags, const void* parameter);
    // Puts `child` into this collection and keeps it open as long as this wrapper lives.
    HRESULT AddStoreToCollection(const CCertStore& child, unsigned updateFlags = 0,
                                 unsigned priority = 0);
    // Holds a duplicate of a handle that stays the caller's.
    HRESULT AttachWeak(void* handle);
    // Gives up the store and the children. It closes only with the last share.
    void Destroy();

private:
    std::shared_ptr<HCERTSTORE> slot_;
    std::list<CCertStore> children_;
};

} // namespace ATL2
