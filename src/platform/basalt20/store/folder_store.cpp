// Stores in folders.
#include <basalt/store/folder_store.h>

#include <basalt/coding/der_writer.h>
#include <basalt/store/object_file.h>
#include <basalt/sup/hexadecimal.h>
#include <basalt/sup/whole_file.h>
#include <basalt/trace.h>

#include <openssl/sha.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <dirent.h>
#include <filesystem>
#include <unistd.h>

namespace basalt {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

// Everybody may read: a machine's stores are for all its users.
constexpr mode_t kFolderMode = 0755;
constexpr mode_t kFileMode = 0644;
constexpr unsigned int kTraceLevel = 8;
constexpr std::chrono::milliseconds kAbsentFor{200};
constexpr const char* kEndings[] = {".cer", ".crt", ".pem", ".der", ".crl", ".ocsp"};
constexpr const char* kProperties = ".properties";

// The SHA-1 of the object in hexadecimal: what its files are called.
std::string stem_of(Bytes encoded) {
    std::array<unsigned char, SHA_DIGEST_LENGTH> digest{};
    SHA1(encoded.data(), encoded.size(), digest.data());
    return hexadecimal(std::span<const unsigned char>(digest));
}

// Folders that weren't there a moment ago: several stores are opened for each chain, and most
// machines have none of them.
class AbsentFolders {
public:
    bool contains(const std::string& folder) {
        const std::lock_guard lock(mutex_);
        const auto found = seen_.find(folder);
        return found != seen_.end() && Clock::now() - found->second < kAbsentFor;
    }
    void add(const std::string& folder) {
        const std::lock_guard lock(mutex_);
        if (seen_.size() >= kMost) {
            seen_.clear();
        }
        seen_[folder] = Clock::now();
    }
    void remove(const std::string& folder) {
        const std::lock_guard lock(mutex_);
        seen_.erase(folder);
    }

private:
    static constexpr std::size_t kMost = 64;

    std::mutex mutex_;
    std::map<std::string, Clock::time_point> seen_;
};

AbsentFolders& absent_folders() {
    static auto* folders = new AbsentFolders; // stores may be opened at the very end
    return *folders;
}

bool others_may_write(const struct stat& status) {
    return (status.st_uid != 0 && status.st_uid != geteuid()) ||
           (status.st_mode & (S_IWGRP | S_IWOTH)) != 0;
}

void trace_passed_over(const std::string& name, const char* why) {
    static TSupportDbContext_* const context = support_print_init(0, "store", 0, 127);
    if (context != nullptr && support_print_is(context, kTraceLevel) != 0) {
        support_dprint_print_(context, "\"%s\" is passed over: %s\n", "", 0, "read", name.c_str(),
                              why);
    }
}

constexpr char kOthersMayWrite[] = "others than root and its user may write to it";

// Sorted, so that a walk has the same order in every process.
std::set<std::string> names_in(DIR* folder) {
    std::set<std::string> names;
    while (const dirent* entry = readdir(folder)) {
        const std::string_view name = entry->d_name;
        if (!name.starts_with('.') &&
            std::any_of(std::begin(kEndings), std::end(kEndings),
                        [&](const char* ending) { return name.ends_with(ending); })) {
            names.emplace(name);
        }
    }
    return names;
}

struct FolderDeleter {
    void operator()(DIR* folder) const { closedir(folder); }
};

// New folders get the mode that reading asks for, whatever the umask.
void make_folder(const fs::path& folder) {
    std::error_code error;
    if (fs::exists(folder, error)) {
        return;
    }
    if (folder.has_parent_path() && folder.parent_path() != folder) {
        make_folder(folder.parent_path());
    }
    if (mkdir(folder.c_str(), kFolderMode) == 0) {
        require(chmod(folder.c_str(), kFolderMode) == 0, error_of_errno(errno));
    } else {
        require(errno == EEXIST, error_of_errno(errno));
    }
}

} // namespace

void FolderStore::read() {
    if (absent_folders().contains(folder_)) {
        return;
    }
    const std::unique_ptr<DIR, FolderDeleter> opened(opendir(folder_.c_str()));
    struct stat status {};
    if (opened == nullptr || fstat(dirfd(opened.get()), &status) != 0) {
        if (errno == ENOENT) {
            absent_folders().add(folder_);
        }
        return;
    }
    exists_ = true;
    if (others_may_write(status)) {
        return trace_passed_over(folder_, kOthersMayWrite);
    }
    for (const std::string& name : names_in(opened.get())) {
        try {
            read_file_of_objects(name);
        } catch (const Fault&) {
            // Someone else's file, or one that has gone meanwhile.
            trace_passed_over(path(name), "it can't be read");
        }
    }
}

void FolderStore::read_file_of_objects(const std::string& name) {
    Descriptor file;
    struct stat status {};
    const int error = open_file(path(name), file, status);
    require(error == 0, error_of_errno(error));
    if (others_may_write(status)) {
        return trace_passed_over(path(name), kOthersMayWrite);
    }
    const auto contents = read_file(file, status);
    require(contents.has_value(), CRYPT_E_FILE_ERROR);
    const auto file_objects = std::make_shared<MemoryStore>();
    load_objects(*file_objects, bytes_of(*contents));
    const auto certificates = file_objects->certificates();
    const auto lists = file_objects->crls();
    const auto answers = file_objects->ocsp_responses();
    const bool alone = certificates->size() + lists->size() + answers->size() == 1;
    const auto is_new = [&](Bytes encoded) {
        const std::string stem = stem_of(encoded);
        if (!name.starts_with(stem)) {
            sources_.emplace(stem, Source{name, alone});
        }
        return seen_.insert(stem).second;
    };
    for (const auto& item : *certificates) {
        if (is_new(item->encoded())) {
            const auto text = read_file(path(stem_of(item->encoded()) + kProperties));
            load(item->body, text ? PropertyMap::from_text(*text) : PropertyMap());
        }
    }
    for (const auto& item : *lists) {
        if (is_new(item->encoded())) {
            load(item->body);
        }
    }
    for (const auto& item : *answers) {
        if (is_new(item->encoded())) {
            load_ocsp(item->encoded());
        }
    }
}

void FolderStore::write(const std::string& name, std::string_view contents) {
    make_folder(folder_);
    absent_folders().remove(folder_);
    struct stat status {};
    require(stat(folder_.c_str(), &status) == 0, error_of_errno(errno));
    require(!others_may_write(status), E_ACCESSDENIED);
    const int error = replace_file(path(name), contents, kFileMode);
    require(error == 0, error_of_errno(error));
}

void FolderStore::keep(const CertificateItem& item) {
    const std::string stem = stem_of(item.encoded());
    const std::string properties = item.properties.to_text();
    // Properties first: a reader that sees the certificate sees its key as well.
    if (properties.empty()) {
        unlink(path(stem + kProperties).c_str());
    } else {
        write(stem + kProperties, properties);
    }
    if (access(path(stem + ".cer").c_str(), F_OK) != 0) {
        write(stem + ".cer", text_of(item.encoded()));
    }
}

void FolderStore::keep(const CrlItem& item) {
    write(stem_of(item.encoded()) + ".crl", text_of(item.encoded()));
}

void FolderStore::keep(const OcspItem& item) {
    write(stem_of(item.encoded()) + ".ocsp", text_of(item.encoded()));
}

// The object's own file, and those that somebody dropped in for it alone. One that holds others too
// isn't ours to take apart: the removal is refused, or the object would come back.
void FolderStore::remove_files(Bytes encoded, const char* ending) {
    const std::string stem = stem_of(encoded);
    const auto [first, last] = sources_.equal_range(stem);
    require(std::all_of(first, last, [](const auto& source) { return source.second.alone; }),
            E_ACCESSDENIED);
    for (auto source = first; source != last; ++source) {
        const bool gone = unlink(path(source->second.name).c_str()) == 0 || errno == ENOENT;
        require(gone, error_of_errno(errno));
    }
    sources_.erase(first, last);
    seen_.erase(stem);
    unlink(path(stem + ending).c_str());
    unlink(path(stem + kProperties).c_str());
    sync_folder(folder_);
}

void FolderStore::drop(const CertificateItem& item) {
    remove_files(item.encoded(), ".cer");
}

void FolderStore::drop(const CrlItem& item) {
    remove_files(item.encoded(), ".crl");
}

} // namespace basalt
