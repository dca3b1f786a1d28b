// A blob's ways in and out as file and as hexadecimal text.
#include <cctype>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <sys/stat.h>

#include <basalt/error_codes.h>
#include <basalt/text_conversion.h>
#include <chronoseal/base/atl_exception.h>
#include <chronoseal/base/blob.h>
#include <chronoseal/base/system_error.h>

namespace Halcyon {

namespace {

constexpr std::int32_t kCannotOpen = hr(of_system_error(ERROR_FILE_NOT_FOUND));
constexpr std::int32_t kCannotRead = hr(of_system_error(ERROR_FILE_CORRUPT));

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

File open_file(const char* path, const char* mode) {
    return File(std::fopen(path, mode), &std::fclose);
}

std::string narrow_path(const wchar_t* path) {
    const int size = WideCharToMultiByte(0, 0, path, -1, nullptr, 0, nullptr, nullptr);
    if (size <= 0) {
        ATL::AtlThrowImpl(result_from_last_error(kCannotRead));
    }
    std::string narrow(static_cast<std::size_t>(size), '\0');
    if (WideCharToMultiByte(0, 0, path, -1, narrow.data(), size, nullptr, nullptr) == 0) {
        ATL::AtlThrowImpl(result_from_last_error(kCannotRead));
    }
    return narrow;
}

// The file's whole content in `content`; false if it can't be read. A folder opens like a file but
// reports a size without meaning, so it is refused before any memory is taken for it.
bool read_all(std::FILE* file, std::vector<unsigned char>& content) {
    struct stat info {};
    if (::fstat(::fileno(file), &info) != 0 || S_ISDIR(info.st_mode) ||
        std::fseek(file, 0, SEEK_END) != 0) {
        return false;
    }
    const long end = std::ftell(file);
    if (end < 0 || std::fseek(file, 0, SEEK_SET) != 0) {
        return false;
    }
    content.resize(static_cast<std::uint32_t>(end));
    return content.empty() || std::fread(content.data(), 1, content.size(), file) == content.size();
}

int digit_value(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return -1;
}

const char* skip_space(const char* text) {
    while (std::isspace(static_cast<unsigned char>(*text))) {
        ++text;
    }
    return text;
}

} // namespace

void CBlob::readFromFile(const char* path) {
    const auto file = open_file(path, "rb");
    if (!file) {
        clear();
        ATL::AtlThrowImpl(kCannotOpen);
    }
    std::vector<unsigned char> content;
    if (!read_all(file.get(), content)) {
        clear();
        ATL::AtlThrowImpl(kCannotRead);
    }
    assign(content.data(), content.size());
}

void CBlob::readFromFile(const wchar_t* path) {
    readFromFile(narrow_path(path).c_str());
}

void CBlob::writeToFile(const char* path) const {
    const auto file = open_file(path, "wb");
    if (!file) {
        ATL::AtlThrowImpl(kCannotOpen);
    }
    if (cbData_ != 0) {
        // Whether all of it arrives is not reported: a caller who has to know reads the file back.
        [[maybe_unused]] const auto written = std::fwrite(pbData_, 1, cbData_, file.get());
    }
}

void CBlob::writeToFile(const wchar_t* path) const {
    writeToFile(narrow_path(path).c_str());
}

void CBlob::readFromHexString(const char* text) {
    text = text ? text : "";
    const auto pairs = std::strlen(text) / 2;
    if (cbData_ <= pairs) {
        resize_to(pairs + 1);
    }
    clear();
    text = skip_space(text);
    while (*text != '\0') {
        const int high = digit_value(text[0]);
        const int low = high < 0 ? -1 : digit_value(text[1]);
        if (low < 0) {
            break;
        }
        pbData_[cbData_++] = static_cast<unsigned char>(high << 4 | low);
        text = skip_space(text + 2);
    }
}

CStringProxy CBlob::writeToHexString(unsigned long groupSize) const {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    text.reserve(cbData_ * 2 + (groupSize != 0 ? cbData_ / groupSize : 0));
    for (unsigned long i = 0; i < cbData_; ++i) {
        if (groupSize != 0 && i != 0 && i % groupSize == 0) {
            text += ' ';
        }
        text += kDigits[pbData_[i] >> 4];
        text += kDigits[pbData_[i] & 0x0F];
    }
    return {text.c_str()};
}

} // namespace Halcyon
