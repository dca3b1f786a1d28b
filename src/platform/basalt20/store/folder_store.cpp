// Stores in folders.
#include "basalt20/store/folder_store.h"

#include "basalt20/coding/der_writer.h"
#include "basalt20/store/object_file.h"

#include <openssl/sha.h>

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <set>
#include <unistd.h>

namespace basalt {
namespace {

namespace fs = std::filesystem;

// The SHA-1 of the object in hexadecimal: what its files are called.
std::string stem_of(Bytes encoded) {
    unsigned char digest[SHA_DIGEST_LENGTH];
    SHA1(encoded.data(), encoded.size(), digest);
    static constexpr char kHex[] = "0123456789abcdef";
    std::string out;
    for (const unsigned char octet : digest) {
        out.push_back(kHex[octet >> 4]);
        out.push_back(kHex[octet & 15]);
    }
    return out;
}

void write_all(int file, std::string_view contents) {
    while (!contents.empty()) {
        const ssize_t written = ::write(file, contents.data(), contents.size());
        if (written < 0 && errno == EINTR) {
            continue;
        }
        require(written > 0, error_of_errno(errno));
        contents.remove_prefix(static_cast<std::size_t>(written));
    }
}

// A new file beside the one meant, which is removed unless it takes that one's place.
class FileInMaking {
public:
    explicit FileInMaking(const std::string& target) : target_(target), name_(target + ".XXXXXX") {
        file_ = mkostemp(name_.data(), O_CLOEXEC);
        require(file_ >= 0, error_of_errno(errno));
    }
    ~FileInMaking() {
        if (file_ >= 0) {
            close(file_);
        }
        if (!done_) {
            unlink(name_.c_str());
        }
    }
    FileInMaking(const FileInMaking&) = delete;
    FileInMaking& operator=(const FileInMaking&) = delete;

    void finish(std::string_view contents) {
        write_all(file_, contents);
        require(fsync(file_) == 0, error_of_errno(errno));
        require(close(std::exchange(file_, -1)) == 0, error_of_errno(errno));
        require(rename(name_.c_str(), target_.c_str()) == 0, error_of_errno(errno));
        done_ = true;
    }

private:
    const std::string& target_;
    std::string name_;
    int file_ = -1;
    bool done_ = false;
};

} // namespace

bool FolderStore::exists() const {
    std::error_code error;
    return fs::is_directory(folder_, error);
}

void FolderStore::read() {
    // Sorted, so that a walk has the same order in every process.
    std::set<std::string> names;
    std::error_code error;
    for (fs::directory_iterator at(folder_, error), end; !error && at != end; at.increment(error)) {
        names.insert(at->path().filename().string());
    }
    for (const std::string& name : names) {
        try {
            read_object(name);
        } catch (const Fault&) {
            // Someone else's file, or one that has gone meanwhile.
        }
    }
}

void FolderStore::read_object(const std::string& name) {
    const bool certificate = name.ends_with(".cer");
    if (!certificate && !name.ends_with(".crl") && !name.ends_with(".ocsp")) {
        return;
    }
    const auto contents = read_file(path(name));
    require(contents.has_value(), CRYPT_E_FILE_ERROR);
    if (!certificate) {
        load_objects(*this, bytes_of(*contents));
        return;
    }
    if (!contents->starts_with('\x30')) {
        load_objects(*this, bytes_of(*contents));
        return;
    }
    const auto text = read_file(path(name.substr(0, name.size() - 4) + ".properties"));
    load(std::make_shared<CertificateBody>(bytes_of(*contents)),
         text ? PropertyMap::from_text(*text) : PropertyMap());
}

void FolderStore::write(const std::string& name, std::string_view contents) {
    std::error_code error;
    fs::create_directories(folder_, error);
    require(!error, error_of_errno(error.value()));
    const std::string target = path(name);
    FileInMaking(target).finish(contents);
}

void FolderStore::keep(const CertificateItem& item) {
    const std::string stem = stem_of(item.encoded());
    const std::string properties = item.properties.to_text();
    // Properties first: a reader that sees the certificate sees its key as well.
    if (properties.empty()) {
        unlink(path(stem + ".properties").c_str());
    } else {
        write(stem + ".properties", properties);
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

void FolderStore::drop(const CertificateItem& item) {
    const std::string stem = stem_of(item.encoded());
    unlink(path(stem + ".cer").c_str());
    unlink(path(stem + ".properties").c_str());
}

void FolderStore::drop(const CrlItem& item) {
    unlink(path(stem_of(item.encoded()) + ".crl").c_str());
}

} // namespace basalt
