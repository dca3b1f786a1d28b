// What follows from the whole schema once it is resolved: who owns memory, in which order records
// can be defined, which module includes which.
#pragma once

#include "schemac/diagnostics.h"
#include "schemac/model.h"

namespace schemac {

/// Sets `owns_memory` of all families and fills the lists of all modules. Reports records that
/// contain themselves and modules whose records contain each other.
void analyse(model::Schema& schema, Diagnostics& diagnostics);

} // namespace schemac
