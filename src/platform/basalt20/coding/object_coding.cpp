// Structures encoded and decoded by type.
#include <basalt/object_coding.h>

#include <basalt/coding/der_writer.h>
#include <basalt/coding/signer_layout.h>
#include <basalt/local_block.h>

namespace {

using namespace basalt;

constexpr DWORD kRoomLimit = 0x7FFFFFFF;

// Elements that a caller gave as encoded are put in as they are, but each has to be one element.
std::string_view encoded_element(const CRYPT_DATA_BLOB& blob) {
    sole_element(bytes_of(blob));
    return text_of(bytes_of(blob));
}

// Attribute (RFC 5652 5.3), its values in DER's order.
std::string encode_attribute(const CRYPT_ATTRIBUTE& attribute) {
    require(attribute.pszObjId != nullptr && attribute.cValue != 0, CRYPT_E_ASN1_BADARGS);
    std::vector<std::string_view> values;
    for (DWORD i = 0; i < attribute.cValue; ++i) {
        values.push_back(encoded_element(attribute.rgValue[i]));
    }
    std::string fields = element(tag::kOid, oid_contents(attribute.pszObjId));
    append_element(fields, tag::kSet, set_contents(std::move(values)));
    return element(tag::kSequence, fields);
}

// SEQUENCE { countersignatureType OID, attributes SET OF Attribute OPTIONAL, content ContentInfo }.
// Content of the type data goes into an OCTET STRING; content of any other type is given encoded.
std::string encode_time_request(const CRYPT_TIME_STAMP_REQUEST_INFO& request) {
    require(request.pszTimeStampAlgorithm != nullptr && request.pszContentType != nullptr,
            CRYPT_E_ASN1_BADARGS);
    std::string fields = element(tag::kOid, oid_contents(request.pszTimeStampAlgorithm));
    if (request.cAttribute != 0) {
        require(request.rgAttribute != nullptr, CRYPT_E_ASN1_BADARGS);
        std::vector<std::string> attributes;
        for (DWORD i = 0; i < request.cAttribute; ++i) {
            attributes.push_back(encode_attribute(request.rgAttribute[i]));
        }
        append_element(fields, tag::kSet, set_contents({attributes.begin(), attributes.end()}));
    }
    const std::string_view type = request.pszContentType;
    const bool data = type == kDataOid;
    const std::string content = data
                                    ? element(tag::kOctetString, text_of(bytes_of(request.Content)))
                                    : std::string(encoded_element(request.Content));
    std::string content_info = element(tag::kOid, oid_contents(type));
    append_element(content_info, tag::context_constructed(0), content);
    append_element(fields, tag::kSequence, content_info);
    return element(tag::kSequence, fields);
}

std::string encode_little_endian(const CRYPT_INTEGER_BLOB& blob) {
    require(blob.cbData != 0 && blob.pbData != nullptr, CRYPT_E_ASN1_BADARGS);
    const Bytes given = bytes_of(blob);
    const std::vector<BYTE> big_endian(given.rbegin(), given.rend());
    return element(tag::kInteger, text_of(minimal_integer(big_endian)));
}

std::string encode_int(int value) {
    BYTE octets[sizeof(value)];
    for (int i = 3; i >= 0; --i) {
        octets[i] = static_cast<BYTE>(value);
        value >>= 8;
    }
    return element(tag::kInteger, text_of(minimal_integer(octets)));
}

std::string encode(LPCSTR structure_type, const void* structure) {
    require(structure != nullptr);
    switch (reinterpret_cast<std::uintptr_t>(structure_type)) {
    case 18:
        return encode_time_request(*static_cast<const CRYPT_TIME_STAMP_REQUEST_INFO*>(structure));
    case 22:
        return encode_attribute(*static_cast<const CRYPT_ATTRIBUTE*>(structure));
    case 25:
        return element(tag::kOctetString,
                       text_of(bytes_of(*static_cast<const CRYPT_DATA_BLOB*>(structure))));
    case 27:
        return encode_int(*static_cast<const int*>(structure));
    case 28:
        return encode_little_endian(*static_cast<const CRYPT_INTEGER_BLOB*>(structure));
    default:
        fail(ERROR_FILE_NOT_FOUND);
    }
}

void decode_time_request(Bytes encoded, void* data, DWORD* size) {
    DerReader fields(sole_element(encoded, tag::kSequence).contents);
    const std::string algorithm = oid_text(fields.take(tag::kOid).contents);
    const Element attributes = fields.take_if(tag::kSet);
    DerReader content_info(fields.take(tag::kSequence).contents);
    fields.expect_end();
    const std::string type = oid_text(content_info.take(tag::kOid).contents);
    const Element content = sole_element(content_info.take(tag::context_constructed(0)).contents);
    content_info.expect_end();
    std::string storage;
    const bool is_data = type == kDataOid && (content.tag & ~0x20) == tag::kOctetString;
    const Bytes bytes = is_data ? octets_of(content, storage) : content.whole;
    const auto fill = [&](FlatBlock& block) {
        CRYPT_TIME_STAMP_REQUEST_INFO info{};
        const CRYPT_ATTRIBUTES list = lay_out_attributes(block, attributes);
        info.cAttribute = list.cAttr;
        info.rgAttribute = list.rgAttr;
        info.pszTimeStampAlgorithm = block.text(algorithm);
        info.pszContentType = block.text(type);
        info.Content = block.blob(bytes);
        return info;
    };
    give_block(
        [&](FlatBlock& block) { lay_out_record<CRYPT_TIME_STAMP_REQUEST_INFO>(block, fill); }, data,
        size);
}

void decode_attribute(Bytes encoded, void* data, DWORD* size) {
    sole_element(encoded, tag::kSequence);
    const std::vector<Attribute> attributes = read_attributes(encoded);
    const auto fill = [&](FlatBlock& block) { return lay_out(block, attributes.front()); };
    give_block([&](FlatBlock& block) { lay_out_record<CRYPT_ATTRIBUTE>(block, fill); }, data, size);
}

void decode_octets(Bytes encoded, void* data, DWORD* size) {
    const Element string = sole_element(encoded);
    require((string.tag & ~0x20) == tag::kOctetString, CRYPT_E_ASN1_BADTAG);
    std::string storage;
    const Bytes bytes = octets_of(string, storage);
    const auto fill = [&](FlatBlock& block) { return block.blob(bytes); };
    give_block([&](FlatBlock& block) { lay_out_record<CRYPT_DATA_BLOB>(block, fill); }, data, size);
}

void decode_int(Bytes encoded, void* data, DWORD* size) {
    const Bytes octets = minimal_integer(sole_element(encoded, tag::kInteger).contents);
    require(octets.size() <= sizeof(int), CRYPT_E_ASN1_LARGE);
    DWORD value = (octets[0] & 0x80) != 0 ? 0xFFFFFFFF : 0;
    for (const BYTE octet : octets) {
        value = (value << 8) | octet;
    }
    give_bytes({reinterpret_cast<const BYTE*>(&value), sizeof(value)}, data, size);
}

void decode_integer(Bytes encoded, void* data, DWORD* size) {
    const Bytes octets = minimal_integer(sole_element(encoded, tag::kInteger).contents);
    const auto fill = [&](FlatBlock& block) { return block.reversed(octets); };
    give_block([&](FlatBlock& block) { lay_out_record<CRYPT_INTEGER_BLOB>(block, fill); }, data,
               size);
}

void decode(LPCSTR structure_type, Bytes encoded, void* data, DWORD* size) {
    require(size != nullptr && (encoded.data() != nullptr || encoded.empty()));
    switch (reinterpret_cast<std::uintptr_t>(structure_type)) {
    case 18:
        return decode_time_request(encoded, data, size);
    case 22:
        return decode_attribute(encoded, data, size);
    case 25:
        return decode_octets(encoded, data, size);
    case 27:
        return decode_int(encoded, data, size);
    case 28:
        return decode_integer(encoded, data, size);
    case 501:
        return give_cms_signer_info(SignerInfo(encoded), data, size);
    default:
        fail(ERROR_FILE_NOT_FOUND);
    }
}

// A new block for a result of which `give(data, size)` tells size and contents; its address goes to
// `*out`.
template <class Give>
void give_allocated(Give&& give, void* out, DWORD* size) {
    require(out != nullptr && size != nullptr);
    give(nullptr, size);
    require(*size <= kRoomLimit, CRYPT_E_ASN1_LARGE);
    void* block = LocalAlloc(LMEM_FIXED, *size);
    require(block != nullptr, E_OUTOFMEMORY);
    try {
        give(block, size);
    } catch (...) {
        LocalFree(block);
        throw;
    }
    *static_cast<void**>(out) = block;
}

} // namespace

BOOL CryptEncodeObject(DWORD dwCertEncodingType, LPCSTR lpszStructType, const void* pvStructInfo,
                       BYTE* pbEncoded, DWORD* pcbEncoded) {
    return CryptEncodeObjectEx(dwCertEncodingType, lpszStructType, pvStructInfo, 0, nullptr,
                               pbEncoded, pcbEncoded);
}

BOOL CryptDecodeObject(DWORD dwCertEncodingType, LPCSTR lpszStructType, const BYTE* pbEncoded,
                       DWORD cbEncoded, DWORD dwFlags, void* pvStructInfo, DWORD* pcbStructInfo) {
    return CryptDecodeObjectEx(dwCertEncodingType, lpszStructType, pbEncoded, cbEncoded,
                               dwFlags & ~CRYPT_DECODE_ALLOC_FLAG, nullptr, pvStructInfo,
                               pcbStructInfo);
}

BOOL CryptEncodeObjectEx(DWORD, LPCSTR lpszStructType, const void* pvStructInfo, DWORD dwFlags,
                         void* pEncodePara, void* pvEncoded, DWORD* pcbEncoded) {
    return guarded<BOOL>(FALSE, [&] {
        require(pEncodePara == nullptr && pcbEncoded != nullptr);
        const std::string encoded = encode(lpszStructType, pvStructInfo);
        const auto give = [&](void* data, DWORD* size) {
            give_bytes(bytes_of(encoded), data, size);
        };
        if ((dwFlags & CRYPT_ENCODE_ALLOC_FLAG) != 0) {
            give_allocated(give, pvEncoded, pcbEncoded);
        } else {
            give(pvEncoded, pcbEncoded);
        }
        return TRUE;
    });
}

BOOL CryptDecodeObjectEx(DWORD, LPCSTR lpszStructType, const BYTE* pbEncoded, DWORD cbEncoded,
                         DWORD dwFlags, void* pDecodePara, void* pvStructInfo,
                         DWORD* pcbStructInfo) {
    return guarded<BOOL>(FALSE, [&] {
        require(pDecodePara == nullptr && pcbStructInfo != nullptr);
        const auto give = [&](void* data, DWORD* size) {
            decode(lpszStructType, {pbEncoded, cbEncoded}, data, size);
        };
        if ((dwFlags & CRYPT_DECODE_ALLOC_FLAG) != 0) {
            give_allocated(give, pvStructInfo, pcbStructInfo);
        } else {
            give(pvStructInfo, pcbStructInfo);
        }
        return TRUE;
    });
}
