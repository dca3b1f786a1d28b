// Finds, reads and parses the files, and looks up paths in what they hold.
#include "sup/configuration_tree.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <set>

namespace basalt {

namespace {

constexpr const char* kMachineFile = "/etc/basalt/config.toml";
constexpr const char* kUserFile = "/.config/basalt/config.toml";
constexpr std::size_t kFileBound = std::size_t{1} << 20;
// A file written within this time before it was read may be written again without a new stamp,
// since the kernel's clock for files ticks only every few milliseconds.
constexpr long kSettlingNanoseconds = 50'000'000;

ConfigurationFile named_file(std::string name, FileOrigin origin) {
    ConfigurationFile file;
    file.name = std::move(name);
    file.origin = origin;
    return file;
}

std::vector<ConfigurationFile> wanted_files() {
    std::vector<ConfigurationFile> files;
    if (const char* other = secure_getenv("BASALT_CONFIG"); other != nullptr && *other != '\0') {
        files.push_back(named_file(other, FileOrigin::Environment));
        return files;
    }
    files.push_back(named_file(kMachineFile, FileOrigin::Machine));
    if (const char* home = secure_getenv("HOME"); home != nullptr && *home == '/') {
        files.push_back(named_file(std::string(home) + kUserFile, FileOrigin::User));
    }
    return files;
}

class Descriptor {
public:
    explicit Descriptor(int value) : value_(value) {}
    ~Descriptor() {
        if (value_ >= 0) {
            close(value_);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return value_; }

private:
    int value_;
};

bool is_settled(const timespec& modified) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    const long seconds = now.tv_sec - modified.tv_sec;
    return seconds > 1 ||
           (seconds >= 0 &&
            seconds * 1'000'000'000L + now.tv_nsec - modified.tv_nsec > kSettlingNanoseconds);
}

// The errno of the failure, 0 for success. EFBIG over the bound.
int read_all(int descriptor, std::string& text) {
    char piece[4096];
    for (;;) {
        const ssize_t count = read(descriptor, piece, sizeof piece);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return count == 0 ? 0 : errno;
        }
        if (text.size() + static_cast<std::size_t>(count) > kFileBound) {
            return EFBIG;
        }
        text.append(piece, static_cast<std::size_t>(count));
    }
}

// The dots outside of quotes in one line. A quote that the line doesn't close hides nothing.
std::size_t bare_dots(std::string_view line) {
    std::size_t dots = 0;
    for (std::size_t i = 0; i < line.size() && line[i] != '#'; ++i) {
        if (line[i] == '.') {
            ++dots;
        } else if (line[i] == '"' || line[i] == '\'') {
            std::size_t end = i + 1;
            while (end < line.size() && line[end] != line[i]) {
                end += line[i] == '"' && line[end] == '\\' ? 2 : 1;
            }
            i = end < line.size() ? end : i;
        }
    }
    return dots;
}

// The parser bounds the nesting of arrays and inline tables but not that of dotted names, and a
// tree is walked and destroyed by recursion. The number of the first line with too many names, 0 if
// none.
std::size_t too_deep_line(std::string_view text) {
    constexpr std::size_t kMostDots = 16;
    for (std::size_t number = 1; !text.empty(); ++number) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        if (bare_dots(text.substr(0, end)) > kMostDots) {
            return number;
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return 0;
}

void parse(ConfigurationFile& file, const std::string& text) {
    if (const std::size_t line = too_deep_line(text); line != 0) {
        file.problem = file.name + ":" + std::to_string(line) + ":1: nested too deeply";
        return;
    }
    try {
        file.root = toml::parse(text, file.name);
    } catch (const toml::parse_error& error) {
        const auto& at = error.source().begin;
        file.problem = file.name + ":" + std::to_string(at.line) + ":" + std::to_string(at.column) +
                       ": " + std::string(error.description());
    }
}

bool may_be_missing(FileOrigin origin, int error) {
    switch (origin) {
    case FileOrigin::Machine:
        return error == ENOENT || error == ENOTDIR;
    case FileOrigin::User:
        return error == ENOENT || error == ENOTDIR || error == EACCES;
    case FileOrigin::Environment:
        break;
    }
    return false;
}

void load(ConfigurationFile& file) {
    const auto give_up = [&file](int error) {
        file.stamp.error = error;
        file.settled = true;
        if (!may_be_missing(file.origin, error)) {
            file.problem = file.name + ": " + std::strerror(error);
        }
    };
    // Without O_NONBLOCK a pipe in the file's place would stop the program.
    const Descriptor descriptor(open(file.name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (descriptor.get() < 0 || fstat(descriptor.get(), &status) != 0) {
        give_up(errno);
        return;
    }
    file.stamp = FileStamp::of_status(status);
    file.settled = is_settled(status.st_mtim);
    if (!S_ISREG(status.st_mode) && !S_ISCHR(status.st_mode)) {
        file.problem = file.name + ": not a file";
        return;
    }
    std::string text;
    if (const int error = read_all(descriptor.get(), text); error != 0) {
        file.problem = file.name + ": " + std::strerror(error);
        return;
    }
    parse(file, text);
}

// Takes the next name off the path "\a\b".
std::string_view take_name(std::string_view& path) {
    path.remove_prefix(1);
    const std::size_t end = std::min(path.find('\\'), path.size());
    const std::string_view name = path.substr(0, end);
    path.remove_prefix(end);
    return name;
}

// How far a path leads in one file.
struct Descent {
    const toml::node* node = nullptr;
    bool blocked = false; // a value stands where the path wants a table
};

Descent descend(const toml::table& root, std::string_view path) {
    const toml::node* node = &root;
    while (!path.empty()) {
        const toml::table* table = node->as_table();
        if (table == nullptr) {
            return {nullptr, true};
        }
        node = table->get(take_name(path));
        if (node == nullptr) {
            return {};
        }
    }
    return {node, false};
}

void collect(const toml::table& table, const std::string& prefix, std::set<std::string>& paths) {
    for (const auto& [key, node] : table) {
        const std::string path = prefix + "\\" + std::string(key.str());
        if (const toml::table* inner = node.as_table()) {
            collect(*inner, path, paths);
        } else {
            paths.insert(path);
        }
    }
}

} // namespace

FileStamp FileStamp::of_path(const std::string& name) {
    struct stat status {};
    if (stat(name.c_str(), &status) != 0) {
        FileStamp stamp;
        stamp.error = errno;
        return stamp;
    }
    return of_status(status);
}

FileStamp FileStamp::of_status(const struct stat& status) {
    return {0, status.st_dev, status.st_ino, status.st_size, status.st_mtim, status.st_ctim};
}

bool FileStamp::operator==(const FileStamp& other) const {
    const auto same = [](const timespec& a, const timespec& b) {
        return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
    };
    return error == other.error && device == other.device && inode == other.inode &&
           size == other.size && same(modified, other.modified) && same(changed, other.changed);
}

std::shared_ptr<const ConfigurationTree> ConfigurationTree::current() {
    static std::mutex mutex;
    static std::shared_ptr<const ConfigurationTree> last;
    std::vector<ConfigurationFile> wanted = wanted_files();
    const std::lock_guard lock(mutex);
    if (last == nullptr || last->stale(wanted)) {
        for (ConfigurationFile& file : wanted) {
            load(file);
        }
        auto tree = std::make_shared<ConfigurationTree>();
        tree->files_ = std::move(wanted);
        last = std::move(tree);
    }
    return last;
}

bool ConfigurationTree::stale(const std::vector<ConfigurationFile>& wanted) const {
    if (wanted.size() != files_.size()) {
        return true;
    }
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        const ConfigurationFile& file = files_[i];
        if (wanted[i].name != file.name || wanted[i].origin != file.origin || !file.settled ||
            !(FileStamp::of_path(file.name) == file.stamp)) {
            return true;
        }
    }
    return false;
}

bool ConfigurationTree::broken() const {
    for (const ConfigurationFile& file : files_) {
        if (!file.problem.empty()) {
            return true;
        }
    }
    return false;
}

FoundNode ConfigurationTree::find(std::string_view path) const {
    for (const ConfigurationFile& file : files_) {
        const Descent descent = descend(file.root, path);
        if (descent.node != nullptr) {
            return descent.node->is_table() ? FoundNode{} : FoundNode{descent.node, &file};
        }
        if (descent.blocked) {
            break;
        }
    }
    return {};
}

std::vector<std::string> ConfigurationTree::list(std::string_view folder) const {
    while (!folder.empty() && folder.back() == '\\') {
        folder.remove_suffix(1);
    }
    std::set<std::string> paths;
    for (const ConfigurationFile& file : files_) {
        collect(file.root, "", paths);
    }
    std::vector<std::string> found;
    for (const std::string& path : paths) {
        const bool inside = path.starts_with(folder) &&
                            (path.size() == folder.size() || path[folder.size()] == '\\');
        // A key of the file behind may be covered by the one before it.
        if (inside && find(path).node != nullptr) {
            found.push_back(path);
        }
    }
    return found;
}

} // namespace basalt
