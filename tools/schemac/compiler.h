// All phases in one call.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "schemac/diagnostics.h"
#include "schemac/model.h"
#include "schemac/source.h"

namespace schemac {

/// The schema of the modules in these sources, which must outlive it; null, with the reasons in
/// `diagnostics`, when there are errors.
std::unique_ptr<model::Schema> compile(const std::vector<std::unique_ptr<Source>>& sources,
                                       Diagnostics& diagnostics);

} // namespace schemac
