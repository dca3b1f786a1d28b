// Settles the tags of all families and uses: which stand on the wire, and whether the own tag of
// what lies within is among them.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "schemac/diagnostics.h"
#include "schemac/model.h"

namespace schemac {

void settle_tags(model::Schema& schema, Diagnostics& diagnostics);

/// The packed tag that a value begins with; nothing for an untagged CHOICE or an open type. Valid
/// for settled tags.
std::optional<std::uint32_t> outer_tag(const model::Use& use);
std::optional<std::uint32_t> outer_tag(const model::Family& family);

/// All packed tags that a value can begin with; empty when it can begin with any, as an open type
/// does.
std::vector<std::uint32_t> first_tags(const model::Use& use);

} // namespace schemac
