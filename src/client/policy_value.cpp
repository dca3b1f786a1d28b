// Reading of policy values from the configuration tree.
#include <chronoseal/client/policy_value.h>

#include <array>
#include <cwchar>
#include <vector>

#include <basalt/configuration.h>
#include <basalt/last_error.h>
#include <basalt/text_conversion.h>
#include <chronoseal/base/atl_exception.h>
#include <chronoseal/client/trace.h>

namespace Halcyon::PKI {

namespace {

using Path = std::array<char, 100>;

// Policy values carry the last error as it stands, without the mapping of other failures.
[[noreturn]] void throw_raw_last_error() {
    ATL::AtlThrowImpl(static_cast<int>(GetLastError()));
}

Path path_of(const wchar_t* folder, const wchar_t* name) {
    const std::wstring wide = std::wstring(L"\\config\\cades\\") + folder + L'\\' + name;
    Path path{};
    if (WideCharToMultiByte(CP_ACP, 0, wide.c_str(), -1, path.data(), static_cast<int>(path.size()),
                            nullptr, nullptr) == 0) {
        throw_raw_last_error();
    }
    trace("Load", "Loading policy \"%s\" ...\n", path.data());
    return path;
}

std::string utf8(const wchar_t* text) {
    const int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    if (size == 0) {
        throw_raw_last_error();
    }
    std::string narrow(static_cast<std::size_t>(size), '\0');
    if (WideCharToMultiByte(CP_UTF8, 0, text, -1, narrow.data(), size, nullptr, nullptr) == 0) {
        throw_raw_last_error();
    }
    return narrow;
}

// All characters of `narrow`, zeros included.
std::wstring widen(const std::vector<char>& narrow) {
    const int length = static_cast<int>(narrow.size());
    const int size = MultiByteToWideChar(CP_ACP, 0, narrow.data(), length, nullptr, 0);
    if (size == 0) {
        throw_raw_last_error();
    }
    std::wstring wide(static_cast<std::size_t>(size), L'\0');
    if (MultiByteToWideChar(CP_ACP, 0, narrow.data(), length, wide.data(), size) == 0) {
        throw_raw_last_error();
    }
    return wide;
}

using Read = int (*)(const char*, std::size_t*, char*) noexcept;

// The value of `size` bytes with the end mark behind it.
std::vector<char> read_text(Read read, const Path& path, std::size_t size,
                            const char* failure_text) {
    std::vector<char> text(size + 1, '\0');
    if (const int result = read(path.data(), &size, text.data()); result != 0) {
        trace("Load", failure_text, path.data());
        ATL::AtlThrowImpl(result);
    }
    return text;
}

std::wstring normalized(const std::wstring& entry) {
    std::wstring result;
    for (const wchar_t c : entry) {
        if (c == L' ') {
            continue;
        }
        result += c >= L'a' && c <= L'z' ? static_cast<wchar_t>(c - L'a' + L'A') : c;
    }
    return result;
}

} // namespace

void CGPBool::Load(wchar_t*& /*unused*/, wchar_t*& folder, const wchar_t* name, bool defaultValue) {
    const auto path = path_of(folder, name);
    int number = 0;
    if (support_registry_get_bool(path.data(), &number) == 0) {
        value = number != 0;
        return;
    }
    value = defaultValue;
    trace("Load", "Loading default value of policy \"%s\" ...\n", path.data());
}

void CGPLong::Load(wchar_t*& /*unused*/, wchar_t*& folder, const wchar_t* name, long defaultValue) {
    const auto path = path_of(folder, name);
    long number = 0;
    if (support_registry_get_long(path.data(), &number) == 0) {
        value = number;
        return;
    }
    value = defaultValue;
    trace("Load", "Loading default value of policy \"%s\" ...\n", path.data());
}

void CGPString::Load(wchar_t*& /*unused*/, wchar_t*& folder, const wchar_t* name) {
    const auto path = path_of(folder, name);
    std::size_t size = 0;
    if (support_registry_get_string(path.data(), &size, nullptr) != 0) {
        trace("Load", "Loading policy \"%s\" ... param not found\n", path.data());
        return;
    }
    const auto shown_name = utf8(name);
    const auto text =
        read_text(&support_registry_get_string, path, size, "Loading policy failed \"%s\" ...\n");
    value = widen(text);
    value.resize(std::wcslen(value.c_str()));
    trace("Load", "Loading policy \"%s\" succeeded (%s).\n", shown_name.c_str(), text.data());
}

void CGPStrings::Load(wchar_t*& /*unused*/, wchar_t*& folder, const wchar_t* name,
                      const wchar_t* /*settedName*/, bool normalize) {
    isSet = false;
    const auto path = path_of(folder, name);
    std::size_t size = 0;
    if (support_registry_get_multi_string(path.data(), &size, nullptr) != 0) {
        trace("Load", "Loading multistring policy \"%s\" ... param not found\n", path.data());
        values.clear();
        return;
    }
    const auto text = read_text(&support_registry_get_multi_string, path, size,
                                "Loading multistring policy failed \"%s\" ...\n");
    isSet = true;
    auto wide = widen(text);
    wide.pop_back(); // the end mark behind the list, which closes no entry
    for (std::size_t start = 0, end; (end = wide.find(L'\0', start)) != std::wstring::npos;
         start = end + 1) {
        const auto entry = wide.substr(start, end - start);
        values.insert(normalize ? normalized(entry) : entry);
    }
    trace("Load", "Loading multistring policy \"%s\" succeeded.\n", path.data());
}

bool CGPStrings::Find(const wchar_t* text) const {
    return values.contains(text);
}

} // namespace Halcyon::PKI
