// Reading of the configuration tree.
#include <chronoseal/seal/configuration_value.h>

#include <algorithm>

#include <basalt/configuration.h>
#include <basalt/error_codes.h>
#include <chronoseal/client/result_codes.h>

namespace chronoseal {

namespace {

// The two calls, for size and for bytes; nothing when one of them fails.
template <class Read>
std::optional<std::string> read_text(Read&& read) {
    std::size_t size = 0;
    if (read(&size, static_cast<char*>(nullptr)) != 0) {
        return std::nullopt;
    }
    std::string text(size + 1, '\0');
    if (read(&size, text.data()) != 0) {
        return std::nullopt;
    }
    text.resize(size);
    return text;
}

std::vector<std::string> split(const std::string& text, char mark) {
    std::vector<std::string> parts;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find(mark, begin), text.size());
        parts.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return parts;
}

Slip kind_of_finding(int finding) {
    switch (finding) {
    case SUPPORT_REGISTRY_WRONG_TYPE:
        return Slip::wrong_type;
    case SUPPORT_REGISTRY_WRONG_VALUE:
        return Slip::wrong_value;
    default:
        return Slip::unknown;
    }
}

} // namespace

std::optional<std::string> configured_text(const std::string& path) {
    return read_text([&](std::size_t* size, char* buffer) {
        return support_registry_get_string(path.c_str(), size, buffer);
    });
}

Error policy_unreadable() {
    const Error words = error_of_code(Halcyon::PKI::TSP::Client::kResultPolicyUnreadable);
    const auto problems = configuration_problems(); // each names its file
    return problems.empty()
               ? words
               : Error(words.category(), words.word(), words.code(),
                       words.text() + ": " + quote_foreign(problems.front()), words.advice());
}

void require_configuration() {
    std::size_t size = 0;
    if (support_registry_origin("\\config", &size, nullptr) == ERROR_BADDB) {
        throw policy_unreadable();
    }
}

std::optional<std::vector<std::string>> configured_list(const std::string& path) {
    const auto text = read_text([&](std::size_t* size, char* buffer) {
        return support_registry_get_multi_string(path.c_str(), size, buffer);
    });
    return text ? std::optional(split(*text, '\0')) : std::nullopt;
}

std::optional<long> configured_number(const std::string& path) {
    long number = 0;
    return support_registry_get_long(path.c_str(), &number) == 0 ? std::optional(number)
                                                                 : std::nullopt;
}

std::optional<bool> configured_switch(const std::string& path) {
    int flag = 0;
    return support_registry_get_bool(path.c_str(), &flag) == 0 ? std::optional(flag != 0)
                                                               : std::nullopt;
}

std::string configured_origin(const std::string& path) {
    return read_text([&](std::size_t* size, char* buffer) {
               return support_registry_origin(path.c_str(), size, buffer);
           })
        .value_or("");
}

std::vector<std::string> configuration_problems() {
    support_registry_refresh();
    return split(read_text([](std::size_t* size, char* buffer) {
                     return support_registry_problem(size, buffer);
                 }).value_or(""),
                 '\n');
}

std::vector<ConfigurationSlip> configuration_slips() {
    std::vector<ConfigurationSlip> slips;
    for (unsigned index = 0;; ++index) {
        int finding = 0;
        const auto path = read_text([&](std::size_t* size, char* buffer) {
            return support_registry_check(index, &finding, size, buffer);
        });
        if (!path) {
            return slips;
        }
        const auto nearest = read_text([&](std::size_t* size, char* buffer) {
            return support_registry_nearest(path->c_str(), size, buffer);
        });
        const Slip kind = kind_of_finding(finding);
        slips.push_back({*path, kind, kind == Slip::unknown ? nearest.value_or("") : ""});
    }
}

std::string toml_path(const std::string& path) {
    std::string text = path.substr(path.starts_with('\\') ? 1 : 0);
    std::ranges::replace(text, '\\', '.');
    return text;
}

} // namespace chronoseal
