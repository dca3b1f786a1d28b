// Named stores.
#include <basalt/store/system_store.h>

#include <basalt/coding/der_writer.h>
#include <basalt/configuration.h>
#include <basalt/store/collection_store.h>
#include <basalt/store/folder_store.h>
#include <basalt/store/object_file.h>

#include <cstdlib>
#include <pwd.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

namespace basalt {
namespace {

constexpr char kMachineStores[] = "/etc/basalt/stores";
constexpr char kSystemRoots[] = "/etc/ssl/certs/ca-certificates.crt";

// secure_getenv gives nothing to set-uid programs.
std::string setting(const char* name) {
    const char* value = secure_getenv(name);
    return value != nullptr ? value : "";
}

std::string home_folder() {
    if (std::string home = setting("HOME"); !home.empty()) {
        return home;
    }
    passwd entry{};
    passwd* found = nullptr;
    char buffer[4096];
    if (getpwuid_r(getuid(), &entry, buffer, sizeof(buffer), &found) == 0 && found != nullptr) {
        return found->pw_dir;
    }
    return "";
}

// Empty when the user has no folder of his own.
std::string user_stores() {
    if (std::string folder = setting("BASALT_USER_STORES"); !folder.empty()) {
        return folder;
    }
    if (const std::string data = setting("XDG_DATA_HOME"); data.starts_with('/')) {
        return data + "/basalt/stores";
    }
    const std::string home = home_folder();
    return home.empty() ? "" : home + "/.local/share/basalt/stores";
}

std::string machine_stores() {
    const std::string folder = setting("BASALT_MACHINE_STORES");
    return folder.empty() ? kMachineStores : folder;
}

std::string system_roots() {
    const std::string file = setting("BASALT_SYSTEM_ROOTS");
    return file.empty() ? kSystemRoots : file;
}

// The system's roots, taken apart once and again when the file has changed: there are over a
// hundred of them.
class SystemRoots {
public:
    std::shared_ptr<StoreObject> store() {
        const std::string path = system_roots();
        struct stat status {};
        const std::lock_guard lock(mutex_);
        if (stat(path.c_str(), &status) != 0) {
            return std::make_shared<MemoryStore>(true);
        }
        const bool same = path == path_ && status.st_ino == inode_ && status.st_size == size_ &&
                          status.st_mtim.tv_sec == time_.tv_sec &&
                          status.st_mtim.tv_nsec == time_.tv_nsec;
        if (!same || !store_) {
            store_ = load(path);
            path_ = path;
            inode_ = status.st_ino;
            size_ = status.st_size;
            time_ = status.st_mtim;
        }
        return store_;
    }

private:
    static std::shared_ptr<MemoryStore> load(const std::string& path) {
        auto store = std::make_shared<MemoryStore>(true);
        if (const auto contents = read_file(path)) {
            try {
                load_objects(*store, bytes_of(*contents));
            } catch (const Fault&) {
                // A file without certificates: no roots.
            }
        }
        return store;
    }

    std::mutex mutex_;
    std::shared_ptr<MemoryStore> store_;
    std::string path_;
    ino_t inode_ = 0;
    off_t size_ = 0;
    timespec time_{};
};

std::shared_ptr<StoreObject> shared_system_roots() {
    static auto* roots = new SystemRoots;
    return roots->store();
}

// Whether the administrator wants them to be trusted. Where the configuration can't be read they
// are not: it may have said so.
bool system_roots_wanted() {
    int wanted = 1;
    const int code = support_registry_get_bool("\\config\\basalt\\SystemRoots", &wanted);
    return code == ERROR_SUCCESS ? wanted != 0 : code != ERROR_BADDB;
}

// A name is the name of one folder. The usual ones are found whatever their case.
std::string folder_name(const std::string& name) {
    require(!name.empty() && name.size() <= 255 && name[0] != '.');
    require(name.find('/') == std::string::npos && name.find('\0') == std::string::npos);
    for (const char* usual : {"My", "AddressBook", "Root", "AuthRoot", "CA"}) {
        if (strcasecmp(name.c_str(), usual) == 0) {
            return usual;
        }
    }
    return name;
}

void add(CollectionStore& collection, std::shared_ptr<StoreObject> part, bool takes_objects) {
    const HCERTSTORE handle = register_store(std::move(part));
    try {
        collection.add_child(handle, takes_objects, 0);
    } catch (...) {
        CertCloseStore(handle, 0);
        throw;
    }
    CertCloseStore(handle, 0);
}

std::shared_ptr<FolderStore> folder(const std::string& base, const std::string& name,
                                    bool read_only) {
    auto store = std::make_shared<FolderStore>(base + '/' + name, read_only);
    store->read();
    return store;
}

} // namespace

std::shared_ptr<StoreObject> open_system_store(const std::string& given_name, DWORD flags) {
    const std::string name = folder_name(given_name);
    const DWORD location = flags & CERT_SYSTEM_STORE_LOCATION_MASK;
    const bool machine = location == CERT_SYSTEM_STORE_LOCAL_MACHINE;
    require(machine || location == CERT_SYSTEM_STORE_CURRENT_USER);
    const bool read_only = (flags & CERT_STORE_READONLY_FLAG) != 0;

    auto collection = std::make_shared<CollectionStore>(true);
    const std::string own_base = machine ? machine_stores() : user_stores();
    require(!own_base.empty() || read_only, ERROR_FILE_NOT_FOUND);
    const bool shows_system = name == "Root" || name == "AuthRoot";
    bool exists = shows_system;
    if (!own_base.empty()) {
        const auto own = folder(own_base, name, read_only);
        require((flags & CERT_STORE_CREATE_NEW_FLAG) == 0 || !own->exists(), ERROR_FILE_EXISTS);
        exists = exists || own->exists();
        add(*collection, own, true);
    }
    if (!machine) {
        const auto behind = folder(machine_stores(), name, true);
        exists = exists || behind->exists();
        add(*collection, behind, false);
    }
    require((flags & CERT_STORE_OPEN_EXISTING_FLAG) == 0 || exists, ERROR_FILE_NOT_FOUND);
    if (shows_system && system_roots_wanted()) {
        add(*collection, shared_system_roots(), false);
    }
    return collection;
}

} // namespace basalt
