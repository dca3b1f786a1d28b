// Reading of files by descriptor.
#include <chronoseal/seal/file_bytes.h>

#include <cerrno>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chronoseal/seal/failure.h>

namespace chronoseal {

namespace {

// What the kernel reads ahead anyway.
constexpr std::uint64_t kReadAhead = std::uint64_t{128} << 10;

} // namespace

// Without waiting for somebody to open a pipe's other end: `read` does, and can be stopped.
FileBytes::FileBytes(const std::filesystem::path& path, std::stop_token stop)
    : name_(path.string()), stop_(std::move(stop)),
      descriptor_(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
    struct stat status {};
    if (descriptor_ < 0) {
        throw unreadable_file(name_, errno);
    }
    if (::fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode)) {
        size_ = static_cast<std::uint64_t>(status.st_size);
        may_be_silent_ = false;
        if (size_ > kReadAhead) {
            ::posix_fadvise(descriptor_, 0, 0, POSIX_FADV_SEQUENTIAL);
        }
    }
}

FileBytes::~FileBytes() {
    ::close(descriptor_);
}

std::size_t FileBytes::read(std::span<std::byte> room) const {
    for (;;) {
        await();
        const ssize_t count = ::read(descriptor_, room.data(), room.size());
        if (count >= 0) {
            return static_cast<std::size_t>(count);
        }
        if (errno != EINTR && errno != EAGAIN) {
            throw unreadable_file(name_, errno);
        }
    }
}

void FileBytes::await() const {
    constexpr int kLook = 100; // milliseconds
    pollfd one{descriptor_, POLLIN, 0};
    do {
        if (stop_.stop_requested()) {
            throw error_of_code(kCancelled, "read " + quote_foreign(name_));
        }
    } while (may_be_silent_ && ::poll(&one, 1, kLook) <= 0);
}

Bytes read_file(const std::filesystem::path& path, std::size_t limit) {
    const FileBytes file(path);
    Bytes content;
    const PieceRoom room(std::size_t{64} << 10, file.size());
    const auto piece = room.get();
    while (const std::size_t count = file.read(piece)) {
        if (count > limit - content.size()) {
            throw Error(Category::unreachable, "file_too_large", 0,
                        "can't read " + quote_foreign(path.string()) + ": it has more than " +
                            std::to_string(limit) + " bytes",
                        "check that it is the right file");
        }
        content.insert(content.end(), piece.begin(),
                       piece.begin() + static_cast<std::ptrdiff_t>(count));
    }
    return content;
}

} // namespace chronoseal
