// Lays a published record and all it points to into one caller's block, as far as that has room;
// behind its end, and without a block, bytes are only counted.
#pragma once

#include <basalt/coding/der_reader.h>
#include <basalt/encoded_values.h>

#include <cstring>
#include <string>
#include <string_view>

namespace basalt {

class FlatBlock {
public:
    /// `base` null: only counts.
    FlatBlock(void* base, std::size_t size)
        : base_(static_cast<BYTE*>(base)), size_(base == nullptr ? 0 : size) {}

    /// Room for `count` records, zeroed; null while counting or for none.
    template <class Record>
    Record* place(std::size_t count = 1) {
        used_ = (used_ + alignof(Record) - 1) & ~(alignof(Record) - 1);
        BYTE* at = advance(count * sizeof(Record));
        if (at == nullptr || count == 0) {
            return nullptr;
        }
        std::memset(at, 0, count * sizeof(Record));
        return reinterpret_cast<Record*>(at);
    }

    CRYPT_DATA_BLOB blob(Bytes bytes) {
        CRYPT_DATA_BLOB result{static_cast<DWORD>(bytes.size()), nullptr};
        if (!bytes.empty()) {
            result.pbData = advance(bytes.size());
            if (result.pbData != nullptr) {
                std::memcpy(result.pbData, bytes.data(), bytes.size());
            }
        }
        return result;
    }

    /// Little-endian bytes of a big-endian integer.
    CRYPT_INTEGER_BLOB reversed(Bytes bytes) {
        const CRYPT_INTEGER_BLOB result = blob(bytes);
        if (result.pbData != nullptr) {
            std::reverse(result.pbData, result.pbData + result.cbData);
        }
        return result;
    }

    LPSTR text(std::string_view value) {
        BYTE* at = advance(value.size() + 1);
        if (at != nullptr) {
            std::memcpy(at, value.data(), value.size());
            at[value.size()] = 0;
        }
        return reinterpret_cast<LPSTR>(at);
    }

    /// An object identifier's dotted text, by its contents.
    LPSTR oid(Bytes contents) {
        scratch_.clear();
        append_oid_text(contents, scratch_);
        return text(scratch_);
    }

    LPWSTR wide_text(std::wstring_view value) {
        wchar_t* at = place<wchar_t>(value.size() + 1);
        if (at != nullptr) {
            std::copy(value.begin(), value.end(), at);
        }
        return at;
    }

    std::size_t used() const { return used_; }

private:
    BYTE* advance(std::size_t size) {
        const bool fits = used_ <= size_ && size <= size_ - used_;
        BYTE* at = base_ != nullptr && fits ? base_ + used_ : nullptr;
        used_ += size;
        return at;
    }

    BYTE* base_;
    std::size_t size_;
    std::size_t used_ = 0;
    std::string scratch_;
};

/// Answers a size-and-data call: `lay_out(FlatBlock&)` fills the block. Fails with ERROR_MORE_DATA;
/// what the block holds then is of no use.
template <class LayOut>
void give_block(LayOut&& lay_out, void* data, DWORD* size) {
    require(size != nullptr);
    const DWORD room = *size;
    FlatBlock block(data, room);
    lay_out(block);
    require(block.used() <= 0x7FFFFFFF, CRYPT_E_ASN1_LARGE);
    *size = static_cast<DWORD>(block.used());
    require(data == nullptr || room >= block.used(), ERROR_MORE_DATA);
}

/// The same for plain bytes.
inline void give_bytes(Bytes bytes, void* data, DWORD* size) {
    require(size != nullptr);
    require(bytes.size() <= 0x7FFFFFFF, CRYPT_E_ASN1_LARGE);
    const DWORD room = *size;
    *size = static_cast<DWORD>(bytes.size());
    if (data == nullptr) {
        return;
    }
    require(room >= bytes.size(), ERROR_MORE_DATA);
    std::copy(bytes.begin(), bytes.end(), static_cast<BYTE*>(data));
}

inline Bytes bytes_of(const CRYPT_DATA_BLOB& blob) {
    return {blob.pbData, blob.cbData};
}

} // namespace basalt
