// Storage of certificate and CRL fields.
#include <basalt/certificate/signed_record.h>

#include <cstring>

namespace basalt {
namespace {
constexpr std::size_t kBlockSize = 768;
} // namespace

BYTE* FieldStorage::room(std::size_t size) {
    if (size > block_left_) {
        const std::size_t block_size = std::max(size, kBlockSize);
        blocks_.push_back(std::make_unique_for_overwrite<BYTE[]>(block_size));
        block_ = blocks_.back().get();
        block_left_ = block_size;
    }
    BYTE* at = block_;
    block_ += size;
    block_left_ -= size;
    return at;
}

CRYPT_INTEGER_BLOB FieldStorage::reversed(Bytes bytes) {
    BYTE* at = room(bytes.size());
    std::reverse_copy(bytes.begin(), bytes.end(), at);
    return {static_cast<DWORD>(bytes.size()), at};
}

LPSTR FieldStorage::oid(Bytes contents) {
    oid_scratch_.clear();
    append_oid_text(contents, oid_scratch_);
    BYTE* at = room(oid_scratch_.size() + 1);
    std::memcpy(at, oid_scratch_.c_str(), oid_scratch_.size() + 1);
    return reinterpret_cast<LPSTR>(at);
}

// AlgorithmIdentifier (RFC 5280 4.1.1.2).
CRYPT_ALGORITHM_IDENTIFIER FieldStorage::algorithm(Bytes sequence) {
    DerReader reader(sequence);
    CRYPT_ALGORITHM_IDENTIFIER result{};
    result.pszObjId = oid(reader.take(tag::kOid).contents);
    if (!reader.at_end()) {
        result.Parameters = view(reader.take().whole);
    }
    reader.expect_end();
    return result;
}

// Extension (RFC 5280 4.1).
std::pair<CERT_EXTENSION*, DWORD> FieldStorage::extensions(Bytes list) {
    std::vector<CERT_EXTENSION> result;
    result.reserve(12);
    DerReader reader(list);
    while (!reader.at_end()) {
        DerReader fields(reader.take(tag::kSequence).contents);
        CERT_EXTENSION extension{};
        extension.pszObjId = oid(fields.take(tag::kOid).contents);
        if (const Element critical = fields.take_if(tag::kBoolean); critical.tag != 0) {
            extension.fCritical = boolean_of(critical.contents) ? TRUE : FALSE;
        }
        extension.Value = view(fields.take(tag::kOctetString).contents);
        fields.expect_end();
        result.push_back(extension);
    }
    if (result.empty()) {
        return {nullptr, 0};
    }
    extension_lists_.push_back(std::move(result));
    auto& kept = extension_lists_.back();
    return {kept.data(), static_cast<DWORD>(kept.size())};
}

} // namespace basalt
