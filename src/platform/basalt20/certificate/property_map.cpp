// Properties of certificates.
#include <basalt/certificate/property_map.h>

#include <basalt/coding/flat_block.h>
#include <basalt/sup/hexadecimal.h>

#include <charconv>
#include <cstdint>

namespace basalt {
namespace {

std::optional<std::string> from_hex(std::string_view text) {
    if (text.size() % 2 != 0) {
        return std::nullopt;
    }
    std::string out;
    for (std::size_t i = 0; i < text.size(); i += 2) {
        unsigned octet = 0;
        const char* end = text.data() + i + 2;
        if (std::from_chars(text.data() + i, end, octet, 16).ptr != end) {
            return std::nullopt;
        }
        out.push_back(static_cast<char>(octet));
    }
    return out;
}

void put_number(std::string& out, DWORD value) {
    for (int shift = 0; shift < 32; shift += 8) {
        out.push_back(static_cast<char>(value >> shift));
    }
}

// A length and that many bytes. A null text is told from an empty one.
void put_bytes(std::string& out, std::string_view bytes) {
    put_number(out, static_cast<DWORD>(bytes.size()));
    out.append(bytes);
}

void put_wide(std::string& out, const wchar_t* text) {
    put_number(out, text != nullptr ? 1 : 0);
    const std::wstring_view view = text != nullptr ? text : L"";
    put_bytes(out, {reinterpret_cast<const char*>(view.data()), view.size() * sizeof(wchar_t)});
}

class PackedReader {
public:
    explicit PackedReader(std::string_view packed) : rest_(packed) {}

    DWORD number() {
        DWORD value = 0;
        const std::string_view octets = take(4);
        for (int i = 0; i < 4; ++i) {
            value |= static_cast<DWORD>(static_cast<BYTE>(octets[static_cast<std::size_t>(i)]))
                     << (8 * i);
        }
        return value;
    }
    std::string_view bytes() { return take(number()); }
    std::optional<std::wstring> wide() {
        const bool present = number() != 0;
        const std::string_view view = bytes();
        std::wstring text(view.size() / sizeof(wchar_t), L'\0');
        std::memcpy(text.data(), view.data(), text.size() * sizeof(wchar_t));
        return present ? std::optional(std::move(text)) : std::nullopt;
    }

private:
    std::string_view take(std::size_t count) {
        require(count <= rest_.size(), ERROR_FILE_CORRUPT);
        const std::string_view taken = rest_.substr(0, count);
        rest_.remove_prefix(count);
        return taken;
    }

    std::string_view rest_;
};

void lay_out_key_provider(std::string_view packed, FlatBlock& block) {
    PackedReader reader(packed);
    auto* info = block.place<CRYPT_KEY_PROV_INFO>();
    CRYPT_KEY_PROV_INFO filled{};
    const auto wide = [&]() -> LPWSTR {
        const auto text = reader.wide();
        return text ? block.wide_text(*text) : nullptr;
    };
    filled.pwszContainerName = wide();
    filled.pwszProvName = wide();
    filled.dwProvType = reader.number();
    filled.dwFlags = reader.number();
    filled.dwKeySpec = reader.number();
    filled.cProvParam = reader.number();
    require(filled.cProvParam <= packed.size(), ERROR_FILE_CORRUPT);
    filled.rgProvParam = block.place<CRYPT_KEY_PROV_PARAM>(filled.cProvParam);
    for (DWORD i = 0; i < filled.cProvParam; ++i) {
        const DWORD number = reader.number();
        const DWORD flags = reader.number();
        const std::string_view value = reader.bytes();
        const CRYPT_DATA_BLOB data =
            block.blob({reinterpret_cast<const BYTE*>(value.data()), value.size()});
        if (filled.rgProvParam != nullptr) {
            filled.rgProvParam[i] = {number, data.pbData, data.cbData, flags};
        }
    }
    if (info != nullptr) {
        *info = filled;
    }
}

} // namespace

std::optional<std::string> PropertyMap::find(DWORD id) const {
    const std::lock_guard lock(mutex_);
    const auto found = values_.find(id);
    return found == values_.end() ? std::nullopt : std::optional(found->second);
}

void PropertyMap::set(DWORD id, std::string value) {
    const std::lock_guard lock(mutex_);
    values_[id] = std::move(value);
}

void PropertyMap::erase(DWORD id) {
    const std::lock_guard lock(mutex_);
    values_.erase(id);
}

DWORD PropertyMap::next(DWORD id) const {
    const std::lock_guard lock(mutex_);
    const auto found = values_.upper_bound(id);
    return found == values_.end() ? 0 : found->first;
}

std::map<DWORD, std::string> PropertyMap::snapshot() const {
    const std::lock_guard lock(mutex_);
    return values_;
}

void PropertyMap::merge(const PropertyMap& other, bool overwrite) {
    auto theirs = other.snapshot();
    const std::lock_guard lock(mutex_);
    for (auto& [id, value] : theirs) {
        if (overwrite) {
            values_[id] = std::move(value);
        } else {
            values_.try_emplace(id, std::move(value));
        }
    }
}

PropertyMap& PropertyMap::operator=(const PropertyMap& other) {
    auto theirs = other.snapshot();
    const std::lock_guard lock(mutex_);
    values_ = std::move(theirs);
    return *this;
}

std::string PropertyMap::to_text() const {
    std::string out;
    for (const auto& [id, value] : snapshot()) {
        if (!is_transient_property(id)) {
            out += std::to_string(id) + ' ' + hexadecimal(std::span(value)) + '\n';
        }
    }
    return out;
}

PropertyMap PropertyMap::from_text(std::string_view text) {
    PropertyMap result;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(text.size(), line.size() + 1));
        DWORD id = 0;
        const char* end = line.data() + line.size();
        const auto [after, error] = std::from_chars(line.data(), end, id);
        if (error != std::errc() || after == end || *after != ' ' || id == 0) {
            continue;
        }
        if (auto value = from_hex({after + 1, static_cast<std::size_t>(end - after - 1)})) {
            result.set(id, std::move(*value));
        }
    }
    return result;
}

bool is_transient_property(DWORD id) {
    return id == CERT_KEY_PROV_HANDLE_PROP_ID || id == CERT_KEY_CONTEXT_PROP_ID;
}

std::string pack_key_provider(const CRYPT_KEY_PROV_INFO& info) {
    std::string out;
    put_wide(out, info.pwszContainerName);
    put_wide(out, info.pwszProvName);
    put_number(out, info.dwProvType);
    put_number(out, info.dwFlags);
    put_number(out, info.dwKeySpec);
    put_number(out, info.cProvParam);
    for (DWORD i = 0; i < info.cProvParam; ++i) {
        const CRYPT_KEY_PROV_PARAM& parameter = info.rgProvParam[i];
        put_number(out, parameter.dwParam);
        put_number(out, parameter.dwFlags);
        put_bytes(out, {reinterpret_cast<const char*>(parameter.pbData), parameter.cbData});
    }
    return out;
}

void give_key_provider(std::string_view packed, void* data, DWORD* size) {
    give_block([&](FlatBlock& block) { lay_out_key_provider(packed, block); }, data, size);
}

} // namespace basalt
