// From syntax to model: names are looked up, representations chosen, nested types named, tags
// settled, sets filled and definitions put in order. All errors of all modules are reported; the
// schema is of use only when there are none.
#pragma once

#include <memory>
#include <vector>

#include "schemac/diagnostics.h"
#include "schemac/model.h"
#include "schemac/syntax.h"

namespace schemac {

std::unique_ptr<model::Schema> resolve(const std::vector<syntax::Module>& modules,
                                       Diagnostics& diagnostics);

} // namespace schemac
