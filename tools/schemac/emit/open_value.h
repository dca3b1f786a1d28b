// Pieces for records with an open value that is bound to an object set.
#pragma once

#include "schemac/emit/writer.h"
#include "schemac/model.h"

namespace schemac::emit {

/// `n = ...;` for the single open field of a family in its encoder: from the typed value if the set
/// knows the identifier and there is one, otherwise from the raw bytes.
void encode_open_field(Writer& writer, const model::Family& family);

/// Behind the raw copy: copies the typed value, or values.
void copy_open_values(Writer& writer, const model::Family& family);

/// In front of the raw free: frees the typed value, or values.
void free_open_values(Writer& writer, const model::Family& family);

} // namespace schemac::emit
