// A name may be a word of the failure's own text ("a", "the"), so that it counts only at the place
// where failures have it.
#include "named_failure.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>

#include "stamp_text.h"

namespace cli {

namespace {

bool names(const std::string& text, const std::string& name) {
    constexpr std::array kDoing{"can't read ",   "can't write ",
                                "can't stamp ",  "can't verify ",
                                "can't extend ", "can't renew ",
                                "can't prove ",  "can't send ",
                                "can't trust ",  "can't attach a stamp to "};
    return text.starts_with(name + ": ") ||
           std::ranges::any_of(kDoing, [&](const std::string& doing) {
               return text.starts_with(doing + name + ": ");
           });
}

} // namespace

chronoseal::Error about_file(const std::string& file, const std::string& doing,
                             const chronoseal::Error& error) {
    const std::string name = chronoseal::quote_foreign(file);
    if (names(error.text(), name)) {
        return error;
    }
    const bool of_file = error.advice() == "check the file or the address";
    return {error.category(), error.word(), error.code(),
            "can't " + doing + " " + name + ": " + error.text(),
            of_file ? "check the file" : error.advice()};
}

void refuse_more_behind(const chronoseal::Inspection& found) {
    if (found.behind != 0) {
        const bool message = is_signature(found);
        throw chronoseal::Error(
            chronoseal::Category::refused, "more_behind", 0,
            fmt::format("{} bytes stand behind the {}, and are no part of it", found.behind,
                        message ? "signed message" : "stamp"),
            fmt::format("put each {} into a file of its own", message ? "message" : "stamp"));
    }
}

} // namespace cli
