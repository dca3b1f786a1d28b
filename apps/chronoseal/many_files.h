// Many files at once: found in folders, and hashed on all processors.
#pragma once

#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include <chronoseal/evidence.hpp>

namespace cli {

// Something in a folder that isn't hashed.
struct LeftOut {
    std::string name;
    bool is_link = false; // else a pipe, a socket or a device
};

struct FilesBelow {
    std::vector<std::string> files;
    std::vector<LeftOut> left_out;
};

// The names as they are given, and of a folder all regular files below it, in the order of their
// bytes; a link that is named is followed, those within folders aren't. Throws `file_unreadable`
// for a name that isn't there and a folder that can't be read.
FilesBelow files_below(const std::vector<std::string>& names);

// Of many files one that never ends, or says nothing, would hold up all the others: throws
// `not_a_file` for a pipe or a device.
void refuse_pipe(const std::string& file);

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
