// Bytes from and to files, with "-" for standard input and output. Failures are thrown as Failure
// with the status `unreachable`.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace cli {

using Bytes = std::vector<unsigned char>;

// The whole content, of at most `limit` bytes; more is refused, so that a wrong file can't fill the
// memory.
Bytes read_file(const std::string& path, std::size_t limit = std::size_t{64} << 20);

// Feeds the content to `sink` in pieces of at most 256 KiB, in constant memory. `total` for
// progress is 0 where the size isn't known.
using Sink = std::function<void(const unsigned char* data, std::size_t size)>;
void stream_file(const std::string& path, bool show_progress, const Sink& sink);

// Writes a file whole or not at all: it appears under its name only when it is complete.
void write_file(const std::string& path, const unsigned char* data, std::size_t size);

} // namespace cli
