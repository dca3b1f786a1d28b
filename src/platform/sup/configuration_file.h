// One file of the configuration tree: where it lies, who may have written it, what it holds. For
// the tree only. Nothing here throws but for want of memory; what is wrong is told in `problem`.
#pragma once

#include <basalt/sup/toml_parser.h>

#include <sys/stat.h>

#include <ctime>
#include <string>
#include <vector>

namespace basalt {

// Where a process finds its files. An empty name stands for none.
struct ConfigurationPlaces {
    std::string machine_file;
    std::string user_file;
    std::string override_file; // what BASALT_CONFIG names
    uid_t user = 0;

    static ConfigurationPlaces of_process();
    bool operator==(const ConfigurationPlaces&) const = default;
};

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
    kMachine,     // may be absent
    kUser,        // may be absent, or in a folder out of reach: HOME isn't always one's own
    kEnvironment, // has to be there
};

struct ConfigurationFile {
    std::string name;
    FileOrigin origin = FileOrigin::kMachine;
    bool in_force = true; // false: read only to learn whether it allows another in its place
    FileStamp stamp;
    bool settled = false; // the stamp is old enough for a later change to show in it
    toml::table root;
    std::string problem; // one line, empty when the file was read or is rightly absent
};

// The files, read: the machine's first, and behind it the user's or the one in its place. That one
// takes the machine's place too where the process runs as root or the machine's file says
// `[config.basalt] AllowOverride = true`.
//
// A file that someone else may have written (its owner is neither root nor the user, or its group
// or the world may write to it) has a problem, and so does one that is there and can't be read: a
// policy must not vanish because somebody has meddled with its file.
std::vector<ConfigurationFile> read_configuration_files(const ConfigurationPlaces& places);

} // namespace basalt
