// Text to bytes: the first byte of the input chooses the form, the rest is the text. What decodes
// has to decode to the same bytes again after it was encoded, and both widths of text have to
// agree.
#include <basalt/binary_string.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<BYTE>;

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

// True with the bytes, false for text that is none of the form.
bool decode(const std::string& text, DWORD form, Bytes& bytes) {
    DWORD size = 0;
    const auto length = static_cast<DWORD>(text.size());
    if (CryptStringToBinaryA(text.data(), length, form, nullptr, &size, nullptr, nullptr) ==
        FALSE) {
        return false;
    }
    bytes.resize(size);
    DWORD skipped = 0;
    require(CryptStringToBinaryA(text.data(), length, form, bytes.data(), &size, &skipped,
                                 nullptr) != FALSE);
    require(size == bytes.size() && skipped < length);
    return true;
}

void check_wide(const std::string& text, DWORD form, bool good, const Bytes& bytes) {
    std::wstring wide;
    for (const char c : text) {
        wide += static_cast<wchar_t>(static_cast<unsigned char>(c));
    }
    DWORD size = static_cast<DWORD>(bytes.size());
    Bytes again(bytes.size());
    const BOOL result =
        CryptStringToBinaryW(wide.data(), static_cast<DWORD>(wide.size()), form,
                             good ? again.data() : nullptr, &size, nullptr, nullptr);
    require((result != FALSE) == good && again == bytes);
}

void check_round_trip(const Bytes& bytes, DWORD form) {
    DWORD size = 0;
    const auto count = static_cast<DWORD>(bytes.size());
    require(CryptBinaryToStringA(bytes.data(), count, form, nullptr, &size) != FALSE);
    std::string text(size, '\0');
    require(CryptBinaryToStringA(bytes.data(), count, form, text.data(), &size) != FALSE);
    text.resize(size);
    Bytes again;
    require(decode(text, form, again) && again == bytes);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr DWORD kForms[] = {CRYPT_STRING_BASE64HEADER, CRYPT_STRING_BASE64,
                                CRYPT_STRING_BASE64_ANY, CRYPT_STRING_HEXRAW};
    if (size < 2) {
        return 0; // a length of 0 would mean text with an end mark
    }
    const DWORD form = kForms[data[0] % std::size(kForms)];
    const std::string text(data + 1, data + size);
    Bytes bytes;
    const bool good = decode(text, form, bytes);
    check_wide(text, form, good, bytes);
    if (good && !bytes.empty()) {
        check_round_trip(bytes, form == CRYPT_STRING_BASE64_ANY ? CRYPT_STRING_BASE64 : form);
    }
    return 0;
}
