// The properties of one certificate: numbered blocks of bytes. All contexts over one certificate of
// a store share one map. The text form is what stands beside the certificate in a folder: a line
// for each property, its number, a blank, its bytes in hexadecimal.
#pragma once

#include <basalt/certificate.h>
#include <basalt/coding/der_reader.h>

#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace basalt {

class PropertyMap {
public:
    PropertyMap() = default;
    PropertyMap(const PropertyMap& other) : values_(other.snapshot()) {}

    std::optional<std::string> find(DWORD id) const;
    void set(DWORD id, std::string value);
    void erase(DWORD id);

    /// The lowest number above `id` that is set, 0 when there is none.
    DWORD next(DWORD id) const;

    /// Takes over what `other` has; `overwrite` tells who wins where both have a value.
    void merge(const PropertyMap& other, bool overwrite);

    std::string to_text() const;

    /// Lines that aren't properties are passed over.
    static PropertyMap from_text(std::string_view text);

    PropertyMap& operator=(const PropertyMap& other);

private:
    std::map<DWORD, std::string> snapshot() const;

    mutable std::mutex mutex_;
    std::map<DWORD, std::string> values_;
};

/// True for what makes sense in this process alone (handles) and never goes to disk.
bool is_transient_property(DWORD id);

/// A CRYPT_KEY_PROV_INFO as one block of bytes without pointers, and back into a caller's block.
std::string pack_key_provider(const CRYPT_KEY_PROV_INFO& info);
void give_key_provider(std::string_view packed, void* data, DWORD* size);

} // namespace basalt
