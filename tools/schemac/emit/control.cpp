// Control classes, and the declarations of the free functions that they are made of.
#include "schemac/emit/functions.h"
#include "schemac/emit/values.h"

namespace schemac::emit {

using model::Family;
using model::Rep;

namespace {

std::string base_of(const Family& family) {
    const Family& shape = model::shape_of(family);
    if (shape.kind == Family::Kind::list) {
        return "ListControl";
    }
    if (shape.kind == Family::Kind::wrapped &&
        (shape.body.simple.rep == Rep::dyn_bits || shape.body.simple.rep == Rep::inline_bits)) {
        return "BitsControl";
    }
    return "PlainControl";
}

} // namespace

void emit_control_class(Writer& header, const Family& family) {
    const std::string name = control_name(family);
    if (!has_own_control(family)) {
        header.line(cat("using ", name, " = ", control_name(*family.body.family), ";"));
        return;
    }
    open_class(header, name,
               cat("ControlClass<", base_of(family), ", ", record_name(family), ", asn1E_",
                   family.name, ", asn1D_", family.name, ", asn1Copy_", family.name, ">"));
    header.label("public:");
    header.line("using ControlClass::ControlClass;");
    header.close(";");
}

void emit_declarations(Writer& header, const Family& family) {
    const std::string record = record_name(family);
    header.line(cat("int asn1E_", family.name, "(ASN1CTXT* ctx, ", record,
                    "* pvalue, ASN1TagType tagging);"));
    header.line(cat("int asn1D_", family.name, "(ASN1CTXT* ctx, ", record,
                    "* pvalue, ASN1TagType tagging, int length);"));
    header.line(cat("void asn1Copy_", family.name, "(ASN1CTXT* ctx, ", record, "* src, ", record,
                    "* dst);"));
    // The source is only read, but its type is given without const.
    const bool text = is_text_pointer(model::Use{&family, {}, {}, {}});
    header.open(cat("inline void asn1Copy_", family.name, "(ASN1CTXT* ctx, ",
                    text ? cat(record, " const") : cat("const ", record), "* src, ", record,
                    "* dst)"));
    header.line(cat("asn1Copy_", family.name, "(ctx, const_cast<", record, "*>(src), dst);"));
    header.close();
    if (family.owns_memory) {
        header.line(cat("void asn1Free_", family.name, "(ASN1CTXT* ctx, ", record, "* pvalue);"));
    }
    if (family.binding) {
        header.line(cat("int asn1ETC_", family.name, "(ASN1CTXT* ctx, ", record, "* pvalue);"));
        header.line(cat("int asn1DTC_", family.name, "(ASN1CTXT* ctx, ", record, "* pvalue);"));
    }
}

} // namespace schemac::emit
