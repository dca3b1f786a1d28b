// Names only: no lookups, no state.
#include "schemac/naming.h"

#include <algorithm>
#include <array>

namespace schemac::naming {
namespace {

// The words of C++20 that begin with a letter, as ASN.1 names do.
constexpr std::array<std::string_view, 92> kKeywords = {
    "alignas",       "alignof",     "and",
    "and_eq",        "asm",         "auto",
    "bitand",        "bitor",       "bool",
    "break",         "case",        "catch",
    "char",          "char16_t",    "char32_t",
    "char8_t",       "class",       "co_await",
    "co_return",     "co_yield",    "compl",
    "concept",       "const",       "const_cast",
    "consteval",     "constexpr",   "constinit",
    "continue",      "decltype",    "default",
    "delete",        "do",          "double",
    "dynamic_cast",  "else",        "enum",
    "explicit",      "export",      "extern",
    "false",         "float",       "for",
    "friend",        "goto",        "if",
    "inline",        "int",         "long",
    "mutable",       "namespace",   "new",
    "noexcept",      "not",         "not_eq",
    "nullptr",       "operator",    "or",
    "or_eq",         "private",     "protected",
    "public",        "register",    "reinterpret_cast",
    "requires",      "return",      "short",
    "signed",        "sizeof",      "static",
    "static_assert", "static_cast", "struct",
    "switch",        "template",    "this",
    "thread_local",  "throw",       "true",
    "try",           "typedef",     "typeid",
    "typename",      "union",       "unsigned",
    "using",         "virtual",     "void",
    "volatile",      "wchar_t",     "while",
    "xor",           "xor_eq"};

} // namespace

std::string identifier(std::string_view asn1_name) {
    std::string result(asn1_name);
    std::replace(result.begin(), result.end(), '-', '_');
    if (std::find(kKeywords.begin(), kKeywords.end(), result) != kKeywords.end()) {
        result += '_';
    }
    return result;
}

std::string nested(std::string_view outer, std::string_view field) {
    std::string result(outer);
    result += '_';
    for (const char c : field) {
        result += c == '-' ? '_' : c;
    }
    return result;
}

std::string list_of(bool is_set, std::string_view element) {
    return (is_set ? "_SetOf" : "_SeqOf") + std::string(element);
}

std::string element_of(std::string_view list) {
    return std::string(list) + "_element";
}

std::string object_type(std::string_view object, std::string_view suffix) {
    return "_" + std::string(object) + "_" + std::string(suffix);
}

std::string presence_bit(std::string_view field) {
    return std::string(field) + "Present";
}

} // namespace schemac::naming
