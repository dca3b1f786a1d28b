// Reading of files: in pieces, or whole within a bound.
#pragma once

#include <filesystem>

#include <chronoseal/chronoseal.hpp>

namespace chronoseal {

inline constexpr std::uint32_t kCancelled = 0x800704C7;
// A stamp, a certificate or a list is never larger; a wrong file must not fill the memory.
inline constexpr std::size_t kMostBytes = std::size_t{64} << 20;

// An open file. Throws `file_unreadable`.
class FileBytes {
public:
    explicit FileBytes(const std::filesystem::path& path);
    ~FileBytes();
    FileBytes(const FileBytes&) = delete;
    FileBytes& operator=(const FileBytes&) = delete;

    std::uint64_t size() const noexcept { return size_; } // 0: not known
    // The next bytes; 0 at the end.
    std::size_t read(Bytes& room) const;

private:
    std::string name_;
    int descriptor_;
    std::uint64_t size_ = 0;
};

Bytes read_file(const std::filesystem::path& path, std::size_t limit = kMostBytes);

} // namespace chronoseal
