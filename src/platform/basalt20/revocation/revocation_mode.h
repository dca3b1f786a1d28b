// How revocation is judged in this process: what BasaltSetRevocationMode said, or else the
// configuration key \config\basalt\Revocation: "require" (also when absent), "available" or "off".
// A value that isn't one of these counts as "require", so that a slip closes and doesn't open.
#pragma once

#include <basalt/chain.h>

#include <optional>

namespace basalt {

enum class RevocationMode { require, available, off };

RevocationMode revocation_mode();

// What a BASALT_REVOCATION number says: nothing for BASALT_REVOCATION_CONFIGURED. Fault
// E_INVALIDARG for a number that is no mode.
std::optional<RevocationMode> mode_of(DWORD number);

// Fault E_INVALIDARG for a number that is no mode.
void set_revocation_mode(DWORD mode);

} // namespace basalt
