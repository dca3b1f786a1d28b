// Value records: their members, constructors, copies.
#include "schemac/emit/functions.h"
#include "schemac/emit/values.h"
#include "schemac/naming.h"

namespace schemac::emit {

using model::Family;
using model::Field;
using model::Rep;

bool has_own_record(const Family& family) {
    if (family.kind != Family::Kind::wrapped) {
        return true;
    }
    return family.body.family == nullptr &&
           (family.body.simple.rep == Rep::inline_bits || family.body.simple.rep == Rep::null);
}

bool has_own_control(const Family& family) {
    return !(family.is_alias() && family.body.family != nullptr);
}

namespace {

void presence_bits(Writer& header, const Family& family) {
    bool any = false;
    for (const Field& field : family.fields) {
        if (field.presence == Field::Presence::optional) {
            if (!any) {
                header.open("struct");
                any = true;
            }
            header.line(cat("unsigned ", naming::presence_bit(field.name), " : 1;"));
        }
    }
    if (any) {
        header.close(" m{};");
    }
}

void members(Writer& header, const Family& family) {
    switch (family.kind) {
    case Family::Kind::sequence:
    case Family::Kind::set:
        presence_bits(header, family);
        for (const Field& field : family.fields) {
            const std::string text = member(field.use, field.name);
            if (text.empty()) {
                continue;
            }
            if (field.default_true) {
                header.line(cat(value_type(field.use), " ", field.name, "{1};"));
            } else {
                header.line(text);
            }
        }
        if (family.extensible) {
            header.line("ASN1TSeqOfList extElem1{};");
        }
        break;
    case Family::Kind::choice: {
        header.line("std::uint32_t t = 0;");
        header.open("union");
        bool any = false;
        for (std::size_t i = 0; i < family.fields.size(); ++i) {
            const std::string text = union_member(family.fields[i].use, family.fields[i].name);
            if (!text.empty()) {
                header.line(cat(text, " // ", std::to_string(i + 1)));
                any = true;
            }
        }
        if (!any) {
            header.line("void* none;");
        }
        header.close(" u{};");
        break;
    }
    case Family::Kind::array:
        header.line("std::uint32_t n = 0;");
        header.line(cat(value_type(family.body), "* elem = nullptr;"));
        break;
    case Family::Kind::wrapped:
        if (family.body.simple.rep == Rep::inline_bits) {
            header.line(cat("static constexpr std::uint32_t capacity = ",
                            std::to_string(family.body.simple.bits), "; // in bits"));
            header.line("std::uint32_t numbits;");
            header.line(cat("unsigned char data[",
                            std::to_string((family.body.simple.bits + 7) / 8), "];"));
        }
        break;
    case Family::Kind::list:
        break;
    }
}

std::string base(const Family& family) {
    if (family.kind == Family::Kind::list) {
        return family.pdu ? " : ASN1TPDUSeqOfList" : " : ASN1TSeqOfList";
    }
    return family.pdu ? " : ASN1TPDU" : "";
}

} // namespace

void emit_record(Writer& header, const Family& family) {
    const std::string name = record_name(family);
    if (!has_own_record(family)) {
        header.line(cat("using ", name, " = ", value_type(family.body), ";"));
        return;
    }
    header.open(cat("struct ", name, base(family)));
    members(header, family);
    if (family.kind != Family::Kind::wrapped) {
        if (family.pdu || family.kind == Family::Kind::list) {
            header.line(cat(name, "();"));
        }
        if (family.pdu) {
            header.line(cat("explicit ", name, "(", control_name(family), "& control);"));
            header.line(cat(name, "(const ", name, "& other);"));
            header.line(cat(name, "& operator=(const ", name, "& other);"));
            header.line(cat("~", name, "();"));
        }
    }
    header.close(";");
}

void emit_record_operations(Writer& source, const Family& family) {
    const std::string name = record_name(family);
    const std::string scope = cat(name, "::");
    if (family.kind == Family::Kind::wrapped) {
        return;
    }
    if (family.kind == Family::Kind::list && !family.pdu) {
        source.line(cat(scope, name, "() { rtDListInit(this); }"));
        source.line();
    }
    if (!family.pdu) {
        return;
    }
    const bool extensible_record = family.extensible && family.kind == Family::Kind::sequence;
    source.line(
        cat(scope, name, extensible_record ? "() { rtDListInit(&extElem1); }" : "() = default;"));
    source.line();
    source.line(cat(scope, name, "(", control_name(family), "& control) : ", name,
                    "() { control.getCopy(this); }"));
    source.line();
    source.line(cat(scope, name, "(const ", name, "& other) : ", name, "() { *this = other; }"));
    source.line();
    source.open(cat(name, "& ", scope, "operator=(const ", name, "& other)"));
    source.open("if (this != &other)");
    if (family.owns_memory) {
        source.open("if (context != nullptr)");
        source.line(cat("asn1Free_", family.name, "(context, this);"));
        source.close();
    }
    source.line("setContext(contextForCopy(other));");
    source.line(cat("asn1Copy_", family.name, "(context, &other, this);"));
    source.close();
    source.line("return *this;");
    source.close();
    source.line();
    source.open(cat(scope, "~", name, "()"));
    if (family.owns_memory) {
        source.open("if (context != nullptr)");
        source.line(cat("asn1Free_", family.name, "(context, this);"));
        source.close();
    }
    source.close();
    source.line();
}

} // namespace schemac::emit
