// Opening, sharing and collecting of certificate stores.
#include <basalt/error_codes.h>
#include <chronoseal/atl/cert_store.h>

#include <new>

#include <chronoseal/atl/platform_answer.h>
#include <chronoseal/base/atl_exception.h>

namespace ATL2 {

namespace {

constexpr HRESULT kFailed = Halcyon::hr(E_FAIL);
constexpr HRESULT kOutOfMemory = Halcyon::hr(E_OUTOFMEMORY);

void close_slot(HCERTSTORE* slot, bool check) noexcept {
    if (slot && *slot) {
        CertCloseStore(*slot, check ? CERT_CLOSE_STORE_CHECK_FLAG : 0);
    }
    delete slot;
}

} // namespace

void CCertStoreDeleter::operator()(HCERTSTORE* slot) const noexcept {
    close_slot(slot, check);
}

void CCertStoreNonCheckingDeleter::operator()(HCERTSTORE* slot) const noexcept {
    close_slot(slot, check);
}

CCertStore::CCertStore() : slot_(new HCERTSTORE(nullptr), CCertStoreDeleter{false}) {}

void CCertStore::Open(LPCSTR provider, DWORD encoding, HCRYPTPROV prov, DWORD flags,
                      const void* parameter) {
    if (*slot_) {
        ATL::AtlThrowImpl(kFailed);
    }
    *slot_ = CertOpenStore(provider, encoding, prov, flags, parameter);
    if (!*slot_) {
        Halcyon::throw_last_error();
    }
}

HRESULT CCertStore::AddStoreToCollection(const CCertStore& child, unsigned updateFlags,
                                         unsigned priority) {
    if (!*slot_) {
        return kFailed;
    }
    if (!CertAddStoreToCollection(*slot_, child.get(), updateFlags, priority)) {
        return result_from_last_error_or_fail();
    }
    try {
        children_.push_back(child);
    } catch (const std::bad_alloc&) {
        return kOutOfMemory;
    } catch (...) {
        return kFailed;
    }
    return 0;
}

HRESULT CCertStore::AttachWeak(void* handle) {
    if (*slot_) {
        return kFailed;
    }
    const HCERTSTORE duplicate = CertDuplicateStore(handle);
    if (!duplicate) {
        return result_from_last_error_or_fail();
    }
    try {
        auto slot = std::make_unique<HCERTSTORE>(nullptr);
        std::shared_ptr<HCERTSTORE> shared(slot.release(), CCertStoreNonCheckingDeleter{false});
        *shared = duplicate;
        slot_ = std::move(shared);
    } catch (const std::bad_alloc&) {
        CertCloseStore(duplicate, 0);
        return kOutOfMemory;
    }
    return 0;
}

void CCertStore::Destroy() {
    *this = CCertStore();
}

} // namespace ATL2
