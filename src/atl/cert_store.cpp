// Opening, sharing and collecting of certificate stores.
#include "atl/cert_store.h"

#include <new>

#include "atl/platform_answer.h"
#include "base/atl_exception.h"

namespace ATL2 {

namespace {

constexpr HRESULT failed = Halcyon::hr(0x80004005u);
constexpr HRESULT outOfMemory = Halcyon::hr(0x8007000Eu);

void closeSlot(HCERTSTORE* slot, bool check) noexcept {
    if (slot && *slot) {
        CertCloseStore(*slot, check ? CERT_CLOSE_STORE_CHECK_FLAG : 0);
    }
    delete slot;
}

} // namespace

void CCertStoreDeleter::operator()(HCERTSTORE* slot) const noexcept {
    closeSlot(slot, check);
}

void CCertStoreNonCheckingDeleter::operator()(HCERTSTORE* slot) const noexcept {
    closeSlot(slot, check);
}

CCertStore::CCertStore() : slot_(new HCERTSTORE(nullptr), CCertStoreDeleter{false}) {}

void CCertStore::Open(LPCSTR provider, DWORD encoding, HCRYPTPROV prov, DWORD flags,
                      const void* parameter) {
    if (*slot_) {
        ATL::AtlThrowImpl(failed);
    }
    *slot_ = CertOpenStore(provider, encoding, prov, flags, parameter);
    if (!*slot_) {
        Halcyon::throw_last_error();
    }
}

HRESULT CCertStore::AddStoreToCollection(const CCertStore& child, unsigned updateFlags,
                                         unsigned priority) {
    if (!*slot_) {
        return failed;
    }
    if (!CertAddStoreToCollection(*slot_, child.get(), updateFlags, priority)) {
        return resultFromLastErrorOrFail();
    }
    try {
        children_.push_back(child);
    } catch (const std::bad_alloc&) {
        return outOfMemory;
    } catch (...) {
        return failed;
    }
    return 0;
}

HRESULT CCertStore::AttachWeak(void* handle) {
    if (*slot_) {
        return failed;
    }
    const HCERTSTORE duplicate = CertDuplicateStore(handle);
    if (!duplicate) {
        return resultFromLastErrorOrFail();
    }
    try {
        auto slot = std::make_unique<HCERTSTORE>(nullptr);
        std::shared_ptr<HCERTSTORE> shared(slot.release(), CCertStoreNonCheckingDeleter{false});
        *shared = duplicate;
        slot_ = std::move(shared);
    } catch (const std::bad_alloc&) {
        CertCloseStore(duplicate, 0);
        return outOfMemory;
    }
    return 0;
}

void CCertStore::Destroy() {
    *this = CCertStore();
}

} // namespace ATL2
