// Reading, writing beside and renaming.
#include <basalt/sup/whole_file.h>

#include <dirent.h>
#include <fcntl.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>

namespace basalt {

namespace {

// A file in the making is called ".NAME" with this and six more characters behind it: hidden, and
// with no ending that a reader of folders looks for.
constexpr std::string_view kMaking = ".making-";
constexpr std::size_t kUniqueCharacters = 6;
constexpr time_t kLeftSeconds = 60L * 60;

std::string folder_of(const std::string& name) {
    const std::size_t slash = name.rfind('/');
    if (slash == std::string::npos) {
        return ".";
    }
    return slash == 0 ? "/" : name.substr(0, slash);
}

std::string name_in_making(const std::string& name) {
    const std::size_t last = name.rfind('/') + 1; // 0 where there is no slash
    return name.substr(0, last) + "." + name.substr(last) + std::string(kMaking) +
           std::string(kUniqueCharacters, 'X');
}

bool is_in_making(std::string_view name) {
    return name.size() > kMaking.size() + kUniqueCharacters && name.front() == '.' &&
           name.substr(name.size() - kUniqueCharacters - kMaking.size(), kMaking.size()) == kMaking;
}

int write_whole(int descriptor, std::string_view contents) {
    while (!contents.empty()) {
        const ssize_t count = write(descriptor, contents.data(), contents.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return count < 0 ? errno : EIO;
        }
        contents.remove_prefix(static_cast<std::size_t>(count));
    }
    return 0;
}

int fill(Descriptor& file, std::string_view contents, mode_t mode) {
    if (const int error = write_whole(file.get(), contents); error != 0) {
        return error;
    }
    if (fchmod(file.get(), mode) != 0 || fsync(file.get()) != 0) {
        return errno;
    }
    return file.close_now();
}

struct FolderDeleter {
    void operator()(DIR* folder) const { closedir(folder); }
};

} // namespace

int open_file(const std::string& name, Descriptor& file, struct stat& status) {
    file = Descriptor(open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    return file.is_open() && fstat(file.get(), &status) == 0 ? 0 : errno;
}

int read_whole(int descriptor, std::size_t bound, std::string& contents) {
    char piece[16384];
    for (;;) {
        const ssize_t count = read(descriptor, piece, sizeof piece);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return count == 0 ? 0 : errno;
        }
        if (static_cast<std::size_t>(count) > bound - contents.size()) {
            return EFBIG;
        }
        contents.append(piece, static_cast<std::size_t>(count));
    }
}

int replace_file(const std::string& name, std::string_view contents, mode_t mode) {
    std::string making = name_in_making(name);
    Descriptor file(mkostemp(making.data(), O_CLOEXEC));
    if (!file.is_open()) {
        return errno;
    }
    int error = fill(file, contents, mode);
    if (error == 0 && rename(making.c_str(), name.c_str()) != 0) {
        error = errno;
    }
    if (error != 0) {
        unlink(making.c_str());
        return error;
    }
    const std::string folder = folder_of(name);
    remove_left_files(folder);
    return sync_folder(folder);
}

int sync_folder(const std::string& folder) {
    const Descriptor opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!opened.is_open()) {
        return errno;
    }
    // Some file systems know no syncing of folders.
    return fsync(opened.get()) != 0 && errno != EINVAL ? errno : 0;
}

void remove_left_files(const std::string& folder) {
    const std::unique_ptr<DIR, FolderDeleter> opened(opendir(folder.c_str()));
    if (opened == nullptr) {
        return;
    }
    const time_t now = time(nullptr);
    while (const dirent* entry = readdir(opened.get())) {
        struct stat status {};
        if (is_in_making(entry->d_name) &&
            fstatat(dirfd(opened.get()), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
            S_ISREG(status.st_mode) && now - status.st_mtime > kLeftSeconds) {
            unlinkat(dirfd(opened.get()), entry->d_name, 0);
        }
    }
}

} // namespace basalt
