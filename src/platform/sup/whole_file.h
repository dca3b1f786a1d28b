// Files read and written whole, for the platform libraries. A file is written beside its place and
// renamed into it once it and its name are on the disk, so that a reader sees the old or the new
// one, never half of one, whatever happens to the writer. Each call gives 0 or the errno of what
// failed; only lack of memory throws.
#pragma once

#include <basalt/sup/descriptor.h>
#include <basalt/visibility.h>

#include <sys/stat.h>

#include <string>
#include <string_view>

namespace basalt {

// Opens for reading without waiting for the other end of a pipe; `status` is the open file's.
BASALT_API int open_file(const std::string& name, Descriptor& file, struct stat& status);

// Everything from where the descriptor stands; EFBIG for more than `bound` bytes.
BASALT_API int read_whole(int descriptor, std::size_t bound, std::string& contents);

// The new file can be read by its owner alone, unless `mode` says more. What is left of writers
// that were killed is removed from the folder meanwhile.
BASALT_API int replace_file(const std::string& name, std::string_view contents,
                            mode_t mode = S_IRUSR | S_IWUSR);

// Makes a removal or renaming in the folder last through a loss of power.
BASALT_API int sync_folder(const std::string& folder);

// Removes files that writers of replace_file have left in the folder and nobody has written to for
// an hour: a shorter while might belong to a writer that is at work. Fails silently.
BASALT_API void remove_left_files(const std::string& folder);

} // namespace basalt
