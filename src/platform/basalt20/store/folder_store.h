// A store kept in a folder: one file for each object, the properties of a certificate beside it. A
// file is written under another name and then renamed, so that a reader, or another writer of the
// same object, sees the old or the new one whole. Files that can't be read are passed over.
#pragma once

#include "basalt20/store/memory_store.h"

#include <string>

namespace basalt {

class FolderStore final : public MemoryStore {
public:
    FolderStore(std::string folder, bool read_only)
        : MemoryStore(read_only), folder_(std::move(folder)) {}

    /// Reads the folder; a folder that isn't there is empty. Needs to be held by a shared pointer.
    void read();

    bool exists() const;

private:
    void keep(const CertificateItem& item) override;
    void keep(const CrlItem& item) override;
    void keep(const OcspItem& item) override;
    void drop(const CertificateItem& item) override;
    void drop(const CrlItem& item) override;

    void read_object(const std::string& name);
    void write(const std::string& name, std::string_view contents);
    std::string path(const std::string& name) const { return folder_ + '/' + name; }

    std::string folder_;
};

} // namespace basalt
