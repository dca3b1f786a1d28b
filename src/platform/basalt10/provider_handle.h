// The handle of a provider's context (provider.h), for headers that only hold one.
#pragma once

#include <cstdint>

using HCRYPTPROV = std::uintptr_t;
