#include "byte_files.h"

#include <cerrno>
#include <cstring>
#include <memory>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fmt/format.h>

#include "failure.h"
#include "progress.h"

namespace cli {

namespace {

constexpr std::size_t kPiece = std::size_t{256} << 10;

[[noreturn]] void fail(const char* doing, const std::string& path) {
    const std::string reason = std::strerror(errno);
    throw Failure(ExitStatus::unreachable, fmt::format("can't {} {}: {}", doing, path, reason));
}

// An open file, or standard input or output, which is left open.
class Descriptor {
public:
    Descriptor(int fd, bool owned) noexcept : fd_(fd), owned_(owned) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (owned_ && fd_ >= 0) {
            ::close(fd_);
        }
    }
    int get() const noexcept { return fd_; }
    // Closes before the end of its life, to see whether the data reached the file.
    bool close() noexcept {
        owned_ = false;
        return ::close(fd_) == 0;
    }

private:
    int fd_;
    bool owned_;
};

std::unique_ptr<Descriptor> open_input(const std::string& path) {
    if (path == "-") {
        return std::make_unique<Descriptor>(STDIN_FILENO, false);
    }
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        fail("open", path);
    }
    return std::make_unique<Descriptor>(fd, true);
}

std::size_t read_piece(int fd, unsigned char* buffer, std::size_t size, const std::string& path) {
    for (;;) {
        const ssize_t count = ::read(fd, buffer, size);
        if (count >= 0) {
            return static_cast<std::size_t>(count);
        }
        if (errno != EINTR) {
            fail("read", path);
        }
    }
}

void write_all(int fd, const unsigned char* data, std::size_t size, const std::string& path) {
    while (size > 0) {
        const ssize_t count = ::write(fd, data, size);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            fail("write", path);
        }
        data += count;
        size -= static_cast<std::size_t>(count);
    }
}

std::uint64_t known_size(int fd) {
    struct stat info {};
    return ::fstat(fd, &info) == 0 && S_ISREG(info.st_mode)
               ? static_cast<std::uint64_t>(info.st_size)
               : 0;
}

void write_beside(const std::string& path, const unsigned char* data, std::size_t size) {
    std::string temporary = path + ".XXXXXX";
    const int fd = ::mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0) {
        fail("write", path);
    }
    Descriptor file(fd, true);
    try {
        const mode_t mask = ::umask(0);
        ::umask(mask);
        ::fchmod(fd, 0666 & ~mask);
        write_all(fd, data, size, path);
        if (!file.close() || ::rename(temporary.c_str(), path.c_str()) != 0) {
            fail("write", path);
        }
    } catch (...) {
        ::unlink(temporary.c_str());
        throw;
    }
}

bool is_regular_or_absent(const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) != 0 || S_ISREG(info.st_mode);
}

} // namespace

Bytes read_file(const std::string& path, std::size_t limit) {
    const auto file = open_input(path);
    Bytes content;
    Bytes piece(kPiece);
    while (const std::size_t count = read_piece(file->get(), piece.data(), piece.size(), path)) {
        if (count > limit - content.size()) {
            throw Failure(ExitStatus::unreachable,
                          fmt::format("can't read {}: it is larger than {} bytes", path, limit),
                          "check that it is the right file");
        }
        content.insert(content.end(), piece.begin(),
                       piece.begin() + static_cast<std::ptrdiff_t>(count));
    }
    return content;
}

void stream_file(const std::string& path, bool show_progress, const Sink& sink) {
    const auto file = open_input(path);
    ::posix_fadvise(file->get(), 0, 0, POSIX_FADV_SEQUENTIAL);
    Progress progress(path, known_size(file->get()), show_progress);
    Bytes piece(kPiece);
    while (const std::size_t count = read_piece(file->get(), piece.data(), piece.size(), path)) {
        sink(piece.data(), count);
        progress.advance(count);
    }
}

void write_file(const std::string& path, const unsigned char* data, std::size_t size) {
    if (path == "-") {
        write_all(STDOUT_FILENO, data, size, "standard output");
        return;
    }
    if (is_regular_or_absent(path)) {
        write_beside(path, data, size);
        return;
    }
    const int fd = ::open(path.c_str(), O_WRONLY | O_CLOEXEC); // a device or a pipe
    if (fd < 0) {
        fail("open", path);
    }
    const Descriptor device(fd, true);
    write_all(fd, data, size, path);
}

} // namespace cli
