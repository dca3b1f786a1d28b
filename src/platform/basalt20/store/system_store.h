// The named stores of the user and of the machine: a collection of folders, and for `Root` the
// system's trusted roots.
#pragma once

#include <basalt/store/store_object.h>

#include <string>

namespace basalt {

/// Opens the store by the location and the flags of CertOpenStore. Faults as CertOpenStore tells.
std::shared_ptr<StoreObject> open_system_store(const std::string& name, DWORD flags);

} // namespace basalt
