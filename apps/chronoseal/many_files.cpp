// A walk through folders by the standard library, and threads that take one file after the other.
#include "many_files.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <mutex>
#include <thread>

#include <fmt/format.h>

#include "input_file.h"
#include "progress.h"

namespace cli {

namespace {

namespace fs = std::filesystem;
using chronoseal::Error;

[[noreturn]] void unreadable(const std::string& name, const std::error_code& problem) {
    throw Error(
        chronoseal::Category::unreachable, "file_unreadable", 0,
        fmt::format("can't read {}: {}", chronoseal::quote_foreign(name), problem.message()),
        "check its name and mode");
}

void add_folder(const std::string& name, FilesBelow& below) {
    std::error_code problem;
    std::vector<std::string> found;
    const std::size_t known = below.left_out.size();
    fs::recursive_directory_iterator place(name, problem);
    while (!problem && place != fs::recursive_directory_iterator()) {
        const fs::file_status status = place->symlink_status(problem);
        if (!problem && fs::is_regular_file(status)) {
            found.push_back(place->path().string());
        } else if (!problem && !fs::is_directory(status)) {
            below.left_out.push_back({place->path().string(), fs::is_symlink(status)});
        }
        place.increment(problem);
    }
    if (problem) {
        unreadable(name, problem);
    }
    std::ranges::sort(found);
    below.files.insert(below.files.end(), found.begin(), found.end());
    std::sort(below.left_out.begin() + static_cast<std::ptrdiff_t>(known), below.left_out.end(),
              [](const LeftOut& a, const LeftOut& b) { return a.name < b.name; });
}

// The threads' work: each takes the next file until there is none.
class Hashing {
public:
    Hashing(const std::vector<std::string>& names, const chronoseal::HashAlgorithm& algorithm,
            bool show_progress, const std::stop_token& stop)
        : names_(names), algorithm_(algorithm), stop_(stop), results_(names.size()),
          progress_(names.size(), show_progress) {}

    std::vector<HashedFile> run() {
        const std::size_t most = std::max(1U, std::thread::hardware_concurrency());
        std::vector<std::jthread> workers;
        for (std::size_t i = 1; i < std::min(most, names_.size()); ++i) {
            workers.emplace_back([this] { work(); });
        }
        work();
        workers.clear();
        progress_.wipe();
        return std::move(results_);
    }

private:
    void work() {
        for (std::size_t i = next_++; i < names_.size(); i = next_++) {
            try {
                results_[i].digest =
                    chronoseal::Digest::of_file(names_[i], algorithm_, {}, stop_).value();
                if (stop_.stop_requested()) {
                    results_[i].digest.clear();
                    throw chronoseal::error_of_code(kCancelled, "hash the files");
                }
            } catch (const Error& error) {
                results_[i].error = error;
            } catch (const std::exception& exception) {
                results_[i].error = Error(chronoseal::Category::unreachable, "system_failed", 0,
                                          chronoseal::quote_foreign(exception.what()), "try again");
            }
            const std::scoped_lock lock(mutex_);
            progress_.advance();
        }
    }

    const std::vector<std::string>& names_;
    const chronoseal::HashAlgorithm& algorithm_;
    const std::stop_token& stop_;
    std::atomic<std::size_t> next_ = 0;
    std::vector<HashedFile> results_;
    std::mutex mutex_;
    CountProgress progress_;
};

} // namespace

FilesBelow files_below(const std::vector<std::string>& names) {
    FilesBelow below;
    for (const std::string& name : names) {
        std::error_code problem;
        const fs::file_status status = fs::status(name, problem);
        if (status.type() == fs::file_type::none || !fs::exists(status)) {
            unreadable(name, problem ? problem
                                     : std::make_error_code(std::errc::no_such_file_or_directory));
        }
        if (fs::is_directory(status)) {
            add_folder(name, below);
        } else {
            below.files.push_back(name);
        }
    }
    return below;
}

void refuse_pipe(const std::string& file) {
    std::error_code problem;
    const fs::file_status status = fs::status(file, problem);
    if (!problem && fs::exists(status) && !fs::is_regular_file(status) &&
        !fs::is_directory(status)) {
        throw Error(chronoseal::Category::unreachable, "not_a_file", 0,
                    fmt::format("can't stamp {}: it is a pipe or a device",
                                chronoseal::quote_foreign(file)),
                    "stamp it by a call of its own");
    }
}

std::vector<HashedFile> hash_files(const std::vector<std::string>& names,
                                   const chronoseal::HashAlgorithm& algorithm, bool show_progress,
                                   const std::stop_token& stop) {
    return Hashing(names, algorithm, show_progress, stop).run();
}

} // namespace cli
