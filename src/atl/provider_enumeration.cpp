// Enumeration of provider types and providers.
#include <chronoseal/atl/provider_enumeration.h>

#include <basalt/error_codes.h>
#include <basalt/last_error.h>
#include <basalt/provider.h>

namespace ATL2 {

namespace {

enum class Found { entry, end, nothing };

// Reads the entry number `index` into `name`. A name longer than the room gets twice what it asks
// for, once; `end` where the listing is over or asks for room that is there already.
template <class Buffer, class List>
Found read_entry(List list, DWORD index, Buffer& name, DWORD& capacity, unsigned& type) {
    for (bool retried = false;; retried = true) {
        char* const room = name.get();
        room[0] = '\0';
        DWORD size = capacity;
        DWORD found = 0;
        if (list(index, nullptr, 0, &found, room, &size)) {
            type = found;
            return Found::entry;
        }
        const auto error = GetLastError();
        if (error == ERROR_NO_MORE_ITEMS) {
            return Found::end;
        }
        if (error != ERROR_MORE_DATA || retried) {
            return Found::nothing;
        }
        if (size <= capacity || size > 0x7FFFFFFFu) {
            return Found::end;
        }
        name.Reallocate(2ul * size);
        capacity = 2 * size;
    }
}

} // namespace

bool CCryptProviderTypesEnumT<char>::Enumerate() {
    DWORD capacity = 128;
    name_.Reallocate(capacity);
    unsigned type = 0;
    for (DWORD index = 0;; ++index) {
        if (read_entry(&CryptEnumProviderTypesA, index, name_, capacity, type) != Found::entry) {
            return false;
        }
        if (!OnType(type, name_.get())) {
            return true;
        }
    }
}

bool CCryptProvidersEnumT<char>::Enumerate() {
    DWORD capacity = 256;
    name_.Reallocate(capacity);
    unsigned type = 0;
    // The bound ends the walk on a platform that fails for ever and never says that it is through.
    for (DWORD index = 0; index < 0x10000; ++index) {
        switch (read_entry(&CryptEnumProvidersA, index, name_, capacity, type)) {
        case Found::end:
            return false;
        case Found::entry:
            if (!OnProv(name_.get(), type)) {
                return true;
            }
            break;
        case Found::nothing:
            break;
        }
    }
    return false;
}

} // namespace ATL2
