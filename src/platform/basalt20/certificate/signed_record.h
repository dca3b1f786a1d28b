// What certificates and CRLs have in common below their contexts: the encoded bytes, kept for ever
// as they came, and the storage of fields that can't point into them (reversed integers, OID texts,
// extension lists).
#pragma once

#include <basalt/coding/der_reader.h>
#include <basalt/encoded_values.h>

#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace basalt {

/// Storage for the fields of one record. Nothing moves once it has been handed out.
class FieldStorage {
public:
    /// `encoded_size` bounds what the fields of that many bytes can need.
    explicit FieldStorage(Bytes encoded) : encoded_(encoded.begin(), encoded.end()) {}
    FieldStorage(const FieldStorage&) = delete;
    FieldStorage& operator=(const FieldStorage&) = delete;

    Bytes encoded() const { return encoded_; }

    static CRYPT_DATA_BLOB view(Bytes bytes) {
        return {static_cast<DWORD>(bytes.size()), const_cast<BYTE*>(bytes.data())};
    }

    CRYPT_INTEGER_BLOB reversed(Bytes bytes);
    LPSTR oid(Bytes contents);
    CRYPT_ALGORITHM_IDENTIFIER algorithm(Bytes sequence);

    /// Reads `Extensions` (the contents of the SEQUENCE OF). The array belongs to the storage.
    std::pair<CERT_EXTENSION*, DWORD> extensions(Bytes list);

private:
    BYTE* room(std::size_t size);

    std::vector<BYTE> encoded_;
    std::deque<std::vector<CERT_EXTENSION>> extension_lists_;
    std::deque<std::unique_ptr<BYTE[]>> blocks_;
    BYTE* block_ = nullptr;
    std::size_t block_left_ = 0;
    std::string oid_scratch_;
};

} // namespace basalt
