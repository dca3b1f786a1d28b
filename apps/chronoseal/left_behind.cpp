// The look into the folders.
#include "left_behind.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <sys/stat.h>

#include <fmt/format.h>

#include "input_file.h"

namespace cli {

namespace {

namespace fs = std::filesystem;

// A record has some 3 kB for each of its stamps.
constexpr std::uint64_t kLargestRecord = std::uint64_t{1} << 20;
constexpr std::size_t kMostRecords = 2000;
constexpr std::uint64_t kMostBytes = std::uint64_t{32} << 20; // of all of them
constexpr std::size_t kMostEntries = 100'000;
constexpr std::size_t kMostNames = 5; // that are told one by one

using FileId = std::pair<dev_t, ino_t>;

struct RecordFile {
    FileId id;
    std::uint64_t size;
};

// A plain file of a record's size; nothing for others.
std::optional<RecordFile> record_file(const std::string& path) {
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode) ||
        static_cast<std::uint64_t>(info.st_size) > kLargestRecord) {
        return std::nullopt;
    }
    return RecordFile{{info.st_dev, info.st_ino}, static_cast<std::uint64_t>(info.st_size)};
}

std::string folder_of(const std::string& file) {
    const std::string folder = fs::path(file).parent_path().string();
    return folder.empty() ? "." : folder;
}

std::vector<std::string> records_in(const std::string& folder) {
    std::vector<std::string> names;
    std::error_code problem;
    std::size_t entries = 0;
    for (fs::directory_iterator at(folder, problem), end;
         !problem && at != end && ++entries <= kMostEntries; at.increment(problem)) {
        if (at->path().extension() == ".ers") {
            names.push_back((folder == "." ? at->path().filename() : at->path()).string());
        }
    }
    std::ranges::sort(names);
    return names;
}

} // namespace

void LeftBehind::add(const std::string& file, const chronoseal::EvidenceRecord& record) {
    given_.push_back(file);
    for (const chronoseal::ArchiveStampInfo& one : record.info().stamps) {
        stamps_.insert(id_of(one));
    }
}

LeftBehind::StampId LeftBehind::id_of(const chronoseal::ArchiveStampInfo& info) {
    const chronoseal::TokenInfo& token = *info.stamp.info().token;
    return {token.serial_number, token.imprint, token.signature.value};
}

void LeftBehind::look() {
    std::set<FileId> known;
    std::set<std::string> folders;
    for (const std::string& file : given_) {
        if (const auto found = record_file(file)) {
            known.insert(found->id);
        }
        folders.insert(folder_of(file));
    }
    std::size_t looked = 0;
    std::uint64_t bytes = 0;
    for (const std::string& folder : folders) {
        for (const std::string& name : records_in(folder)) {
            const auto found = record_file(name);
            if (!found || !known.insert(found->id).second) {
                continue;
            }
            bytes += found->size;
            if (++looked > kMostRecords || bytes > kMostBytes) {
                bounded_ = true;
                return;
            }
            try {
                const auto record =
                    chronoseal::EvidenceRecord::read(read_file(name, kLargestRecord));
                if (stamps_.contains(id_of(record.info().stamps.back()))) {
                    files_.push_back(name);
                }
            } catch (const chronoseal::Error&) { // not one of these records
                continue;
            }
        }
    }
}

std::string LeftBehind::text() const {
    if (files_.empty()) {
        return "";
    }
    std::string names;
    for (std::size_t i = 0; i < std::min(files_.size(), kMostNames); ++i) {
        names += (i == 0 ? "" : ", ") + chronoseal::quote_foreign(files_[i]);
    }
    if (files_.size() > kMostNames) {
        names += ", ...";
    }
    return fmt::format("{} on the same time-stamps and {} renewed: {}{}; renew all of them by one "
                       "call, it costs one stamp",
                       files_.size() == 1 ? "1 record beside rests"
                                          : fmt::format("{} records beside rest", files_.size()),
                       files_.size() == 1 ? "wasn't" : "weren't", names,
                       bounded_ ? " (there may be more: not all files were looked at)" : "");
}

} // namespace cli
