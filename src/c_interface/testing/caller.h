// For tests of this floor: a caller in C, whose calls end the test or tell what was wrong.
#pragma once

#include <array>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <stdexcept>

#include <chronoseal/c_interface/testing/handles.h>
#include <chronoseal/seal/testing/seal_fixture.h>

namespace chronoseal::testing {

// What stands for an argument of the test in a call: a handle's pointer, the data and the size of
// bytes, a path's text, a struct's address.
template <class T>
auto raw(const T& value) {
    using Value = std::decay_t<const T&>;
    if constexpr (std::is_class_v<Value> && !std::is_empty_v<Value>) {
        return std::tuple<const T*>(&value);
    } else {
        return std::tuple<Value>(value);
    }
}
template <class T>
std::tuple<T*> raw(const Handle<T>& handle) {
    return {handle.get()};
}
inline std::tuple<const char*, std::size_t> raw(const std::string& bytes) {
    return {bytes.data(), bytes.size()};
}
inline std::tuple<const char*> raw(const std::filesystem::path& path) {
    return {path.c_str()};
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

// Calls functions of the interface, by their names and without the place of the error.
class Caller {
public:
    // "misuse: hash_unknown"; empty of a call that succeeds.
    template <auto Function, class... A>
    std::string says(const A&... args) {
        constexpr std::array kStatuses = {"", "refused: ", "misuse: ", "unreachable: "};
        const chronoseal_status status =
            std::apply(Function, std::tuple_cat(raw(args)..., std::tuple(&error)));
        EXPECT_EQ(status, error.status()) << __PRETTY_FUNCTION__;
        return kStatuses.at(status) + error.word();
    }

    // A call without which the test can't go on.
    template <auto Function, class... A>
    void done(const A&... args) {
        if (!says<Function>(args...).empty()) {
            throw std::runtime_error(error.why() + " " + __PRETTY_FUNCTION__);
        }
    }

    // What a call gives by its last argument before the error: a value, bytes that the caller
    // frees, or a new handle.
    template <auto Function, class... A>
    auto given(const A&... args) {
        decltype(place_of(Function)) place{};
        done<Function>(args..., &place);
        return place;
    }
    template <auto Function, class... A>
    std::string taken(const A&... args) {
        unsigned char* data = nullptr;
        std::size_t size = 0;
        done<Function>(args..., &data, &size);
        const std::unique_ptr<unsigned char, decltype(&chronoseal_free)> owner(data,
                                                                               &chronoseal_free);
        return {reinterpret_cast<const char*>(data), size};
    }
    template <auto Function, class... A>
    auto made(const A&... args) {
        return Handle<std::remove_pointer_t<decltype(place_of(Function))>>(
            given<Function>(args...));
    }

    // What a call says that gives nothing, and empties the place for it.
    template <auto Function, class... A>
    std::string failure(const A&... args) {
        decltype(place_of(Function)) place;
        std::memset(&place, 0xFF, sizeof place);
        const std::string told = says<Function>(args..., &place);
        const decltype(place) nothing{};
        EXPECT_EQ(std::memcmp(&place, &nothing, sizeof place), 0) << __PRETTY_FUNCTION__;
        return told;
    }

    chronoseal_digest hash(const std::string& data, const char* algorithm = nullptr) {
        return given<chronoseal_hash>(algorithm, data);
    }
    std::string word() const { return error.word(); }
    std::string why() const { return error.why(); }

    CallerError error;

private:
    template <class... P>
    static auto place_of(chronoseal_status (*)(P...))
        -> std::remove_pointer_t<std::tuple_element_t<sizeof...(P) - 2, std::tuple<P...>>>;
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
