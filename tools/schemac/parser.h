// Reads a module's tokens into syntax. An error in one assignment is reported and the reading goes
// on with the next one, which has to begin in column 1. Nesting is bounded, so any input ends in a
// module or in diagnostics.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "schemac/diagnostics.h"
#include "schemac/syntax.h"

namespace schemac {

/// The module of a source. What could not be read is missing from it.
syntax::Module parse_module(const Source& source, Diagnostics& diagnostics);

/// One setting of an object's definition: `field` without `&`, and either a type or the tokens of a
/// value.
struct ObjectSetting {
    std::string field;
    syntax::TypePtr type;
    syntax::TokenRange value;
};

/// Reads the body of an object, braces included, by its class's syntax. Empty after an error.
std::vector<ObjectSetting> parse_object(const syntax::Module& module, syntax::TokenRange body,
                                        const syntax::Class& object_class,
                                        Diagnostics& diagnostics);

} // namespace schemac
