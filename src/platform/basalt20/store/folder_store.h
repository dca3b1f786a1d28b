// A store kept in a folder: one file for each object, the properties of a certificate beside it.
// Files in DER or PEM that somebody dropped into the folder, under names of their own that end in
// .cer, .crt, .pem, .der, .crl or .ocsp, belong to it too; an object that lies there twice is seen
// once. A file is written by replace_file, so that a reader, or another writer of the same object,
// sees the old or the new one whole.
//
// Files that can't be read are passed over. So are files, and the whole folder, that others than
// root and the user may have written (their owner is somebody else, or the group or the world may
// write to them), since a root that anybody can put there is worth nothing; traces name them, and
// nothing is written into such a folder (E_ACCESSDENIED).
#pragma once

#include <basalt/store/memory_store.h>

#include <map>
#include <set>
#include <string>

namespace basalt {

class FolderStore final : public MemoryStore {
public:
    FolderStore(std::string folder, bool read_only)
        : MemoryStore(read_only), folder_(std::move(folder)) {}

    /// Reads the folder; a folder that isn't there is empty. That it isn't is kept in mind for
    /// a fifth of a second, unless this process makes it. Needs to be held by a shared pointer.
    void read();

    /// Whether it was there when it was read.
    bool exists() const { return exists_; }

private:
    void keep(const CertificateItem& item) override;
    void keep(const CrlItem& item) override;
    void keep(const OcspItem& item) override;
    void drop(const CertificateItem& item) override;
    void drop(const CrlItem& item) override;

    void read_file_of_objects(const std::string& name);
    void write(const std::string& name, std::string_view contents);
    void remove_files(Bytes encoded, const char* ending);
    std::string path(const std::string& name) const { return folder_ + '/' + name; }

    std::string folder_;
    bool exists_ = false;
    // Under the SHA-1 of an object: files with names of their own that hold it, and whether it
    // alone.
    struct Source {
        std::string name;
        bool alone;
    };
    std::multimap<std::string, Source> sources_;
    std::set<std::string> seen_;
};

} // namespace basalt
