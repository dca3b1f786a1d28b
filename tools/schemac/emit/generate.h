// The files of a schema. Their number and names depend on the modules' file names only.
#pragma once

#include <string>
#include <vector>

#include "schemac/model.h"

namespace schemac {

struct GeneratedFile {
    std::string name;
    std::string text;
};

/// For each module `<stem>.h`, `<stem>.cpp`, `<stem>_encode.cpp`, `<stem>_decode.cpp`,
/// `<stem>_copy.cpp` and
/// `<stem>_sets.cpp`.
std::vector<GeneratedFile> generate(const model::Schema& schema);

/// The table of all types for tests: `type_table.h`, `type_table.cpp` and for each module
/// `type_table_<stem>.cpp`.
std::vector<GeneratedFile> generate_table(const model::Schema& schema);

} // namespace schemac
