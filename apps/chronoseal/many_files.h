// Many files at once: found in folders, and hashed on all processors.
#pragma once

#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include <chronoseal/evidence.hpp>

namespace cli {

// The names as they are given, and of a folder all regular files below it, in the order of their
// bytes; links within folders aren't followed. Throws `file_unreadable` for a name that isn't there
// and a folder that can't be read.
std::vector<std::string> files_below(const std::vector<std::string>& names);

// What came of one file.
struct HashedFile {
    chronoseal::Bytes digest; // empty: it couldn't be read
    std::optional<chronoseal::Error> error;
};

// In the order of the names. A line of progress tells how far it is. After a stop the rest fails
// with `cancelled`.
std::vector<HashedFile> hash_files(const std::vector<std::string>& names,
                                   const chronoseal::HashAlgorithm& algorithm, bool show_progress,
                                   const std::stop_token& stop);

} // namespace cli
