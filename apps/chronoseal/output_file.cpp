// Writing whole files: into a nameless file of the same folder, synced, then linked or renamed to
// its place, so that neither kill -9 nor a full disk leaves half of one. Whoever is killed at the
// moment between link and rename leaves a file under a name that the next run finds and takes away.
#include "output_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <optional>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <fmt/format.h>

#include "exit_status.h"
#include "output.h"

namespace cli {

namespace {

using chronoseal::Category;
using chronoseal::Error;

[[noreturn]] void refuse(const char* word, const std::string& path, const std::string& reason,
                         const std::string& advice) {
    throw Error(Category::unreachable, word, 0,
                fmt::format("can't write {}: {}", chronoseal::quote_foreign(path), reason), advice);
}

[[noreturn]] void refuse_existing(const std::string& path, const std::string& another) {
    refuse("output_exists", path, "it is there already", another + ", or overwrite it by --force");
}

[[noreturn]] void fail(const std::string& path, int number) {
    if (number == EEXIST) { // since it was looked for
        refuse_existing(path, "take it away");
    }
    refuse("output_unwritable", path, std::strerror(number),
           "check the folder, its mode and its room");
}

class Descriptor {
public:
    explicit Descriptor(int fd) : fd_(fd) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (fd_ >= 0) {
            ::close(fd_);
        }
    }
    int get() const { return fd_; }

private:
    int fd_;
};

std::string folder_of(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

std::optional<struct stat> look_at(const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 ? std::optional(info) : std::nullopt;
}

std::optional<struct stat> look_at_input() {
    struct stat info {};
    return ::fstat(STDIN_FILENO, &info) == 0 ? std::optional(info) : std::nullopt;
}

// umask can only be read by setting it, which other threads would see: before there are any.
const mode_t kCreationMode = [] {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return static_cast<mode_t>(0666) & ~mask;
}();

void write_all(int fd, chronoseal::ByteView content, const std::string& path) {
    while (!content.empty()) {
        const ssize_t count = ::write(fd, content.data(), content.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            fail(path, errno);
        }
        content = content.subspan(static_cast<std::size_t>(count));
    }
}

// A name beside `path` for the moment between a file's completion and its rename: the same for
// every run, of the same length for every file, and nobody else's.
std::string name_beside(const std::string& path) {
    constexpr std::uint64_t kPrime = 0x100000001B3; // FNV-1a
    std::uint64_t hash = 0xCBF29CE484222325;
    const std::size_t slash = path.rfind('/');
    for (const char c : path.substr(slash + 1)) {
        hash = (hash ^ static_cast<unsigned char>(c)) * kPrime;
    }
    return fmt::format("{}.chronoseal-{:016x}.part", path.substr(0, slash + 1), hash);
}

// Takes away what a killed run left there. Whoever is alive holds a lock on his file; others' files
// and what is no file stay. False if something is there still.
bool take_left_away(const std::string& beside) {
    const Descriptor left(::open(beside.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (left.get() < 0) {
        return errno == ENOENT;
    }
    struct stat opened {
    }, named{};
    if (::fstat(left.get(), &opened) != 0 || !S_ISREG(opened.st_mode) ||
        opened.st_uid != ::geteuid() || ::flock(left.get(), LOCK_EX | LOCK_NB) != 0) {
        return false;
    }
    // While it was opened its writer may have ended well, and another put his own there.
    return ::lstat(beside.c_str(), &named) == 0 && named.st_ino == opened.st_ino &&
           named.st_dev == opened.st_dev && ::unlink(beside.c_str()) == 0;
}

// Tries until `attempt` finds the name free; somebody who writes to the same place is done soon.
template <class Attempt>
void with_name_beside(const std::string& beside, Attempt&& attempt) {
    constexpr int kTries = 200;
    constexpr useconds_t kPause = 10000;
    for (int i = 0; i < kTries; ++i) {
        if (attempt()) {
            return;
        }
        if (!take_left_away(beside)) {
            ::usleep(kPause);
        }
    }
    refuse("output_unwritable", beside, "another process holds it, or it is somebody else's",
           "see what it is, and take it away");
}

// Gives the nameless file `fd` a name. False if there is one already.
bool link_as(int fd, const std::string& path) {
    const std::string self = fmt::format("/proc/self/fd/{}", fd);
    if (::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0) {
        return true;
    }
    if (errno != EEXIST) {
        fail(path, errno);
    }
    return false;
}

// A stamp that is asked for and can't be written is lost. Where a file system doesn't tell its
// room, it is found out by writing.
void refuse_without_room(const std::string& path, const std::string& folder) {
    constexpr std::uint64_t kLeast = std::uint64_t{64} << 10;
    struct statvfs info {};
    if (::statvfs(folder.c_str(), &info) != 0 || info.f_blocks == 0 || info.f_frsize == 0) {
        return;
    }
    const std::uint64_t blocks = ::geteuid() == 0 ? info.f_bfree : info.f_bavail;
    if (blocks < (kLeast + info.f_frsize - 1) / info.f_frsize ||
        (info.f_files != 0 && info.f_ffree == 0)) {
        fail(path, ENOSPC);
    }
}

void sync_folder(const std::string& folder) {
    const Descriptor handle(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (handle.get() >= 0) {
        ::fsync(handle.get());
    }
}

void fill(int fd, chronoseal::ByteView content, mode_t mode, const std::string& path) {
    if (::fchmod(fd, mode) != 0) {
        fail(path, errno);
    }
    write_all(fd, content, path);
    if (::fsync(fd) != 0) {
        fail(path, errno);
    }
}

// A file system without nameless files: one with a name that is taken away if anything fails.
void write_named(const std::string& path, chronoseal::ByteView content, mode_t mode,
                 Existing existing) {
    const std::string temporary = name_beside(path);
    int opened = -1;
    with_name_beside(temporary, [&] {
        opened = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (opened < 0 && errno != EEXIST) {
            fail(path, errno);
        }
        if (opened >= 0 && ::flock(opened, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
            ::close(opened); // somebody has taken it for left behind, and takes it away
            opened = -1;
        }
        return opened >= 0;
    });
    const Descriptor file(opened);
    try {
        fill(file.get(), content, mode, path);
        const unsigned flags = existing == Existing::refuse ? RENAME_NOREPLACE : 0U;
        int number = 0;
        if (::renameat2(AT_FDCWD, temporary.c_str(), AT_FDCWD, path.c_str(), flags) != 0) {
            number = errno;
        }
        if ((number == EINVAL || number == ENOSYS) && existing == Existing::refuse) {
            // Not by this file system: by a second name, which no file system overwrites.
            number = ::link(temporary.c_str(), path.c_str()) == 0 ? 0 : errno;
            ::unlink(temporary.c_str());
        }
        if (number != 0) {
            fail(path, number);
        }
    } catch (...) {
        ::unlink(temporary.c_str());
        throw;
    }
}

} // namespace

bool OutputFile::exists() const {
    struct stat info {};
    return !is_standard_output() && ::lstat(path_.c_str(), &info) == 0;
}

std::string OutputFile::another(const char* otherwise) const {
    return option_ != nullptr ? fmt::format("name another by {}", option_) : otherwise;
}

void OutputFile::check(const std::vector<std::string>& inputs) const {
    if (is_standard_output()) {
        if (::isatty(STDOUT_FILENO) == 1) {
            refuse("output_is_terminal", "standard output",
                   "it is a terminal, which would obey bytes that are no text",
                   "name a file by --out, or lead it into one");
        }
        return;
    }
    take_left_away(name_beside(path_));
    if (const auto target = look_at(path_)) {
        for (const std::string& input : inputs) {
            const auto other = input == "-" ? look_at_input() : look_at(input); // none for ""
            if (other && other->st_dev == target->st_dev && other->st_ino == target->st_ino) {
                refuse("output_is_input", path_,
                       "it is the same file as the input " + chronoseal::quote_foreign(input),
                       another("take another input"));
            }
        }
        if (!S_ISREG(target->st_mode)) {
            refuse("output_not_a_file", path_, "it is a folder, a pipe or a device",
                   "name a file, or - for standard output");
        }
    }
    struct stat info {};
    if (::lstat(path_.c_str(), &info) != 0 && errno == ENAMETOOLONG) {
        fail(path_, errno);
    }
    if (existing_ == Existing::refuse && exists()) { // a link that leads nowhere among them
        refuse_existing(path_, another("take it away"));
    }
    const std::string folder = folder_of(path_);
    if (::access(folder.c_str(), W_OK | X_OK) != 0) {
        fail(path_, errno);
    }
    refuse_without_room(path_, folder);
}

void OutputFile::write(chronoseal::ByteView content) const {
    if (is_standard_output()) {
        write_all(STDOUT_FILENO, content, "standard output");
        return;
    }
    const std::string folder = folder_of(path_);
    const auto old = look_at(path_);
    const mode_t mode = old ? old->st_mode & 07777 : kCreationMode;
    const Descriptor file(::open(folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600));
    if (file.get() < 0) {
        if (errno != EOPNOTSUPP && errno != EISDIR && errno != ENOENT) {
            fail(path_, errno);
        }
        write_named(path_, content, mode, existing_);
        sync_folder(folder);
        return;
    }
    fill(file.get(), content, mode, path_);
    if (!link_as(file.get(), path_)) {
        if (existing_ == Existing::refuse) {
            fail(path_, EEXIST);
        }
        const std::string beside = name_beside(path_);
        ::flock(file.get(), LOCK_EX | LOCK_NB);
        with_name_beside(beside, [&] { return link_as(file.get(), beside); });
        if (::rename(beside.c_str(), path_.c_str()) != 0) {
            const int number = errno;
            ::unlink(beside.c_str());
            fail(path_, number);
        }
    }
    sync_folder(folder);
}

std::string in_place(const std::string& file) {
    std::error_code problem;
    if (!std::filesystem::is_symlink(file, problem)) {
        return file;
    }
    const auto target = std::filesystem::canonical(file, problem);
    return problem ? file : target.string();
}

void refuse_json_beside(const OutputFile& out, const Output& output, const char* result) {
    if (output.json() && out.is_standard_output()) {
        throw usage_error(fmt::format("JSON and {} can't both go to standard output", result),
                          "name a file by --out");
    }
}

} // namespace cli
