// UTF-8 to wide text and back, and a count against it; wide text out of arbitrary bytes, to UTF-8
// and back. Aborts on a difference.
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <chronoseal/asn1rt/character_text.h>
#include <chronoseal/asn1rt/context.h>
#include <chronoseal/asn1rt/status.h>

namespace {

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

// In blocks of their exact size, so that the address sanitizer sees the first byte too far.
int to_utf8(ASN1CTXT& ctxt, const std::vector<wchar_t>& wide, std::vector<char>& out) {
    std::size_t size = 0;
    for (const wchar_t c : wide) {
        size += static_cast<std::size_t>(rtUTF8CharSize(static_cast<std::uint32_t>(c)));
    }
    out.resize(size);
    return rtWCSToUTF8(&ctxt, wide.data(), wide.size(), out.data(), out.size());
}

void check_text(ASN1CTXT& ctxt, const std::string& text) {
    const int characters = rtUTF8Len(text.c_str());
    std::vector<wchar_t> wide(characters > 0 ? static_cast<std::size_t>(characters) : 0);
    const int converted = rtUTF8ToWCS(&ctxt, text.c_str(), wide.data(), wide.size());
    if (converted < 0) {
        return;
    }
    require(converted == characters);
    require(characters == 0 ||
            rtUTF8ToWCS(&ctxt, text.c_str(), wide.data(), wide.size() - 1) == -1);
    std::vector<char> again;
    const int bytes = to_utf8(ctxt, wide, again);
    require(bytes >= 0 && static_cast<std::size_t>(bytes) <= text.size());
    // Overlong forms come back shorter; any other text comes back as it was.
    require(static_cast<std::size_t>(bytes) < text.size() ||
            std::string(again.begin(), again.end()) == text);
    ASN1TUniversalText record{};
    const std::wstring terminated(wide.begin(), wide.end());
    require(rtWCSToUCSString(&ctxt, terminated.c_str(), &record, nullptr) == &record);
    std::vector<wchar_t> back(record.nchars + 1);
    rtUCSToWCSString(&record, back.data(), back.size());
    require(std::wcslen(back.data()) <= record.nchars);
}

void check_wide(ASN1CTXT& ctxt, const unsigned char* data, std::size_t size) {
    std::vector<wchar_t> wide;
    bool valid = true;
    for (; size >= sizeof(wchar_t); data += sizeof(wchar_t), size -= sizeof(wchar_t)) {
        wchar_t character = 0;
        std::memcpy(&character, data, sizeof character);
        character = character == 0 ? 1 : character;
        valid = valid && character > 0;
        wide.push_back(character);
    }
    std::vector<char> bytes;
    const int written = to_utf8(ctxt, wide, bytes);
    require(valid ? written == static_cast<int>(bytes.size()) : written == rtStatusInvalidUTF8);
    if (valid) {
        bytes.push_back('\0');
        std::vector<wchar_t> again(wide.size());
        require(rtUTF8Len(bytes.data()) == static_cast<int>(wide.size()));
        require(rtUTF8ToWCS(&ctxt, bytes.data(), again.data(), again.size()) ==
                static_cast<int>(wide.size()));
        require(again == wide);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    ASN1CTXT ctxt;
    require(rtInitContext(&ctxt, nullptr) == 0);
    const std::string input(reinterpret_cast<const char*>(data), size);
    check_text(ctxt, input.c_str());
    check_wide(ctxt, data, size);
    const std::vector<char> exact(input.begin(), input.end());
    for (std::size_t at = 0; at < exact.size(); ++at) {
        std::size_t used = exact.size() - at;
        const std::int32_t character = rtUTF8DecodeChar(nullptr, exact.data() + at, &used);
        require(character >= 0 ? used >= 1 && used <= 6 && used <= exact.size() - at
                               : used == exact.size() - at);
    }
    rtFreeContext(&ctxt);
    return 0;
}
