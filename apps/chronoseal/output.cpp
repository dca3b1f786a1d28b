#include "output.h"

#include <cstdio>

#include <fmt/format.h>

namespace cli {

void Output::text(const std::string& text) const {
    if (!json_) {
        std::fwrite(text.data(), 1, text.size(), stdout);
    }
}

void Output::object(bool ok, const nlohmann::ordered_json& members) const {
    if (!json_) {
        return;
    }
    nlohmann::ordered_json all = {{"command", command_}, {"ok", ok}};
    all.update(members);
    // Bytes that are no UTF-8, which a foreign name may hold, are replaced and don't end the
    // program.
    const std::string text =
        all.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
    std::fwrite(text.data(), 1, text.size(), stdout);
}

void Output::line(const Failure& failure) const {
    fmt::print(stderr, "chronoseal: {}\n", failure.what());
}

nlohmann::ordered_json error_json(const Failure& failure) {
    nlohmann::ordered_json code = nullptr;
    if (failure.code() != 0) {
        code = code_text(failure.code());
    }
    return {{"message", failure.message()}, {"code", code}, {"advice", failure.advice()}};
}

} // namespace cli
