// The parsed files of the configuration tree, for configuration.cpp only. A tree is immutable; a
// changed file makes a new one. Nothing here throws but for want of memory.
#pragma once

#include <sys/stat.h>

#include <ctime>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <toml++/toml.h>

namespace basalt {

// What tells one state of a file from another. `error` is the errno of a file that can't be looked
// at.
struct FileStamp {
    int error = 0;
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    timespec modified{};
    timespec changed{};

    static FileStamp of_path(const std::string& name);
    static FileStamp of_status(const struct stat& status);
    bool operator==(const FileStamp& other) const;
};

enum class FileOrigin {
    Machine,     // may be absent
    User,        // may be absent, or out of reach: HOME isn't always one's own
    Environment, // has to be there
};

struct ConfigurationFile {
    std::string name;
    FileOrigin origin = FileOrigin::Machine;
    FileStamp stamp;
    bool settled = false; // the stamp is old enough for a later change to show in it
    toml::table root;
    std::string problem; // one line, empty when the file was read or is rightly absent
};

struct FoundNode {
    const toml::node* node = nullptr; // null: no such key
    const ConfigurationFile* file = nullptr;
};

class ConfigurationTree {
public:
    // The tree of this moment: the one made last if no file has changed since.
    static std::shared_ptr<const ConfigurationTree> current();

    bool broken() const;
    const std::vector<ConfigurationFile>& files() const { return files_; }

    // The value at the path, which begins with a backslash; a table is no value. A file further
    // back is asked only when those before it have nothing at all there, nor a value where the path
    // wants a table.
    FoundNode find(std::string_view path) const;

    // The paths of all values at or below the folder, sorted.
    std::vector<std::string> list(std::string_view folder) const;

private:
    bool stale(const std::vector<ConfigurationFile>& wanted) const;

    std::vector<ConfigurationFile> files_;
};

} // namespace basalt
