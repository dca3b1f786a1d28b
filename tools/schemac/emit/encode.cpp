// asn1E_ functions. The buffer grows to the front, so elements are written from last to first.
#include "schemac/emit/functions.h"
#include "schemac/emit/open_value.h"
#include "schemac/emit/values.h"
#include "schemac/naming.h"

namespace schemac::emit {

using model::Family;
using model::Field;

namespace {

// Puts the family's own tag and the tags of its definition around `ll` and returns.
void seal(Writer& writer, const Family& family) {
    std::vector<std::uint32_t> tags = family.tagging.tags;
    if (family.tagging.own_tag && family.own != 0) {
        tags.push_back(family.own);
    }
    if (tags.empty()) {
        writer.line("return ll;");
        return;
    }
    std::string length = "ll";
    for (std::size_t i = tags.size(); i-- > 1;) {
        length = cat("xe_tag_len(ctx, ", hex(tags[i]), ", ", length, ")");
    }
    writer.line(cat("return sealed(ctx, tagging, ", hex(tags.front()), ", ", length, ");"));
}

std::string remark(const Field& field) {
    switch (field.presence) {
    case Field::Presence::optional:
        return cat("// ", field.name, " OPTIONAL");
    case Field::Presence::default_boolean:
        return cat("// ", field.name, field.default_true ? " DEFAULT TRUE" : " DEFAULT FALSE");
    default:
        return cat("// ", field.name);
    }
}

void element(Writer& writer, const Family& family, std::size_t index) {
    const Field& field = family.fields[index];
    const Access access = field_access(field);
    writer.line(remark(field));
    if (field.presence == Field::Presence::optional) {
        writer.open(cat("if (pvalue->m.", naming::presence_bit(field.name), ")"));
    } else if (field.presence == Field::Presence::default_boolean) {
        writer.open(cat("if (", access.value, field.default_true ? " == 0)" : " != 0)"));
    }
    if (family.binding && family.binding->open_field == index && !family.binding->list) {
        encode_open_field(writer, family);
    } else {
        encode_value(writer, field.use, access);
    }
    writer.line("ll += n;");
    if (field.presence != Field::Presence::mandatory) {
        writer.close();
    }
}

void record_body(Writer& writer, const Family& family) {
    if (family.binding && family.binding->list) {
        writer.open("");
        writer.line("const BufferKeeper keeper(ctx);");
        writer.line(cat("n = asn1ETC_", family.name, "(ctx, pvalue);"));
        writer.close();
        return_failed_length(writer);
    }
    writer.line("int ll = 0;");
    if (family.extensible) {
        writer.line("// extensions");
        writer.line("n = xe_OpenTypeExt(ctx, &pvalue->extElem1);");
        return_failed_length(writer);
        writer.line("ll += n;");
    }
    for (std::size_t i = family.fields.size(); i-- > 0;) {
        element(writer, family, i);
    }
    seal(writer, family);
}

void choice_body(Writer& writer, const Family& family) {
    writer.line("int n;");
    writer.open("switch (pvalue->t)");
    for (std::size_t i = 0; i < family.fields.size(); ++i) {
        const Field& field = family.fields[i];
        writer.label(cat("case ", std::to_string(i + 1), ":"));
        if (has_storage(field.use) && !is_text_pointer(field.use)) {
            writer.open(cat("if (pvalue->u.", field.name, " == nullptr)"));
            writer.line("return failed(ctx, rtStatusInvalidArgument);");
            writer.close();
        }
        encode_value(writer, field.use, alternative_access(field));
        writer.line("break;");
    }
    writer.label("default:");
    writer.line("return failed(ctx, rtStatusInvalidChoice);");
    writer.close();
    if (family.tagging.tags.empty()) {
        writer.line("return n;");
    } else {
        writer.line("const int ll = n;");
        seal(writer, family);
    }
}

void list_body(Writer& writer, const Family& family) {
    check_count(writer, family);
    const std::string type = value_type(family.body);
    if (family.sorted) {
        writer.line("SortedElements elements(ctx);");
    } else {
        writer.line("int ll = 0;");
    }
    writer.line("int n;");
    const std::string walk = family.sorted ? "pvalue->head; node != nullptr; node = node->next"
                                           : "pvalue->tail; node != nullptr; node = node->prev";
    writer.open(cat("for (const rtDListNode* node = ", walk, ")"));
    writer.line(cat("auto* element = static_cast<", type, "*>(node->data);"));
    encode_value(writer, family.body, element_access());
    writer.line(family.sorted ? "elements.add(n);" : "ll += n;");
    writer.close();
    if (family.sorted) {
        writer.line("const int ll = elements.sort();");
        writer.open("if (ll < 0)");
        writer.line("return failed(ctx, ll);");
        writer.close();
    }
    seal(writer, family);
}

void array_body(Writer& writer, const Family& family) {
    check_count(writer, family);
    writer.line(family.sorted ? "SortedElements elements(ctx);" : "int ll = 0;");
    writer.line("int n;");
    if (family.sorted) {
        writer.open("for (std::uint32_t i = 0; i < pvalue->n; ++i)");
    } else {
        writer.open("for (std::uint32_t i = pvalue->n; i-- > 0;)");
    }
    encode_value(writer, family.body, array_access());
    writer.line(family.sorted ? "elements.add(n);" : "ll += n;");
    writer.close();
    if (family.sorted) {
        writer.line("const int ll = elements.sort();");
        writer.open("if (ll < 0)");
        writer.line("return failed(ctx, ll);");
        writer.close();
    }
    seal(writer, family);
}

void wrapped_body(Writer& writer, const Family& family) {
    const Access access = self_access();
    check_before_encoding(writer, family.body, access);
    const auto& tags = family.tagging.tags;
    if (tags.empty()) {
        if (family.is_alias() && family.body.family != nullptr) {
            writer.line(cat("return ", encode_call(family.body, access, "tagging"), ";"));
            return;
        }
        writer.line(cat("const int n = ", encode_call(family.body, access, "tagging"), ";"));
        writer.line("return n < 0 ? failed(ctx, n) : n;");
        return;
    }
    writer.line(cat("const int ll = ",
                    encode_call(family.body, access, family.tagging.own_tag ? "ownTag" : "noTag"),
                    ";"));
    writer.open("if (ll < 0)");
    writer.line("return failed(ctx, ll);");
    writer.close();
    seal(writer, family);
}

} // namespace

void emit_encode(Writer& source, const Family& family) {
    Writer body(1);
    switch (family.kind) {
    case Family::Kind::wrapped:
        wrapped_body(body, family);
        break;
    case Family::Kind::sequence:
    case Family::Kind::set:
        record_body(body, family);
        break;
    case Family::Kind::choice:
        choice_body(body, family);
        break;
    case Family::Kind::list:
        list_body(body, family);
        break;
    case Family::Kind::array:
        array_body(body, family);
        break;
    }
    const std::string value = body.mentions("pvalue") ? " pvalue" : "";
    const std::string tagging = body.mentions("tagging") ? " tagging" : "";
    source.open(cat("int asn1E_", family.name, "(ASN1CTXT* ctx, ", record_name(family), "*", value,
                    ", ASN1TagType", tagging, ")"));
    const bool record = family.kind == Family::Kind::sequence || family.kind == Family::Kind::set;
    if (record && body.mentions("n =")) {
        source.line("int n;");
    }
    source.append(body);
    source.close();
    source.line();
}

} // namespace schemac::emit
