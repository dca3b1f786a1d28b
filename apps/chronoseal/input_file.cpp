// Reading whole files and standard input.
#include "input_file.h"

#include <cerrno>
#include <cstring>
#include <memory>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fmt/format.h>

#include "progress.h"

namespace cli {

namespace {

using chronoseal::Bytes;
using chronoseal::Error;

// Small enough for the heap to keep it, so that the next file needs no new pages.
constexpr std::size_t kPiece = std::size_t{64} << 10;

[[noreturn]] void fail(const std::string& path, const std::string& reason,
                       const char* advice = "check the file's name and mode") {
    throw Error(chronoseal::Category::unreachable, "file_unreadable", 0,
                fmt::format("can't read {}: {}",
                            path == "-" ? "standard input" : chronoseal::quote_foreign(path),
                            reason),
                advice);
}

// A file that is open for reading, or standard input, which is left open.
class Input {
public:
    // Without waiting for somebody to open a pipe's other end: `read` does, and can be stopped.
    Input(const std::string& path, const std::stop_token& stop)
        : path_(path), stop_(stop), owned_(path != "-"),
          fd_(owned_ ? ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK) : STDIN_FILENO) {
        struct stat status {};
        if (fd_ < 0) {
            fail(path_, std::strerror(errno));
        }
        if (::fstat(fd_, &status) == 0 && S_ISDIR(status.st_mode)) {
            if (owned_) {
                ::close(fd_);
            }
            fail(path_, "it is a folder", "name the files in it");
        }
        if (owned_ && S_ISREG(status.st_mode)) {
            may_be_silent_ = false;
            size_ = static_cast<std::size_t>(status.st_size);
        }
    }
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;
    ~Input() {
        if (owned_) {
            ::close(fd_);
        }
    }

    std::size_t size() const { return size_; } // 0: not known

    // At most `size` bytes; 0 at the end.
    std::size_t read(std::byte* buffer, std::size_t size) const {
        for (;;) {
            await();
            const ssize_t count = ::read(fd_, buffer, size);
            if (count >= 0) {
                return static_cast<std::size_t>(count);
            }
            if (errno != EINTR && errno != EAGAIN) {
                fail(path_, std::strerror(errno));
            }
        }
    }

private:
    // Until there is something to read, or the end. Files always have it.
    void await() const {
        if (!may_be_silent_) {
            return;
        }
        constexpr int kLook = 100; // milliseconds
        pollfd one{fd_, POLLIN, 0};
        while (::poll(&one, 1, kLook) <= 0) {
            if (stop_.stop_requested()) {
                throw chronoseal::error_of_code(kCancelled,
                                                "read " + chronoseal::quote_foreign(path_));
            }
        }
    }

    const std::string& path_;
    const std::stop_token& stop_;
    bool owned_;
    int fd_;
    bool may_be_silent_ = true;
    std::size_t size_ = 0;
};

} // namespace

bool is_file(const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

Bytes read_file(const std::string& path, std::size_t limit, const std::stop_token& stop) {
    const Input input(path, stop);
    Bytes content;
    std::size_t done = 0;
    // One byte more than there should be, to see the end with the rest.
    const std::size_t room = input.size() != 0 && input.size() < kPiece ? input.size() + 1 : kPiece;
    for (;;) {
        content.resize(done + room);
        const std::size_t count = input.read(content.data() + done, room);
        if (count > limit - done) {
            fail(path, fmt::format("it is larger than {} MiB", limit >> 20),
                 "name another: nothing of this kind is so large");
        }
        done += count;
        if (count == 0 || (done == input.size() && count < room)) {
            content.resize(done);
            return content;
        }
    }
}

std::string stamped_file(const std::string& stem) {
    if (is_file(stem)) {
        return stem;
    }
    const std::size_t dot = stem.rfind('.');
    const std::string number = dot == std::string::npos ? "" : stem.substr(dot + 1);
    const bool counted = !number.empty() && number.size() <= 2 && number[0] != '0' &&
                         number.find_first_not_of("0123456789") == std::string::npos;
    return counted && is_file(stem.substr(0, dot)) ? stem.substr(0, dot) : "";
}

chronoseal::Digest digest_of(const std::string& path, const chronoseal::HashAlgorithm& algorithm,
                             bool show_progress, std::stop_token stop) {
    if (path != "-") {
        ByteProgress progress(chronoseal::quote_foreign(path), show_progress);
        return chronoseal::Digest::of_file(
            path, algorithm,
            [&](std::uint64_t done, std::uint64_t total) { progress.show(done, total); }, stop);
    }
    return digests_of_input({algorithm}, show_progress, stop).front();
}

std::vector<chronoseal::Digest>
digests_of_input(const std::vector<chronoseal::HashAlgorithm>& algorithms, bool show_progress,
                 const std::stop_token& stop) {
    const std::string path = "-";
    const Input input(path, stop);
    ByteProgress progress("standard input", show_progress);
    std::vector<chronoseal::Hasher> hashers(algorithms.begin(), algorithms.end());
    const std::unique_ptr<std::byte[]> piece(new std::byte[kPiece]);
    std::uint64_t done = 0;
    while (const std::size_t count = input.read(piece.get(), kPiece)) {
        for (chronoseal::Hasher& hasher : hashers) {
            hasher.update({piece.get(), count});
        }
        done += count;
        progress.show(done, 0);
    }
    std::vector<chronoseal::Digest> digests;
    for (chronoseal::Hasher& hasher : hashers) {
        digests.push_back(hasher.finish());
    }
    return digests;
}

} // namespace cli
