// asn1Copy_ and asn1Free_ functions.
#include "schemac/emit/functions.h"
#include "schemac/emit/open_value.h"
#include "schemac/emit/values.h"
#include "schemac/naming.h"

namespace schemac::emit {

using model::Family;
using model::Field;
using model::Rep;
using model::Use;

namespace {

bool owns(const Use& use) {
    if (use.family != nullptr) {
        return use.family->owns_memory;
    }
    switch (use.simple.rep) {
    case Rep::boolean:
    case Rep::int32:
    case Rep::uint32:
    case Rep::uint16:
    case Rep::enumerated:
    case Rep::null:
    case Rep::oid:
    case Rep::inline_bits:
        return false;
    default:
        return true;
    }
}

void copy_value(Writer& writer, const Use& use, const Access& from, const Access& to) {
    if (!has_storage(use)) {
        return;
    }
    if (use.family != nullptr) {
        writer.line(
            cat("asn1Copy_", use.family->name, "(ctx, ", from.address, ", ", to.address, ");"));
        return;
    }
    switch (use.simple.rep) {
    case Rep::big_text:
    case Rep::big_uint_text:
    case Rep::text:
        writer.line(cat("copyValue(ctx, ", from.value, ", ", to.address, ");"));
        break;
    case Rep::oid:
        writer.line(cat("rtCopyOID(ctx, ", from.address, ", ", to.address, ");"));
        break;
    case Rep::inline_bits:
        writer.line(cat(to.member, "numbits = ", from.member, "numbits;"));
        writer.line(cat("std::memcpy(", to.member, "data, ", from.member, "data, sizeof ",
                        to.member, "data);"));
        break;
    default:
        if (owns(use)) {
            writer.line(cat("copyValue(ctx, ", from.address, ", ", to.address, ");"));
        } else {
            writer.line(cat(to.value, " = ", from.value, ";"));
        }
    }
}

void free_value(Writer& writer, const Use& use, const Access& access) {
    if (!owns(use)) {
        return;
    }
    if (use.family != nullptr) {
        writer.line(cat("asn1Free_", use.family->name, "(ctx, ", access.address, ");"));
    } else if (is_text_pointer(use)) {
        writer.line(cat("release(ctx, ", access.value, ");"));
    } else {
        writer.line(cat("release(ctx, ", access.member, "data);"));
    }
}

std::string present(const std::string& pointer, const Field& field) {
    return cat("if (", pointer, "->m.", naming::presence_bit(field.name), ")");
}

void copy_record(Writer& writer, const Family& family) {
    bool any_bit = false;
    for (const Field& field : family.fields) {
        any_bit = any_bit || field.presence == Field::Presence::optional;
    }
    if (any_bit) {
        writer.line("std::memcpy(&dst->m, &src->m, sizeof dst->m);");
    }
    for (const Field& field : family.fields) {
        const bool conditional =
            field.presence == Field::Presence::optional && has_storage(field.use);
        if (conditional) {
            writer.open(present("src", field));
        }
        copy_value(writer, field.use, field_access(field, "src"), field_access(field, "dst"));
        if (conditional) {
            writer.close();
        }
    }
    if (family.extensible) {
        writer.line("copyValue(ctx, &src->extElem1, &dst->extElem1);");
    }
    if (family.binding) {
        copy_open_values(writer, family);
    }
}

void copy_choice(Writer& writer, const Family& family) {
    writer.line("dst->t = src->t;");
    writer.open("switch (src->t)");
    for (std::size_t i = 0; i < family.fields.size(); ++i) {
        const Field& field = family.fields[i];
        if (!has_storage(field.use)) {
            continue;
        }
        writer.label(cat("case ", std::to_string(i + 1), ":"));
        if (!is_text_pointer(field.use)) {
            writer.line(cat("dst->u.", field.name, " = nullptr;"));
            writer.open(cat("if (src->u.", field.name, " != nullptr)"));
            writer.line(
                cat("dst->u.", field.name, " = required<", value_type(field.use), ">(ctx);"));
        }
        copy_value(writer, field.use, alternative_access(field, "src"),
                   alternative_access(field, "dst"));
        if (!is_text_pointer(field.use)) {
            writer.close();
        }
        writer.line("break;");
    }
    writer.label("default:");
    writer.line("break;");
    writer.close();
}

void copy_elements(Writer& writer, const Family& family) {
    const std::string type = value_type(family.body);
    if (family.kind == Family::Kind::array) {
        writer.line("dst->n = 0;");
        writer.line(cat("dst->elem = static_cast<", type, "*>(requiredArray(ctx, src->n, sizeof(",
                        type, ")));"));
        writer.open("for (std::uint32_t i = 0; i < src->n; ++i)");
        copy_value(writer, family.body, array_access("src"), array_access("dst"));
        writer.close();
        writer.line("dst->n = src->n;");
        return;
    }
    writer.line("rtDListInit(dst);");
    writer.open("for (const rtDListNode* node = src->head; node != nullptr; node = node->next)");
    writer.line(cat("auto* element = static_cast<", type, "*>(node->data);"));
    writer.line(cat("auto* copy = appended<", type, ">(ctx, dst);"));
    const Access to{"*copy", "copy", "copy->", "", ""};
    copy_value(writer, family.body, element_access(), to);
    writer.close();
}

void free_choice(Writer& writer, const Family& family) {
    writer.open("switch (pvalue->t)");
    for (std::size_t i = 0; i < family.fields.size(); ++i) {
        const Field& field = family.fields[i];
        if (!has_storage(field.use)) {
            continue;
        }
        writer.label(cat("case ", std::to_string(i + 1), ":"));
        const bool pointer = !is_text_pointer(field.use);
        if (pointer && owns(field.use)) {
            writer.open(cat("if (pvalue->u.", field.name, " != nullptr)"));
            free_value(writer, field.use, alternative_access(field));
            writer.close();
        } else if (!pointer) {
            free_value(writer, field.use, alternative_access(field));
        }
        if (pointer) {
            writer.line(cat("release(ctx, pvalue->u.", field.name, ");"));
        }
        writer.line("break;");
    }
    writer.label("default:");
    writer.line("break;");
    writer.close();
}

void free_elements(Writer& writer, const Family& family) {
    const std::string type = value_type(family.body);
    if (family.kind == Family::Kind::array) {
        if (owns(family.body)) {
            writer.open("for (std::uint32_t i = 0; i < pvalue->n; ++i)");
            free_value(writer, family.body, array_access());
            writer.close();
        }
        writer.line("pvalue->n = 0;");
        writer.line("release(ctx, pvalue->elem);");
        return;
    }
    if (owns(family.body)) {
        writer.open(
            "for (const rtDListNode* node = pvalue->head; node != nullptr; node = node->next)");
        writer.line(cat("auto* element = static_cast<", type, "*>(node->data);"));
        free_value(writer, family.body, element_access());
        writer.close();
    }
    writer.line("rtDListFreeAll(ctx, pvalue);");
}

} // namespace

void emit_copy(Writer& source, const Family& family) {
    Writer body(1);
    switch (family.kind) {
    case Family::Kind::wrapped:
        copy_value(body, family.body, self_access("src"), self_access("dst"));
        break;
    case Family::Kind::sequence:
    case Family::Kind::set:
        copy_record(body, family);
        break;
    case Family::Kind::choice:
        copy_choice(body, family);
        break;
    case Family::Kind::list:
    case Family::Kind::array:
        copy_elements(body, family);
        break;
    }
    const std::string record = record_name(family);
    if (body.text().empty()) {
        source.line(
            cat("void asn1Copy_", family.name, "(ASN1CTXT*, ", record, "*, ", record, "*) {}"));
        source.line();
        return;
    }
    const std::string context = body.mentions("ctx") ? " ctx" : "";
    source.open(cat("void asn1Copy_", family.name, "(ASN1CTXT*", context, ", ", record, "* src, ",
                    record, "* dst)"));
    source.open("if (src == dst)");
    source.line("return;");
    source.close();
    source.append(body);
    source.close();
    source.line();
}

void emit_free(Writer& source, const Family& family) {
    if (!family.owns_memory) {
        return;
    }
    source.open(
        cat("void asn1Free_", family.name, "(ASN1CTXT* ctx, ", record_name(family), "* pvalue)"));
    switch (family.kind) {
    case Family::Kind::wrapped:
        free_value(source, family.body, self_access());
        break;
    case Family::Kind::sequence:
    case Family::Kind::set:
        if (family.binding) {
            free_open_values(source, family);
        }
        for (const Field& field : family.fields) {
            if (!owns(field.use)) {
                continue;
            }
            const bool conditional = field.presence == Field::Presence::optional;
            if (conditional) {
                source.open(present("pvalue", field));
            }
            free_value(source, field.use, field_access(field));
            if (conditional) {
                source.close();
            }
        }
        if (family.extensible) {
            source.line("rtMemFreeOpenSeqExt(ctx, &pvalue->extElem1);");
        }
        break;
    case Family::Kind::choice:
        free_choice(source, family);
        break;
    case Family::Kind::list:
    case Family::Kind::array:
        free_elements(source, family);
        break;
    }
    source.close();
    source.line();
}

} // namespace schemac::emit
