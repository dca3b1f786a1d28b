// Places by the folder's number and the name in it, or by the file's own number once it is there.
#include "place_set.h"

#include <sys/stat.h>

#include <fmt/format.h>

#include "exit_status.h"

namespace cli {

namespace {

std::string key_of(const struct stat& info) {
    return fmt::format("{}:{}", info.st_dev, info.st_ino);
}

} // namespace

bool PlaceSet::add(const std::string& path) {
    struct stat info {};
    if (::stat(path.c_str(), &info) == 0) {
        return keys_.insert(key_of(info)).second;
    }
    const std::size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    if (folder != folder_ || folder_key_.empty()) {
        folder_ = folder;
        folder_key_ = ::stat(folder.c_str(), &info) == 0 ? key_of(info) : folder;
    }
    return keys_.insert(folder_key_ + "/" + path.substr(slash == std::string::npos ? 0 : slash + 1))
        .second;
}

void PlaceSet::add_or_refuse(const std::string& path, const char* results, const char* advice) {
    if (!add(path)) {
        throw usage_error(
            fmt::format("two {} would be written to {}", results, chronoseal::quote_foreign(path)),
            advice);
    }
}

} // namespace cli
