// The readers of the configuration tree: types, sizes and codes.
#include <basalt/configuration.h>

#include <basalt/error_codes.h>
#include <basalt/sup/configuration_tree.h>
#include <basalt/sup/known_keys.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <optional>

namespace {

using basalt::ConfigurationFile;
using basalt::ConfigurationTree;

struct Lookup {
    int code = ERROR_SUCCESS;
    std::shared_ptr<const ConfigurationTree> tree; // keeps the rest alive
    const toml::node* node = nullptr;
    const ConfigurationFile* file = nullptr;
};

bool is_path(const char* path) {
    return path != nullptr && path[0] == '\\';
}

Lookup look_up(const char* path) {
    Lookup result;
    if (!is_path(path)) {
        result.code = ERROR_INVALID_PARAMETER;
        return result;
    }
    result.tree = ConfigurationTree::current();
    if (result.tree->broken()) {
        result.code = ERROR_BADDB;
        return result;
    }
    const basalt::FoundNode found = result.tree->find(path);
    result.node = found.node;
    result.file = found.file;
    result.code = found.node == nullptr ? ERROR_FILE_NOT_FOUND : ERROR_SUCCESS;
    return result;
}

// A text on its way to the caller, or the code of what is wrong with it.
struct Text {
    int code = ERROR_SUCCESS;
    std::string bytes;
};

Text append_string(Text text, const toml::node& node, bool end_mark) {
    const toml::value<std::string>* string = node.as_string();
    if (string == nullptr) {
        text.code = ERROR_DATATYPE_MISMATCH;
    } else if (string->get().find('\0') != std::string::npos) {
        text.code = ERROR_INVALID_DATA; // it would read as a shorter text, or as two
    } else {
        text.bytes += string->get();
        if (end_mark) {
            text.bytes += '\0';
        }
    }
    return text;
}

Text list_text(const toml::node& node) {
    const toml::array* array = node.as_array();
    if (array == nullptr) {
        return append_string({}, node, true);
    }
    Text text;
    for (const toml::node& entry : *array) {
        text = append_string(std::move(text), entry, true);
        if (text.code != ERROR_SUCCESS) {
            break;
        }
    }
    return text;
}

// The protocol of sizes for a text that is at hand.
int hand_out(const std::string& bytes, std::size_t* size, char* buffer) {
    const std::size_t room = *size;
    *size = bytes.size();
    if (buffer == nullptr) {
        return ERROR_SUCCESS;
    }
    if (bytes.size() > room) {
        return ERROR_MORE_DATA;
    }
    std::memcpy(buffer, bytes.data(), bytes.size());
    buffer[bytes.size()] = '\0';
    return ERROR_SUCCESS;
}

// The same for a key, whose fault must not look like its absence (see the header).
template <class MakeText>
int read_text(const char* path, std::size_t* size, char* buffer, MakeText make_text) {
    if (size == nullptr) {
        return ERROR_INVALID_PARAMETER;
    }
    const Lookup found = look_up(path);
    if (found.code == ERROR_INVALID_PARAMETER || found.code == ERROR_FILE_NOT_FOUND) {
        return found.code;
    }
    const Text text = found.code == ERROR_SUCCESS ? make_text(*found.node) : Text{found.code, {}};
    if (text.code != ERROR_SUCCESS) {
        *size = 0;
        return buffer == nullptr ? ERROR_SUCCESS : text.code;
    }
    return hand_out(text.bytes, size, buffer);
}

// No exception leaves a C function.
template <class Work>
int guarded(Work work) noexcept {
    try {
        return work();
    } catch (const std::bad_alloc&) {
        return ERROR_NOT_ENOUGH_MEMORY;
    } catch (...) {
        return ERROR_INTERNAL_ERROR;
    }
}

// The value number `index` of those at or below the folder.
const std::string* value_below(const std::vector<std::string>& values, std::string_view folder,
                               std::size_t index) {
    while (!folder.empty() && folder.back() == '\\') {
        folder.remove_suffix(1);
    }
    const auto itself = std::lower_bound(values.begin(), values.end(), folder);
    if (itself != values.end() && *itself == folder) {
        return index == 0 ? &*itself : nullptr; // a value has none below it
    }
    const std::string below = std::string(folder) + '\\';
    const auto first = std::lower_bound(values.begin(), values.end(), below);
    const auto left = static_cast<std::size_t>(values.end() - first);
    if (index >= left) {
        return nullptr;
    }
    const std::string& path = first[static_cast<std::ptrdiff_t>(index)];
    return path.starts_with(below) ? &path : nullptr;
}

} // namespace

int support_registry_get_long(const char* path, long* value) noexcept {
    return guarded([=]() -> int {
        if (value == nullptr) {
            return ERROR_INVALID_PARAMETER;
        }
        const Lookup found = look_up(path);
        if (found.code != ERROR_SUCCESS) {
            return found.code;
        }
        const toml::value<std::int64_t>* number = found.node->as_integer();
        if (number == nullptr) {
            return ERROR_DATATYPE_MISMATCH;
        }
        *value = number->get();
        return ERROR_SUCCESS;
    });
}

int support_registry_get_bool(const char* path, int* value) noexcept {
    return guarded([=]() -> int {
        if (value == nullptr) {
            return ERROR_INVALID_PARAMETER;
        }
        const Lookup found = look_up(path);
        if (found.code != ERROR_SUCCESS) {
            return found.code;
        }
        if (const toml::value<bool>* boolean = found.node->as_boolean()) {
            *value = boolean->get() ? 1 : 0;
            return ERROR_SUCCESS;
        }
        if (const toml::value<std::int64_t>* number = found.node->as_integer()) {
            *value = number->get() != 0 ? 1 : 0;
            return ERROR_SUCCESS;
        }
        return ERROR_DATATYPE_MISMATCH;
    });
}

int support_registry_get_string(const char* path, std::size_t* size, char* buffer) noexcept {
    return guarded([=] {
        return read_text(path, size, buffer,
                         [](const toml::node& node) { return append_string({}, node, false); });
    });
}

int support_registry_get_multi_string(const char* path, std::size_t* size, char* buffer) noexcept {
    return guarded([=] { return read_text(path, size, buffer, list_text); });
}

int support_registry_origin(const char* path, std::size_t* size, char* buffer) noexcept {
    return guarded([=]() -> int {
        if (size == nullptr) {
            return ERROR_INVALID_PARAMETER;
        }
        const Lookup found = look_up(path);
        return found.code != ERROR_SUCCESS ? found.code : hand_out(found.file->name, size, buffer);
    });
}

int support_registry_get_type(const char* path, int* type) noexcept {
    return guarded([=]() -> int {
        if (type == nullptr) {
            return ERROR_INVALID_PARAMETER;
        }
        const Lookup found = look_up(path);
        if (found.code == ERROR_SUCCESS) {
            *type = basalt::type_of(*found.node);
        }
        return found.code;
    });
}

int support_registry_enum(const char* folder, DWORD index, std::size_t* size,
                          char* buffer) noexcept {
    return guarded([=]() -> int {
        if (!is_path(folder) || size == nullptr) {
            return ERROR_INVALID_PARAMETER;
        }
        const auto tree = ConfigurationTree::current();
        if (tree->broken()) {
            return ERROR_BADDB;
        }
        const std::string* path = value_below(tree->values(), folder, index);
        return path != nullptr ? hand_out(*path, size, buffer)
                               : static_cast<int>(ERROR_NO_MORE_ITEMS);
    });
}

void support_registry_refresh() noexcept {
    ConfigurationTree::refresh();
}

int support_registry_problem(std::size_t* size, char* buffer) noexcept {
    return guarded([=]() -> int {
        if (size == nullptr) {
            return ERROR_INVALID_PARAMETER;
        }
        const auto tree = ConfigurationTree::current();
        std::string text;
        for (const ConfigurationFile& file : tree->files()) {
            if (!file.problem.empty()) {
                text += (text.empty() ? "" : "\n") + file.problem;
            }
        }
        return hand_out(text, size, buffer);
    });
}

const support_registry_known_key* support_registry_known(DWORD index) noexcept {
    const auto keys = basalt::known_keys();
    return index < keys.size() ? &keys[index] : nullptr;
}

int support_registry_check(DWORD index, int* finding, std::size_t* size, char* buffer) noexcept {
    return guarded([=]() -> int {
        if (finding == nullptr || size == nullptr) {
            return ERROR_INVALID_PARAMETER;
        }
        const auto tree = ConfigurationTree::current();
        if (tree->broken()) {
            return ERROR_BADDB;
        }
        const std::vector<basalt::ConfigurationFinding>& findings = tree->findings();
        if (index >= findings.size()) {
            return ERROR_NO_MORE_ITEMS;
        }
        *finding = findings[index].kind;
        return hand_out(findings[index].path, size, buffer);
    });
}

int support_registry_nearest(const char* path, std::size_t* size, char* buffer) noexcept {
    return guarded([=]() -> int {
        if (!is_path(path) || size == nullptr) {
            return ERROR_INVALID_PARAMETER;
        }
        const support_registry_known_key* key = basalt::nearest_key(path);
        return key != nullptr ? hand_out(key->path, size, buffer)
                              : static_cast<int>(ERROR_FILE_NOT_FOUND);
    });
}
