// Names of certificates as text.
#include <basalt/name_text.h>

#include <basalt/coding/der_reader.h>
#include <basalt/coding/flat_block.h>
#include <basalt/sup/hexadecimal.h>
#include <basalt/text_conversion.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace basalt;

constexpr DWORD kFormMask = 0xFF;

struct ShortName {
    std::string_view oid;
    std::string_view name;
};

constexpr ShortName kShortNames[] = {
    {"2.5.4.3", "CN"},
    {"2.5.4.4", "SN"},
    {"2.5.4.5", "SERIALNUMBER"},
    {"2.5.4.6", "C"},
    {"2.5.4.7", "L"},
    {"2.5.4.8", "S"},
    {"2.5.4.9", "STREET"},
    {"2.5.4.10", "O"},
    {"2.5.4.11", "OU"},
    {"2.5.4.12", "T"},
    {"2.5.4.42", "G"},
    {"2.5.4.43", "I"},
    {"0.9.2342.19200300.100.1.25", "DC"},
    {"1.2.840.113549.1.9.1", "E"},
};

std::wstring widen(std::string_view utf8) {
    if (utf8.empty()) {
        return {};
    }
    const auto length = static_cast<int>(utf8.size());
    std::wstring out(utf8.size(), L'\0');
    const int size = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), length, out.data(), length);
    out.resize(static_cast<std::size_t>(std::max(size, 0)));
    return out;
}

std::string narrow(std::wstring_view text) {
    if (text.empty()) {
        return {};
    }
    const auto length = static_cast<int>(text.size());
    const int size =
        WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::string out(static_cast<std::size_t>(std::max(size, 0)), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), length, out.data(), size, nullptr, nullptr);
    return out;
}

// BMPString: UTF-16, whose pairs of surrogates some writers put into it.
std::wstring from_utf16(Bytes bytes) {
    std::wstring out;
    const auto unit = [&](std::size_t at) {
        return static_cast<std::uint32_t>(bytes[at] << 8 | bytes[at + 1]);
    };
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        std::uint32_t point = unit(i);
        if (point >= 0xD800 && point < 0xDC00 && i + 3 < bytes.size() &&
            (unit(i + 2) & 0xFC00) == 0xDC00) {
            point = 0x10000 + ((point - 0xD800) << 10) + (unit(i + 2) - 0xDC00);
            i += 2;
        }
        out.push_back(static_cast<wchar_t>(point));
    }
    return out;
}

std::wstring from_ucs4(Bytes bytes) {
    std::wstring out;
    for (std::size_t i = 0; i + 3 < bytes.size(); i += 4) {
        std::uint32_t point = 0;
        for (const BYTE octet : bytes.subspan(i, 4)) {
            point = point << 8 | octet;
        }
        out.push_back(static_cast<wchar_t>(point <= 0x10FFFF ? point : 0xFFFD));
    }
    return out;
}

std::wstring number_sign_text(Bytes bytes) {
    const std::string digits = hexadecimal(bytes, HexCase::kUpper);
    return L"#" + std::wstring(digits.begin(), digits.end());
}

bool needs_quotes(std::wstring_view value) {
    const auto blank = [](wchar_t c) { return c == L' ' || c == L'\t'; };
    return value.empty() || blank(value.front()) || blank(value.back()) ||
           value.find_first_of(L",+=\"\n\r<>#;") != std::wstring_view::npos;
}

std::wstring quoted(std::wstring_view value) {
    std::wstring out = L"\"";
    for (const wchar_t c : value) {
        out.append(c == L'"' ? 2 : 1, c);
    }
    return out + L'"';
}

// The value of a DirectoryString or another string type (X.520), else its bytes.
std::wstring value_text(const Element& value, DWORD flags) {
    std::wstring text;
    switch (value.tag) {
    case 0x0C: // UTF8String
        text = widen({reinterpret_cast<const char*>(value.contents.data()), value.contents.size()});
        break;
    case 0x12: // NumericString, PrintableString, TeletexString (as Latin-1), IA5String,
               // VisibleString
    case 0x13:
    case 0x14:
    case 0x16:
    case 0x1A:
        text.assign(value.contents.begin(), value.contents.end());
        break;
    case 0x1C:
        text = from_ucs4(value.contents);
        break;
    case 0x1E:
        text = from_utf16(value.contents);
        break;
    default:
        return number_sign_text(value.whole);
    }
    const bool quotes = (flags & CERT_NAME_STR_NO_QUOTING_FLAG) == 0 && needs_quotes(text);
    return quotes ? quoted(text) : text;
}

std::wstring type_text(Bytes oid, DWORD form) {
    const std::string dotted = oid_text(oid);
    if (form == CERT_OID_NAME_STR) {
        return widen(dotted) + L'=';
    }
    const auto* known = std::find_if(std::begin(kShortNames), std::end(kShortNames),
                                     [&](const ShortName& entry) { return entry.oid == dotted; });
    const std::string name =
        known != std::end(kShortNames) ? std::string(known->name) : "OID." + dotted;
    return widen(name) + L'=';
}

// RelativeDistinguishedName (RFC 5280 4.1.2.4).
std::wstring part_text(Bytes set, DWORD type) {
    const DWORD form = type & kFormMask;
    const wchar_t* plus = (type & CERT_NAME_STR_NO_PLUS_FLAG) != 0 ? L" " : L" + ";
    std::wstring out;
    DerReader pairs(set);
    while (!pairs.at_end()) {
        DerReader pair(pairs.take(tag::kSequence).contents);
        const Bytes oid = pair.take(tag::kOid).contents;
        const Element value = pair.take();
        pair.expect_end();
        out += out.empty() ? L"" : plus;
        out += form == CERT_SIMPLE_NAME_STR ? L"" : type_text(oid, form);
        out += value_text(value, type);
    }
    return out;
}

std::wstring name_text(const CERT_NAME_BLOB* name, DWORD type) {
    require(name != nullptr);
    const DWORD form = type & kFormMask;
    require(form >= CERT_SIMPLE_NAME_STR && form <= CERT_X500_NAME_STR);
    std::vector<std::wstring> parts;
    DerReader list(sole_element(bytes_of(*name), tag::kSequence).contents);
    while (!list.at_end()) {
        parts.push_back(part_text(list.take(tag::kSet).contents, type));
    }
    if ((type & CERT_NAME_STR_REVERSE_FLAG) != 0) {
        std::reverse(parts.begin(), parts.end());
    }
    const wchar_t* between = (type & CERT_NAME_STR_CRLF_FLAG) != 0        ? L"\r\n"
                             : (type & CERT_NAME_STR_SEMICOLON_FLAG) != 0 ? L"; "
                                                                          : L", ";
    std::wstring out;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        out += i == 0 ? L"" : between;
        out += parts[i];
    }
    return out;
}

template <class Char>
DWORD give_text(const std::basic_string<Char>& text, Char* out, DWORD room) {
    const auto needed = static_cast<DWORD>(text.size() + 1);
    if (out == nullptr || room == 0) {
        return needed;
    }
    const DWORD given = std::min(needed, room);
    std::copy_n(text.begin(), given - 1, out);
    out[given - 1] = Char{};
    return given;
}

} // namespace

DWORD CertNameToStrA(DWORD, CERT_NAME_BLOB* pName, DWORD dwStrType, LPSTR psz, DWORD csz) {
    std::string text;
    guarded(false, [&] {
        text = narrow(name_text(pName, dwStrType));
        return true;
    });
    return give_text(text, psz, csz);
}

DWORD CertNameToStrW(DWORD, CERT_NAME_BLOB* pName, DWORD dwStrType, LPWSTR psz, DWORD csz) {
    std::wstring text;
    guarded(false, [&] {
        text = name_text(pName, dwStrType);
        return true;
    });
    return give_text(text, psz, csz);
}
