// An owning handle of a certificate store.
#pragma once

#include <memory>

#include "basalt20/surface/store.h"

namespace cli {

struct CloseStore {
    void operator()(void* store) const noexcept { CertCloseStore(store, 0); }
};

using StoreHandle = std::unique_ptr<void, CloseStore>;

} // namespace cli
