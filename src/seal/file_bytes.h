// Reading of files: in pieces, or whole within a bound.
#pragma once

#include <filesystem>
#include <memory>
#include <span>
#include <stop_token>

#include <chronoseal/chronoseal.hpp>

namespace chronoseal {

inline constexpr std::uint32_t kCancelled = 0x800704C7;
// A stamp, a certificate or a list is never larger; a wrong file must not fill the memory.
inline constexpr std::size_t kMostBytes = std::size_t{64} << 20;

// Room for the pieces of a file, which nobody fills before they are read: `most` bytes, and no more
// than a file of this size needs to be read and found to be at its end.
class PieceRoom {
public:
    PieceRoom(std::size_t most, std::uint64_t file_size)
        : size_(file_size != 0 && file_size < most ? static_cast<std::size_t>(file_size) + 1
                                                   : most),
          bytes_(new std::byte[size_]) {}
    std::span<std::byte> get() const noexcept { return {bytes_.get(), size_}; }

private:
    std::size_t size_;
    std::unique_ptr<std::byte[]> bytes_;
};

// An open file, or a pipe by its name. Throws `file_unreadable`.
class FileBytes {
public:
    explicit FileBytes(const std::filesystem::path& path, std::stop_token stop = {});
    ~FileBytes();
    FileBytes(const FileBytes&) = delete;
    FileBytes& operator=(const FileBytes&) = delete;

    std::uint64_t size() const noexcept { return size_; } // 0: not known
    // The next bytes; 0 at the end. Throws `cancelled` on a stop, be it while a pipe is silent.
    std::size_t read(std::span<std::byte> room) const;

private:
    void await() const;

    std::string name_;
    std::stop_token stop_;
    int descriptor_;
    std::uint64_t size_ = 0;
    bool may_be_silent_ = true;
};

Bytes read_file(const std::filesystem::path& path, std::size_t limit = kMostBytes);

} // namespace chronoseal
