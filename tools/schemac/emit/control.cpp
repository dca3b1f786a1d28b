// Control classes, and the declarations of the free functions.
#include "schemac/emit/functions.h"
#include "schemac/emit/values.h"

namespace schemac::emit {

using model::Family;
using model::Rep;

namespace {

enum class Base { plain, list, dyn_bits, inline_bits };

Base base_of(const Family& family) {
    const Family& shape = model::shape_of(family);
    if (shape.kind == Family::Kind::list) {
        return Base::list;
    }
    if (shape.kind == Family::Kind::wrapped && shape.body.simple.rep == Rep::dyn_bits) {
        return Base::dyn_bits;
    }
    if (shape.kind == Family::Kind::wrapped && shape.body.simple.rep == Rep::inline_bits) {
        return Base::inline_bits;
    }
    return Base::plain;
}

std::string base_name(Base base) {
    switch (base) {
    case Base::list:
        return "ASN1CSeqOfList";
    case Base::dyn_bits:
    case Base::inline_bits:
        return "ASN1CBitStr";
    default:
        return "ASN1CType";
    }
}

// The initializer of the base, on a buffer, a context, or neither.
std::string base_call(const Family& family, const std::string& on) {
    const Base base = base_of(family);
    const std::string separator = on.empty() ? "" : ", ";
    switch (base) {
    case Base::list:
        return cat("ASN1CSeqOfList(", on, separator, "value)");
    case Base::dyn_bits:
        return cat("ASN1CBitStr(", on, separator, "value)");
    case Base::inline_bits:
        return cat("ASN1CBitStr(", on, separator, "value.data, value.numbits, ",
                   std::to_string(model::shape_of(family).body.simple.bits), ")");
    default:
        return cat("ASN1CType(", on, ")");
    }
}

bool keeps_context(const Family& family) {
    return model::shape_of(family).pdu;
}

} // namespace

void emit_control_class(Writer& header, const Family& family) {
    const std::string name = control_name(family);
    const std::string record = record_name(family);
    if (!has_own_control(family)) {
        header.line(cat("using ", name, " = ", control_name(*family.body.family), ";"));
        return;
    }
    header.open(cat("class ", name, " : public ", base_name(base_of(family))));
    header.label("public:");
    header.line(cat(record, "& msgData;"));
    header.line(cat("explicit ", name, "(", record, "& value);"));
    header.line(cat(name, "(ASN1MessageBufferIF& buffer, ", record, "& value);"));
    header.line(cat(name, "(", name, "& other);"));
    if (base_of(family) == Base::list) {
        header.line(cat(name, "& operator=(", name, "& other);"));
    }
    header.line("int EncodeTo(ASN1MessageBufferIF& buffer) override;");
    header.line("int DecodeFrom(ASN1MessageBufferIF& buffer) override;");
    header.line(cat(record, "* getCopy(", record, "* target = nullptr);"));
    header.line(cat(record, "* newCopy();"));
    if (base_of(family) != Base::plain) {
        header.line();
        header.label("private:");
        header.line(cat(name, "(ASN1Context& shared, ", record, "& value);"));
    }
    header.close(";");
}

void emit_declarations(Writer& header, const Family& family) {
    const std::string record = record_name(family);
    header.line(cat("int asn1E_", family.name, "(ASN1CTXT* ctx, ", record,
                    "* pvalue, ASN1TagType tagging);"));
    header.line(cat("int asn1D_", family.name, "(ASN1CTXT* ctx, ", record,
                    "* pvalue, ASN1TagType tagging, int length);"));
    const bool text = is_text_pointer(model::Use{&family, {}, {}, {}});
    header.line(cat("void asn1Copy_", family.name, "(ASN1CTXT* ctx, ",
                    text ? cat(record, " const") : cat("const ", record), "* src, ", record,
                    "* dst);"));
    if (family.owns_memory) {
        header.line(cat("void asn1Free_", family.name, "(ASN1CTXT* ctx, ", record, "* pvalue);"));
    }
    if (family.binding) {
        header.line(cat("int asn1ETC_", family.name, "(ASN1CTXT* ctx, ", record, "* pvalue);"));
        header.line(cat("int asn1DTC_", family.name, "(ASN1CTXT* ctx, ", record, "* pvalue);"));
    }
}

namespace {

void constructors(Writer& source, const Family& family) {
    const std::string name = control_name(family);
    const std::string record = record_name(family);
    const std::string scope = cat(name, "::", name);
    const Base base = base_of(family);
    const bool bits = base == Base::dyn_bits || base == Base::inline_bits;
    source.line(cat(scope, "(", record, "& value) : ",
                    base_call(family, bits ? "*new ASN1Context" : ""), ", msgData(value) {}"));
    source.line();
    source.line(cat(scope, "(ASN1MessageBufferIF& buffer, ", record,
                    "& value) : ", base_call(family, "buffer"), ", msgData(value) {}"));
    source.line();
    // The copy belongs to the context that the control object holds; a reference in it would keep
    // the context alive for ever.
    const std::string copy =
        cat("asn1Copy_", family.name, "(getCtxtPtr(), &other.msgData, &msgData);");
    if (base == Base::plain) {
        source.open(cat(scope, "(", name, "& other) : ASN1CType(other), msgData(*required<", record,
                        ">(getCtxtPtr()))"));
        source.line(copy);
        source.close();
    } else {
        // The base works on the copy itself.
        source.line(cat(scope, "(ASN1Context& shared, ", record,
                        "& value) : ", base_call(family, "shared"), ", msgData(value) {}"));
        source.line();
        source.open(cat(scope, "(", name, "& other) : ", name, "(*other.context.get(), *required<",
                        record, ">(other.getCtxtPtr()))"));
        source.line(copy);
        source.close();
    }
    source.line();
}

void copies(Writer& source, const Family& family) {
    const std::string name = control_name(family);
    const std::string record = record_name(family);
    source.open(cat(record, "* ", name, "::getCopy(", record, "* target)"));
    source.open("if (target == &msgData)");
    source.line("return target;");
    source.close();
    source.line("ASN1CTXT* ctx = getCtxtPtr();");
    source.open("if (target == nullptr)");
    source.line(cat("target = required<", record, ">(ctx);"));
    source.close();
    source.line(cat("asn1Copy_", family.name, "(ctx, &msgData, target);"));
    if (keeps_context(family)) {
        source.line("adopt(*target, context);");
    }
    source.line("return target;");
    source.close();
    source.line();
    source.open(cat(record, "* ", name, "::newCopy()"));
    source.line(cat("auto copy = std::make_unique<", record, ">();"));
    source.line("getCopy(copy.get());");
    source.line("return copy.release();");
    source.close();
    source.line();
}

} // namespace

void emit_control_operations(Writer& source, const Family& family) {
    if (!has_own_control(family)) {
        return;
    }
    const std::string name = control_name(family);
    constructors(source, family);
    if (base_of(family) == Base::list) {
        source.open(cat(name, "& ", name, "::operator=(", name, "& other)"));
        source.open("if (this != &other)");
        source.line("clear();");
        source.line(cat("asn1Copy_", family.name, "(getCtxtPtr(), &other.msgData, &msgData);"));
        source.close();
        source.line("return *this;");
        source.close();
        source.line();
    }
    for (const bool encode : {true, false}) {
        source.open(cat("int ", name, encode ? "::EncodeTo" : "::DecodeFrom",
                        "(ASN1MessageBufferIF& buffer)"));
        source.line("setMsgBuf(buffer);");
        source.line("buffer.init();");
        source.line(cat("return asn1", encode ? "E_" : "D_", family.name,
                        "(buffer.getCtxtPtr(), &msgData, ownTag", encode ? ");" : ", 0);"));
        source.close();
        source.line();
    }
    copies(source, family);
}

} // namespace schemac::emit
