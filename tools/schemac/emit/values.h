// How the parts of a record are named, typed, coded and checked in generated code. All emitters of
// functions stand on this.
#pragma once

#include <string>

#include "schemac/emit/writer.h"
#include "schemac/model.h"

namespace schemac::emit {

/// An lvalue of generated code in its three forms, and the text that names it in a failed
/// constraint.
struct Access {
    std::string value;   ///< `pvalue->x`
    std::string address; ///< `&pvalue->x`
    std::string member;  ///< `pvalue->x.`: what a member's name is put behind
    std::string path;
    std::string path_member;
};

/// The value behind the function's own pointer.
Access self_access(const std::string& pointer = "pvalue");
Access field_access(const model::Field& field, const std::string& pointer = "pvalue");
Access alternative_access(const model::Field& field, const std::string& pointer = "pvalue");
Access element_access();
Access array_access(const std::string& pointer = "pvalue");

/// `class X : public Base {`, the base on a line of its own when it doesn't fit.
void open_class(Writer& writer, const std::string& name, const std::string& base);

std::string record_name(const model::Family& family);
std::string control_name(const model::Family& family);

/// The C++ type of a value, `const char*` for text. Empty for NULL without a family.
std::string value_type(const model::Use& use);
/// A member of a record with its initializer, or empty for NULL.
std::string member(const model::Use& use, const std::string& name);
/// A member of a CHOICE's union, or empty.
std::string union_member(const model::Use& use, const std::string& name);

bool has_storage(const model::Use& use);
/// Text stands in a union as the pointer that it is; other values are pointed at.
bool is_text_pointer(const model::Use& use);
/// A CHOICE that has no tag of its own reads and writes its alternative's.
bool is_untagged_choice(const model::Use& use);

/// Checks, then `n = ...;` with the value's own tag and all tags of the use.
void encode_value(Writer& writer, const model::Use& use, const Access& access);
/// Contents only, or with the own tag, as the word in `tagging` says.
std::string encode_call(const model::Use& use, const Access& access, const std::string& tagging);
void check_before_encoding(Writer& writer, const model::Use& use, const Access& access);

/// `stat = ...;` for a value at whose first tag the cursor stands.
void decode_value(Writer& writer, const model::Use& use, const Access& access);
/// A call for contents whose header has been read, and which have to end where that says.
std::string entered_call(const model::Use& use, const Access& access, const std::string& length);
/// As decode_value when the first tag has been read and its length is in `inner`.
void decode_entered(Writer& writer, const model::Use& use, const Access& access);
std::string decode_call(const model::Use& use, const Access& access, const std::string& tagging,
                        const std::string& length);
/// A call with the own tag behind which no end-of-contents is left.
std::string closed_call(const model::Use& use, const Access& access);
/// Makes a fixed array's capacity known before it is decoded into.
void prepare_decoding(Writer& writer, const model::Use& use, const Access& access);

/// The -23 of a size or range that is written at this spot.
void check_value(Writer& writer, const model::Use& use, const Access& access);
/// The -6 of an ENUMERATED without a family of its own.
void check_enumerator(Writer& writer, const model::Use& use, const Access& access);
void check_count(Writer& writer, const model::Family& family);

/// `if (stat != 0) return failed(...)`, and the same for a negative `n`.
void return_failed_stat(Writer& writer);
void return_failed_length(Writer& writer);

} // namespace schemac::emit
