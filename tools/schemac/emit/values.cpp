// Names, types and accesses.
#include "schemac/emit/values.h"

#include "schemac/naming.h"
#include "schemac/tagging.h"

namespace schemac::emit {

using model::Family;
using model::Rep;
using model::Use;

Access self_access(const std::string& pointer) {
    return {cat("*", pointer), pointer, cat(pointer, "->"), cat("*", pointer), cat(pointer, "->")};
}

Access field_access(const model::Field& field, const std::string& pointer) {
    const std::string value = cat(pointer, "->", field.name);
    return {value, cat("&", value), cat(value, "."), value, cat(value, ".")};
}

Access alternative_access(const model::Field& field, const std::string& pointer) {
    const std::string value = cat(pointer, "->u.", field.name);
    if (is_text_pointer(field.use)) {
        return {value, cat("&", value), cat(value, "."), value, cat(value, ".")};
    }
    return {cat("*", value), value, cat(value, "->"), value, cat(value, ".")};
}

Access element_access() {
    return {"*element", "element", "element->", "*element", "element->"};
}

Access array_access(const std::string& pointer) {
    const std::string value = cat(pointer, "->elem[i]");
    return {value, cat("&", value), cat(value, "."), cat(pointer, "->elem"), cat(value, ".")};
}

std::string record_name(const Family& family) {
    return cat("ASN1T_", family.name);
}
std::string control_name(const Family& family) {
    return cat("ASN1C_", family.name);
}

namespace {

std::string inline_bits_type(const model::Simple& simple) {
    return cat("struct { std::uint32_t numbits; unsigned char data[",
               std::to_string((simple.bits + 7) / 8), "]; }");
}

std::string simple_type(const model::Simple& simple) {
    switch (simple.rep) {
    case Rep::boolean:
        return "unsigned char";
    case Rep::int32:
        return "std::int32_t";
    case Rep::uint32:
    case Rep::enumerated:
        return "std::uint32_t";
    case Rep::uint16:
        return "std::uint16_t";
    case Rep::big_text:
    case Rep::big_uint_text:
    case Rep::text:
        return "const char*";
    case Rep::null:
        return "";
    case Rep::oid:
        return "ASN1TObjId";
    case Rep::dyn_bits:
        return "ASN1TDynBitStr";
    case Rep::inline_bits:
        return inline_bits_type(simple);
    case Rep::octets:
        return simple.typed ? "Asn1TObject" : "ASN1TDynOctStr";
    case Rep::text16:
        return "ASN1TBMPText";
    case Rep::text32:
        return "ASN1TUniversalText";
    case Rep::open:
        return simple.typed ? "Asn1TObject" : "ASN1TOpenType";
    }
    return "";
}

} // namespace

void open_class(Writer& writer, const std::string& name, const std::string& base) {
    constexpr std::size_t kRoom = 98; // and a brace behind a blank
    const std::string line = cat("class ", name, " : public ", base);
    if (line.size() <= kRoom) {
        writer.open(line);
        return;
    }
    writer.line(cat("class ", name));
    writer.open(cat("    : public ", base));
}

std::string value_type(const Use& use) {
    return use.family != nullptr ? record_name(*use.family) : simple_type(use.simple);
}

std::string member(const Use& use, const std::string& name) {
    if (!has_storage(use)) {
        return "";
    }
    const model::Simple* simple = simple_of(use);
    const bool has_constructor = simple == nullptr || simple->rep == Rep::oid;
    return cat(value_type(use), " ", name, has_constructor ? ";" : "{};");
}

std::string union_member(const Use& use, const std::string& name) {
    if (!has_storage(use)) {
        return "";
    }
    return cat(value_type(use), is_text_pointer(use) ? " " : "* ", name, ";");
}

bool has_storage(const Use& use) {
    const model::Simple* simple = simple_of(use);
    return simple == nullptr || simple->rep != Rep::null;
}

bool is_text_pointer(const Use& use) {
    const model::Simple* simple = simple_of(use);
    return simple != nullptr && (simple->rep == Rep::text || simple->rep == Rep::big_text ||
                                 simple->rep == Rep::big_uint_text);
}

bool is_untagged_choice(const Use& use) {
    return use.family != nullptr && structure_of(use) != nullptr && !outer_tag(*use.family);
}

void return_failed_stat(Writer& writer) {
    writer.open("if (stat != 0)");
    writer.line("return failed(ctx, stat);");
    writer.close();
}

void return_failed_length(Writer& writer) {
    writer.open("if (n < 0)");
    writer.line("return failed(ctx, n);");
    writer.close();
}

} // namespace schemac::emit
