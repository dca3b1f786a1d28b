// Reading whole files and standard input.
#include "input_file.h"

#include <cerrno>
#include <cstring>
#include <memory>

#include <fcntl.h>
#include <unistd.h>

#include <fmt/format.h>

#include "progress.h"

namespace cli {

namespace {

using chronoseal::Bytes;
using chronoseal::Error;

// Small enough for the heap to keep it, so that the next file needs no new pages.
constexpr std::size_t kPiece = std::size_t{64} << 10;

[[noreturn]] void fail(const std::string& path, const std::string& reason) {
    throw Error(chronoseal::Category::unreachable, "file_unreadable", 0,
                fmt::format("can't read {}: {}", chronoseal::quote_foreign(path), reason),
                "check the file's name and mode");
}

// A file that is open for reading, or standard input, which is left open.
class Input {
public:
    explicit Input(const std::string& path)
        : path_(path), owned_(path != "-"),
          fd_(owned_ ? ::open(path.c_str(), O_RDONLY | O_CLOEXEC) : STDIN_FILENO) {
        if (fd_ < 0) {
            fail(path_, std::strerror(errno));
        }
    }
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;
    ~Input() {
        if (owned_) {
            ::close(fd_);
        }
    }

    // At most `size` bytes; 0 at the end.
    std::size_t read(std::byte* buffer, std::size_t size) const {
        for (;;) {
            const ssize_t count = ::read(fd_, buffer, size);
            if (count >= 0) {
                return static_cast<std::size_t>(count);
            }
            if (errno != EINTR) {
                fail(path_, std::strerror(errno));
            }
        }
    }

private:
    const std::string& path_;
    bool owned_;
    int fd_;
};

} // namespace

Bytes read_file(const std::string& path, std::size_t limit) {
    const Input input(path);
    Bytes content;
    const std::unique_ptr<std::byte[]> piece(new std::byte[kPiece]);
    while (const std::size_t count = input.read(piece.get(), kPiece)) {
        if (count > limit - content.size()) {
            fail(path, fmt::format("it is larger than {} bytes", limit));
        }
        content.insert(content.end(), piece.get(), piece.get() + count);
    }
    return content;
}

chronoseal::Digest digest_of(const std::string& path, const chronoseal::HashAlgorithm& algorithm,
                             bool show_progress, std::stop_token stop) {
    ByteProgress progress(chronoseal::quote_foreign(path), show_progress);
    if (path != "-") {
        return chronoseal::Digest::of_file(
            path, algorithm,
            [&](std::uint64_t done, std::uint64_t total) { progress.show(done, total); }, stop);
    }
    const Input input(path);
    chronoseal::Hasher hasher(algorithm);
    const std::unique_ptr<std::byte[]> piece(new std::byte[kPiece]);
    std::uint64_t done = 0;
    while (const std::size_t count = input.read(piece.get(), kPiece)) {
        hasher.update({piece.get(), count});
        done += count;
        progress.show(done, 0);
    }
    return hasher.finish();
}

} // namespace cli
