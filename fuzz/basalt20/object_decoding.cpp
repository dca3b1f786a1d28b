// Single structures: the first byte chooses the type. What decodes and can be encoded again decodes
// to the same, and the encoding of the second round is that of the first.
#include <basalt/object_coding.h>

#include <cstdlib>
#include <vector>

namespace {

void check(bool condition) {
    if (!condition) {
        std::abort();
    }
}

std::vector<BYTE> decode(LPCSTR type, const BYTE* data, std::size_t size) {
    DWORD needed = 0;
    if (!CryptDecodeObject(1, type, data, static_cast<DWORD>(size), 0, nullptr, &needed)) {
        return {};
    }
    std::vector<BYTE> record(needed);
    check(CryptDecodeObject(1, type, data, static_cast<DWORD>(size), 0, record.data(), &needed));
    check(needed == record.size());
    return record;
}

std::vector<BYTE> encode(LPCSTR type, const std::vector<BYTE>& record) {
    DWORD needed = 0;
    if (!CryptEncodeObject(1, type, record.data(), nullptr, &needed)) {
        return {};
    }
    std::vector<BYTE> encoded(needed);
    check(CryptEncodeObject(1, type, record.data(), encoded.data(), &needed));
    return encoded;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const LPCSTR types[] = {PKCS_TIME_REQUEST, PKCS_ATTRIBUTE,          X509_OCTET_STRING,
                            X509_INTEGER,      X509_MULTI_BYTE_INTEGER, CMS_SIGNER_INFO};
    if (size == 0) {
        return 0;
    }
    const LPCSTR type = types[data[0] % std::size(types)];
    const std::vector<BYTE> record = decode(type, data + 1, size - 1);
    if (record.empty() || type == CMS_SIGNER_INFO) {
        return 0;
    }
    const std::vector<BYTE> encoded = encode(type, record);
    if (!encoded.empty()) {
        const std::vector<BYTE> again = decode(type, encoded.data(), encoded.size());
        check(!again.empty());
        check(encode(type, again) == encoded);
    }
    return 0;
}
