// Reading of files by descriptor.
#include <chronoseal/seal/file_bytes.h>

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chronoseal/seal/failure.h>

namespace chronoseal {

FileBytes::FileBytes(const std::filesystem::path& path)
    : name_(path.string()), descriptor_(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    struct stat status {};
    if (descriptor_ < 0) {
        throw unreadable_file(name_, errno);
    }
    if (::fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode)) {
        size_ = static_cast<std::uint64_t>(status.st_size);
        ::posix_fadvise(descriptor_, 0, 0, POSIX_FADV_SEQUENTIAL);
    }
}

FileBytes::~FileBytes() {
    ::close(descriptor_);
}

std::size_t FileBytes::read(std::span<std::byte> room) const {
    for (;;) {
        const ssize_t count = ::read(descriptor_, room.data(), room.size());
        if (count >= 0) {
            return static_cast<std::size_t>(count);
        }
        if (errno != EINTR) {
            throw unreadable_file(name_, errno);
        }
    }
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
