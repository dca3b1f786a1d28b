// For tests of this floor: a caller in C, whose calls end the test or tell what was wrong.
#pragma once

#include <array>
#include <cstring>
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

// A place for what a call would give, of whatever type.
struct Place {
    template <class T>
    operator T*() const {
        static T room{};
        return &room;
    }
};
inline constexpr Place kPlace;

// A literal as whatever number a call takes.
struct Number {
    template <class T>
    operator T() const {
        return static_cast<T>(value);
    }
    int value;
};

template <bool IsMissing, class T>
auto null_if(const T& value) {
    if constexpr (IsMissing) {
        return nullptr;
    } else if constexpr (std::is_same_v<T, int>) {
        return Number{value};
    } else {
        return value;
    }
}

// The call without this argument says that it is missing, whether or not there is a place for the
// error.
template <auto Function, std::size_t Missing, class... A>
void expect_missing(const std::tuple<A...>& args) {
    using Argument = std::tuple_element_t<Missing, std::tuple<A...>>;
    if constexpr (std::is_pointer_v<Argument> || std::is_same_v<Argument, Place>) {
        const auto call = [&]<std::size_t... I>(std::index_sequence<I...>,
                                                chronoseal_error * *place) {
            return Function(null_if<I == Missing>(std::get<I>(args))..., place);
        };
        CallerError error;
        EXPECT_EQ(call(std::index_sequence_for<A...>(), nullptr), CHRONOSEAL_MISUSE)
            << __PRETTY_FUNCTION__;
        EXPECT_EQ(call(std::index_sequence_for<A...>(), &error), CHRONOSEAL_MISUSE)
            << __PRETTY_FUNCTION__;
        EXPECT_EQ(error.word(), "argument_missing") << __PRETTY_FUNCTION__ << error.why();
        EXPECT_EQ(error.status(), CHRONOSEAL_MISUSE);
    }
}

// So with each pointer of a call, which is whole as it stands here: what may be null is `nullptr`.
template <auto Function, class... A>
void needs_all(const A&... args) {
    const auto whole = std::tuple_cat(raw(args)...);
    [&]<std::size_t... I>(std::index_sequence<I...>) {
        (expect_missing<Function, I>(whole), ...);
    }
    (std::make_index_sequence<std::tuple_size_v<decltype(whole)>>());
}

} // namespace chronoseal::testing
