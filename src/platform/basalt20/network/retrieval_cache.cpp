// A folder of files named by the SHA-256 of their keys. A file's time of modification is when it
// was fetched.
#include <basalt/network/retrieval_cache.h>

#include <basalt/sup/hexadecimal.h>

#include <fcntl.h>
#include <openssl/sha.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <utility>

namespace basalt {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kObjectBound = std::size_t{16} << 20;
// What the folder may hold, and what is left of it after a clearing, so that not every new object
// brings the next one.
struct FolderBound {
    std::size_t files;
    std::uintmax_t bytes;
};
constexpr FolderBound kMost{512, std::uintmax_t{32} << 20};
constexpr FolderBound kAfterClearing{384, std::uintmax_t{24} << 20};

// Empty when there is no cache.
std::string folder() {
    if (const char* cache = secure_getenv("XDG_CACHE_HOME"); cache != nullptr && *cache == '/') {
        return std::string(cache) + "/basalt/retrieved";
    }
    if (const char* home = secure_getenv("HOME"); home != nullptr && *home == '/') {
        return std::string(home) + "/.cache/basalt/retrieved";
    }
    return {};
}

std::string file_name(const std::string& key) {
    std::array<unsigned char, SHA256_DIGEST_LENGTH> digest{};
    SHA256(reinterpret_cast<const unsigned char*>(key.data()), key.size(), digest.data());
    return hexadecimal(std::span<const unsigned char>(digest));
}

class File {
public:
    explicit File(int descriptor) : descriptor_(descriptor) {}
    ~File() {
        if (descriptor_ >= 0) {
            close(descriptor_);
        }
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    bool is_open() const { return descriptor_ >= 0; }
    bool status(struct stat& result) const { return fstat(descriptor_, &result) == 0; }

    bool read_whole(std::vector<BYTE>& bytes) const {
        std::size_t done = 0;
        while (done < bytes.size()) {
            const ssize_t count = read(descriptor_, bytes.data() + done, bytes.size() - done);
            if (count <= 0) {
                return false;
            }
            done += static_cast<std::size_t>(count);
        }
        return true;
    }

    bool write_whole(const std::vector<BYTE>& bytes) const {
        std::size_t done = 0;
        while (done < bytes.size()) {
            const ssize_t count = write(descriptor_, bytes.data() + done, bytes.size() - done);
            if (count <= 0) {
                return false;
            }
            done += static_cast<std::size_t>(count);
        }
        return true;
    }

private:
    int descriptor_;
};

struct OldFile {
    fs::file_time_type fetched;
    std::uintmax_t bytes;
    fs::path path;
};

// Removes the largest files when they are too large together, and the oldest when there are too
// many: who fills the folder with what is large pushes out little else.
void clear_some(const std::string& name) {
    std::error_code error;
    std::vector<OldFile> files;
    std::uintmax_t bytes = 0;
    for (const fs::directory_entry& entry : fs::directory_iterator(name, error)) {
        const std::uintmax_t size = entry.file_size(error);
        if (!error) {
            files.push_back({entry.last_write_time(error), size, entry.path()});
            bytes += size;
        }
    }
    const auto remove_last = [&] {
        fs::remove(files.back().path, error);
        bytes -= files.back().bytes;
        files.pop_back();
    };
    if (bytes > kMost.bytes) {
        std::sort(files.begin(), files.end(), [](const OldFile& a, const OldFile& b) {
            return std::pair(a.bytes, b.fetched) < std::pair(b.bytes, a.fetched);
        });
        while (!files.empty() && bytes > kAfterClearing.bytes) {
            remove_last();
        }
    }
    if (files.size() > kMost.files) {
        std::sort(files.begin(), files.end(),
                  [](const OldFile& a, const OldFile& b) { return a.fetched > b.fetched; });
        while (files.size() > kAfterClearing.files) {
            remove_last();
        }
    }
}

bool make_folder(const std::string& name) {
    std::error_code error;
    fs::create_directories(name, error);
    if (!error) {
        fs::permissions(name, fs::perms::owner_all, error);
    }
    return !error;
}

// A larger file than the process may write would end it by a signal.
bool may_be_written(std::size_t size) {
    struct rlimit limit {};
    return getrlimit(RLIMIT_FSIZE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY ||
           size <= limit.rlim_cur;
}

} // namespace

std::optional<CachedObject> cached_object(const std::string& key) {
    const std::string where = folder();
    if (where.empty()) {
        return std::nullopt;
    }
    const File file(
        open((where + "/" + file_name(key)).c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (!file.is_open() || !file.status(status) || !S_ISREG(status.st_mode) ||
        static_cast<std::size_t>(status.st_size) > kObjectBound) {
        return std::nullopt;
    }
    CachedObject object;
    object.fetched = std::chrono::system_clock::from_time_t(status.st_mtim.tv_sec);
    // A clock that was wrong at the time must not make an object new for ever.
    if (object.fetched > std::chrono::system_clock::now()) {
        return std::nullopt;
    }
    object.bytes.resize(static_cast<std::size_t>(status.st_size));
    if (!file.read_whole(object.bytes)) {
        return std::nullopt;
    }
    return object;
}

void cache_object(const std::string& key, const std::vector<BYTE>& bytes) {
    const std::string where = folder();
    if (where.empty() || bytes.size() > kObjectBound || !may_be_written(bytes.size()) ||
        !make_folder(where)) {
        return;
    }
    std::string temporary = where + "/new.XXXXXX";
    {
        const File file(mkostemp(temporary.data(), O_CLOEXEC));
        if (!file.is_open()) {
            return;
        }
        if (!file.write_whole(bytes)) {
            unlink(temporary.c_str());
            return;
        }
    }
    if (std::rename(temporary.c_str(), (where + "/" + file_name(key)).c_str()) != 0) {
        unlink(temporary.c_str());
        return;
    }
    clear_some(where);
}

void forget_object(const std::string& key) {
    if (const std::string where = folder(); !where.empty()) {
        unlink((where + "/" + file_name(key)).c_str());
    }
}

} // namespace basalt
