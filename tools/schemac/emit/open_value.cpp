// The typed side of open values: asn1ETC_, asn1DTC_, and what encoders, copies and frees add for
// it.
#include "schemac/emit/open_value.h"

#include "schemac/emit/functions.h"
#include "schemac/emit/values.h"
#include "schemac/naming.h"

namespace schemac::emit {

using model::Family;
using model::Field;

namespace {

const Field& open_field(const Family& family) {
    return family.fields[family.binding->open_field];
}

std::string suffix(const Family& family) {
    return family.binding->set->object_class->suffix;
}

std::string lookup(const Family& family, const std::string& pointer) {
    const model::ObjectSet& set = *family.binding->set;
    return cat(set.object_class->name, "* object = ", set.name, "::instance(ctx)->find(", pointer,
               "->", family.fields[family.binding->id_field].name, ");");
}

void return_if_absent(Writer& writer, const Family& family, const std::string& result) {
    const Field& field = open_field(family);
    if (field.presence == Field::Presence::optional) {
        writer.open(cat("if (!pvalue->m.", naming::presence_bit(field.name), ")"));
        writer.line(cat("return", result, ";"));
        writer.close();
    }
}

std::string list_loop(const std::string& value) {
    return cat("for (const rtDListNode* node = ", value,
               ".head; node != nullptr; node = node->next)");
}

const std::string_view kThisObject = "auto& value = *static_cast<Asn1TObject*>(node->data);";

// The one place that knows what an open value is encoded from: asn1ETC_ and the encoder call it.
void encode_decoded(Writer& source, const Family& family) {
    const std::string value = cat("pvalue->", open_field(family).name);
    source.line("// The typed value, if the set knows its type: its length, otherwise 0.");
    source.open(cat("static int encodeDecoded(ASN1CTXT* ctx, ", record_name(family), "* pvalue)"));
    source.line(lookup(family, "pvalue"));
    source.open(cat("if (object == nullptr || ", value, ".decoded == nullptr)"));
    source.line("return 0;");
    source.close();
    source.line(cat("return keepEncoded(ctx, ", value, ", object->encodeBER", suffix(family),
                    "(ctx, ", value, "));"));
    source.close();
    source.line();
}

void encode_single(Writer& source, const Family& family) {
    return_if_absent(source, family, " 0");
    source.line("ScratchBuffer scratch(ctx);");
    source.line("int n = scratch.start();");
    source.open("if (n == 0)");
    source.line("n = encodeDecoded(ctx, pvalue);");
    source.close();
    source.line("return n < 0 ? failed(ctx, n) : 0;");
}

void encode_list(Writer& source, const Family& family) {
    const std::string value = cat("pvalue->", open_field(family).name);
    return_if_absent(source, family, " 0");
    source.line(lookup(family, "pvalue"));
    source.open("if (object == nullptr)");
    source.line("return 0;");
    source.close();
    source.line("ScratchBuffer scratch(ctx);");
    source.open(list_loop(value));
    source.line(kThisObject);
    source.line("int n = scratch.start();");
    source.open("if (n == 0)");
    source.line(
        cat("n = keepEncoded(ctx, value, object->encodeBER", suffix(family), "(ctx, value));"));
    source.close();
    return_failed_length(source);
    source.close();
    source.line("return 0;");
}

} // namespace

void emit_encode_typed(Writer& source, const Family& family) {
    if (!family.binding) {
        return;
    }
    if (!family.binding->list) {
        encode_decoded(source, family);
    }
    source.open(
        cat("int asn1ETC_", family.name, "(ASN1CTXT* ctx, ", record_name(family), "* pvalue)"));
    if (family.binding->list) {
        encode_list(source, family);
    } else {
        encode_single(source, family);
    }
    source.close();
    source.line();
}

void emit_decode_typed(Writer& source, const Family& family) {
    if (!family.binding) {
        return;
    }
    const Field& field = open_field(family);
    const std::string value = cat("pvalue->", field.name);
    source.open(
        cat("int asn1DTC_", family.name, "(ASN1CTXT* ctx, ", record_name(family), "* pvalue)"));
    return_if_absent(source, family, " 0");
    const model::Simple* simple = simple_of(field.use);
    if (simple != nullptr && simple->rep == model::Rep::octets) {
        source.line(cat(value, ".decoded = nullptr;"));
    }
    source.line(lookup(family, "pvalue"));
    source.open("if (object == nullptr)");
    source.line("return 0;");
    source.close();
    if (family.binding->list) {
        source.open(list_loop(value));
        source.line(kThisObject);
    }
    const std::string target = family.binding->list ? std::string("value") : value;
    source.open(cat("if (enterOpenValue(ctx, ", target, "))"));
    source.line(cat("const int stat = object->decodeBER", suffix(family), "(ctx, ", target, ");"));
    source.open("if (stat < 0)");
    source.line("return failed(ctx, stat);");
    source.close();
    source.close();
    if (family.binding->list) {
        source.close();
    }
    source.line("return 0;");
    source.close();
    source.line();
}

void encode_open_field(Writer& writer, const Family& family) {
    const Field& field = open_field(family);
    const Access access = field_access(field);
    const bool contained = simple_of(field.use)->rep == model::Rep::octets;
    writer.line("n = encodeDecoded(ctx, pvalue);");
    writer.open("if (n == 0)");
    writer.line(cat("n = ", encode_call(field.use, access, "noTag"), ";"));
    writer.close();
    std::vector<std::uint32_t> tags = field.use.tagging.tags;
    if (contained && field.use.tagging.own_tag) {
        tags.push_back(4);
    }
    for (auto tag = tags.rbegin(); tag != tags.rend(); ++tag) {
        writer.line(cat("n = xe_tag_len(ctx, ", hex(*tag), ", n);"));
    }
    return_failed_length(writer);
}

void copy_open_values(Writer& writer, const Family& family) {
    const Field& field = open_field(family);
    const std::string copy = cat("object->copy", suffix(family), "(ctx, ");
    if (!family.binding->list) {
        const std::string condition = cat("src->", field.name, ".decoded != nullptr");
        writer.open(
            field.presence == Field::Presence::optional
                ? cat("if (src->m.", naming::presence_bit(field.name), " && ", condition, ")")
                : cat("if (", condition, ")"));
        writer.line(lookup(family, "src"));
        writer.open("if (object != nullptr)");
        writer.line(cat(copy, "src->", field.name, ", dst->", field.name, ");"));
        writer.close();
        writer.close();
        return;
    }
    writer.line(lookup(family, "src"));
    writer.line(cat("const rtDListNode* target = dst->", field.name, ".head;"));
    writer.open(cat("for (const rtDListNode* node = src->", field.name,
                    ".head; object != nullptr && node != nullptr; node = node->next)"));
    writer.line(kThisObject);
    writer.open("if (value.decoded != nullptr)");
    writer.line(cat(copy, "value, *static_cast<Asn1TObject*>(target->data));"));
    writer.close();
    writer.line("target = target->next;");
    writer.close();
}

void free_open_values(Writer& writer, const Family& family) {
    const Field& field = open_field(family);
    const std::string free_call = cat("object->free", suffix(family), "(ctx, ");
    if (!family.binding->list) {
        const std::string condition = cat("pvalue->", field.name, ".decoded != nullptr");
        writer.open(
            field.presence == Field::Presence::optional
                ? cat("if (pvalue->m.", naming::presence_bit(field.name), " && ", condition, ")")
                : cat("if (", condition, ")"));
        writer.line(lookup(family, "pvalue"));
        writer.open("if (object != nullptr)");
        writer.line(cat(free_call, "pvalue->", field.name, ");"));
        writer.close();
        writer.close();
        return;
    }
    writer.line(lookup(family, "pvalue"));
    writer.open(cat("for (const rtDListNode* node = pvalue->", field.name,
                    ".head; object != nullptr && node != nullptr; node = node->next)"));
    writer.line(kThisObject);
    writer.open("if (value.decoded != nullptr)");
    writer.line(cat(free_call, "value);"));
    writer.close();
    writer.close();
}

} // namespace schemac::emit
