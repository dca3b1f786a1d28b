// The one owner of file descriptors in the platform libraries. Closing keeps errno, so that an
// error on the way out can still be told.
#pragma once

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace basalt {

class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    ~Descriptor() { close_now(); }

    bool is_open() const { return number_ >= 0; }
    int get() const { return number_; }

    // Gives errno of the closing, 0 for success or for none that was open.
    int close_now() {
        const int kept = errno;
        const int closed = is_open() && ::close(std::exchange(number_, -1)) != 0 ? errno : 0;
        errno = kept;
        return closed;
    }

private:
    int number_ = -1;
};

} // namespace basalt
