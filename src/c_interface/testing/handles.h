// For tests of this floor: handles of the C interface that free themselves, a caller's error, and
// what a caller in C passes.
#pragma once

#include <functional>
#include <initializer_list>
#include <memory>
#include <string>

#include <chronoseal/chronoseal.h>
#include <chronoseal/seal/testing/seal_fixture.h>

namespace chronoseal::testing {

template <auto Free>
struct FreeBy {
    template <class T>
    void operator()(T* handle) const {
        Free(&handle);
    }
};
using StampHandle = std::unique_ptr<chronoseal_stamp, FreeBy<chronoseal_stamp_free>>;

inline chronoseal_source source_of(const std::string& bytes) {
    return {nullptr, bytes.data(), bytes.size()};
}

inline std::string text_of(const chronoseal_bytes& view) {
    return {reinterpret_cast<const char*>(view.data), view.size};
}

// What a function gave to its caller.
inline std::string taken(unsigned char* data, std::size_t size) {
    std::string text(reinterpret_cast<const char*>(data), size);
    chronoseal_free(data);
    return text;
}

// The place of an error, as a caller keeps one for many calls.
class CallerError {
public:
    CallerError() = default;
    CallerError(const CallerError&) = delete;
    CallerError& operator=(const CallerError&) = delete;
    ~CallerError() { chronoseal_error_free(&error_); }

    chronoseal_error** operator&() { return &error_; } // as a caller writes it
    chronoseal_status status() const { return chronoseal_error_status(error_); }
    std::string word() const { return chronoseal_error_word(error_); }
    std::string why() const { return chronoseal_error_message(error_); }

private:
    chronoseal_error* error_ = nullptr;
};

// Each call lacks an argument that it needs, and says so.
using Call = std::function<chronoseal_status(chronoseal_error**)>;
inline void expect_argument_missing(std::initializer_list<Call> rows) {
    CallerError error;
    for (const Call& row : rows) {
        const auto number = &row - rows.begin();
        EXPECT_EQ(row(nullptr), CHRONOSEAL_MISUSE) << "row " << number;
        EXPECT_EQ(row(&error), CHRONOSEAL_MISUSE) << "row " << number;
        EXPECT_EQ(error.word(), "argument_missing") << "row " << number << error.why();
        EXPECT_EQ(error.status(), CHRONOSEAL_MISUSE);
    }
}

} // namespace chronoseal::testing

#define ROW(call) ::chronoseal::testing::Call([&](chronoseal_error** e) { return call; })
