// Finds, checks, reads and parses the files.
#include <basalt/sup/configuration_file.h>

#include <basalt/sup/toml_bounds.h>
#include <basalt/sup/whole_file.h>

#include <cstdlib>
#include <cstring>
#include <optional>

namespace basalt {

namespace {

constexpr const char* kMachineFile = "/etc/basalt/config.toml";
constexpr const char* kUserFile = "/.config/basalt/config.toml";
constexpr std::size_t kFileBound = std::size_t{1} << 20;
// A file written within this time before it was read may be written again without a new stamp,
// since the kernel's clock for files ticks only every few milliseconds.
constexpr long kSettlingNanoseconds = 50'000'000;
constexpr uid_t kRoot = 0;

bool is_settled(const timespec& modified) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    const long seconds = now.tv_sec - modified.tv_sec;
    return seconds > 1 ||
           (seconds >= 0 &&
            seconds * 1'000'000'000L + now.tv_nsec - modified.tv_nsec > kSettlingNanoseconds);
}

std::string place(const ConfigurationFile& file, std::size_t line, std::size_t column) {
    return file.name + ":" + std::to_string(line) + ":" + std::to_string(column) + ": ";
}

void parse(ConfigurationFile& file, const std::string& text) {
    if (const TomlFault fault = find_toml_fault(text); fault.line != 0) {
        file.problem = place(file, fault.line, fault.column) + fault.text;
        return;
    }
    try {
        // Without a name: the parser copies one where it may not throw, and memory may be short.
        file.root = toml::parse(text);
    } catch (const toml::parse_error& error) {
        const auto& at = error.source().begin;
        file.problem = place(file, at.line, at.column) + std::string(error.description());
    }
}

// The folder can't be entered: nothing is known of the file.
bool is_out_of_reach(const ConfigurationFile& file) {
    return FileStamp::of_path(file.name).error == EACCES;
}

bool may_be_missing(const ConfigurationFile& file, int error) {
    if (file.origin == FileOrigin::kEnvironment) {
        return false;
    }
    return error == ENOENT || error == ENOTDIR ||
           (file.origin == FileOrigin::kUser && error == EACCES && is_out_of_reach(file));
}

// What makes the open file unfit to be followed, or nothing.
std::optional<std::string> unfitness(const ConfigurationFile& file, const struct stat& status,
                                     uid_t user) {
    if (status.st_uid != kRoot && (file.origin == FileOrigin::kMachine || status.st_uid != user)) {
        return "belongs to the user number " + std::to_string(status.st_uid) +
               ", who has no say here";
    }
    if (S_ISCHR(status.st_mode)) {
        return std::nullopt; // /dev/null, which anybody may write to
    }
    if (!S_ISREG(status.st_mode)) {
        return "not a file";
    }
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        return "others may write to it; take that right away (chmod go-w)";
    }
    return std::nullopt;
}

void load(ConfigurationFile& file, uid_t user) {
    Descriptor descriptor;
    struct stat status {};
    if (const int error = open_file(file.name, descriptor, status); error != 0) {
        file.stamp.error = error;
        file.settled = true;
        if (!may_be_missing(file, error)) {
            file.problem = file.name + ": " + std::strerror(error);
        }
        return;
    }
    file.stamp = FileStamp::of_status(status);
    file.settled = is_settled(status.st_mtim);
    if (const auto reason = unfitness(file, status, user)) {
        file.problem = file.name + ": " + *reason;
        return;
    }
    std::string text;
    if (const int error = read_whole(descriptor.get(), kFileBound, text); error != 0) {
        file.problem = file.name + ": " + std::strerror(error);
        return;
    }
    parse(file, text);
}

ConfigurationFile read_file(const std::string& name, FileOrigin origin, uid_t user) {
    ConfigurationFile file;
    file.name = name;
    file.origin = origin;
    load(file, user);
    return file;
}

bool allows_override(const ConfigurationFile& machine) {
    const toml::value<bool>* allowed =
        machine.root.at_path("config.basalt.AllowOverride").as_boolean();
    return machine.problem.empty() && allowed != nullptr && allowed->get();
}

std::string environment(const char* name) {
    const char* value = secure_getenv(name); // nothing for set-uid programs
    return value != nullptr ? value : "";
}

} // namespace

ConfigurationPlaces ConfigurationPlaces::of_process() {
    ConfigurationPlaces places;
    places.machine_file = kMachineFile;
    if (const std::string home = environment("HOME"); home.starts_with('/')) {
        places.user_file = home + kUserFile;
    }
    places.override_file = environment("BASALT_CONFIG");
    places.user = geteuid();
    return places;
}

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

std::vector<ConfigurationFile> read_configuration_files(const ConfigurationPlaces& places) {
    std::vector<ConfigurationFile> files;
    const bool overridden = !places.override_file.empty();
    if (!overridden || places.user != kRoot) {
        files.push_back(read_file(places.machine_file, FileOrigin::kMachine, places.user));
        files.back().in_force = !overridden || !allows_override(files.back());
    }
    if (overridden) {
        files.push_back(read_file(places.override_file, FileOrigin::kEnvironment, places.user));
    } else if (!places.user_file.empty()) {
        files.push_back(read_file(places.user_file, FileOrigin::kUser, places.user));
    }
    return files;
}

} // namespace basalt
