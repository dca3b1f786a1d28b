// Files that are read whole, "-" for standard input.
#pragma once

#include <cstdint>
#include <stop_token>
#include <string>

#include <chronoseal/chronoseal.hpp>

namespace cli {

// What a stamp, a request or a signed message may have at most. More is refused, so that a wrong
// file can't fill the memory.
inline constexpr std::size_t kLargestMessage = std::size_t{64} << 20;

// What a stop ends with.
inline constexpr std::uint32_t kCancelled = 0x800704C7;

// A regular file, which is there.
bool is_file(const std::string& path);

// What a stamp or record is of whose name is this one and a suffix: the file of this name, or, of
// "a.2", the second stamp of a quorum, the file "a". Empty: neither is there.
std::string stamped_file(const std::string& stem);

// Throws `file_unreadable`; `cancelled` on a stop, however long a pipe keeps silent.
chronoseal::Bytes read_file(const std::string& path, std::size_t limit = kLargestMessage,
                            const std::stop_token& stop = {});

// The digest of a file or of standard input, with progress on a terminal if that is wanted.
chronoseal::Digest digest_of(const std::string& path, const chronoseal::HashAlgorithm& algorithm,
                             bool show_progress, std::stop_token stop = {});

// The digests of standard input by each of the algorithms.
std::vector<chronoseal::Digest>
digests_of_input(const std::vector<chronoseal::HashAlgorithm>& algorithms, bool show_progress,
                 const std::stop_token& stop);

} // namespace cli
