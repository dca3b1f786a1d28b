// asn1D_ functions. A SEQUENCE's decoder is positional: it tries its elements in their order, each
// once.
#include <algorithm>

#include "schemac/emit/functions.h"
#include "schemac/emit/values.h"
#include "schemac/naming.h"
#include "schemac/tagging.h"

namespace schemac::emit {

using model::Family;
using model::Field;
using model::Use;

namespace {

void guard_depth(Writer& writer) {
    writer.line("const DecodeNesting nesting(ctx);");
    writer.open("if (nesting.refused())");
    writer.line("return failed(ctx, rtStatusNoMemory);");
    writer.close();
}

// All tags around the contents, the own one included, outermost first.
std::vector<std::uint32_t> all_tags(const Family& family) {
    std::vector<std::uint32_t> tags = family.tagging.tags;
    if (family.tagging.own_tag && family.own != 0) {
        tags.push_back(family.own);
    }
    return tags;
}

// Matches the tags; `length` is then that of the contents.
void match_tags(Writer& writer, const Family& family) {
    const std::vector<std::uint32_t> tags = all_tags(family);
    if (tags.empty()) {
        return;
    }
    writer.line("int stat;");
    writer.open("if (tagging == ownTag)");
    writer.line(cat("stat = enter(ctx, ", hex(tags.front()), ", &length);"));
    return_failed_stat(writer);
    writer.close();
    for (std::size_t i = 1; i < tags.size(); ++i) {
        writer.line(cat("stat = enter(ctx, ", hex(tags[i]), ", &length);"));
        return_failed_stat(writer);
    }
}

bool one_byte(std::uint32_t tag) {
    return (tag & 0x1FFFFFFF) < 31;
}

std::string tag_byte(std::uint32_t tag) {
    const std::uint32_t byte = (tag >> 24) | (tag & 31);
    static constexpr std::string_view kDigits = "0123456789ABCDEF";
    return cat("0x", std::string(1, kDigits[byte >> 4]), std::string(1, kDigits[byte & 15]));
}

// A condition that holds when the element may be there.
std::string may_be_here(const Use& use) {
    std::string condition = "!rtContentEnded(ctx, &contents)";
    std::string tags;
    for (const std::uint32_t tag : first_tags(use)) {
        if (!one_byte(tag)) {
            return condition;
        }
        tags += cat(tags.empty() ? "" : " || ", "xd_peekIs(ctx, ", tag_byte(tag), ")");
    }
    if (tags.empty()) {
        return condition;
    }
    const bool several = tags.find(" || ") != std::string::npos;
    return cat(condition, " && ", several ? "(" : "", tags, several ? ")" : "");
}

void mark_present(Writer& writer, const Field& field) {
    if (field.presence == Field::Presence::optional) {
        writer.line(cat("pvalue->m.", naming::presence_bit(field.name), " = 1;"));
    }
}

void check_decoded(Writer& writer, const Use& use, const Access& access) {
    check_value(writer, use, access);
    check_enumerator(writer, use, access);
}

void mandatory_element(Writer& writer, const Field& field) {
    const Access access = field_access(field);
    writer.line(cat("// ", field.name));
    writer.open("if (rtContentEnded(ctx, &contents))");
    writer.line("return failed(ctx, rtStatusMissingElement);");
    writer.close();
    decode_value(writer, field.use, access);
    return_failed_stat(writer);
    check_decoded(writer, field.use, access);
}

// With a tag of one byte the element is there as soon as the tag is.
void tagged_element(Writer& writer, const Field& field) {
    const Access access = field_access(field);
    writer.open(cat("if (", may_be_here(field.use), ")"));
    writer.line("stat = enter(ctx, &inner);");
    writer.open("if (stat == 0)");
    decode_entered(writer, field.use, access);
    writer.close();
    return_failed_stat(writer);
    check_decoded(writer, field.use, access);
    mark_present(writer, field);
    writer.close();
}

void untagged_element(Writer& writer, const Field& field) {
    const Access access = field_access(field);
    writer.open(cat("if (", may_be_here(field.use), ")"));
    writer.line("start = ctx->bufIndex;");
    decode_value(writer, field.use, access);
    Writer present(3);
    check_decoded(present, field.use, access);
    mark_present(present, field);
    if (present.text().empty()) {
        writer.open("if (stat != 0 && !isAbsent(ctx, stat, start))");
    } else {
        writer.open("if (stat == 0)");
        writer.append(present);
        writer.reopen("else if (!isAbsent(ctx, stat, start))");
    }
    writer.line("return failed(ctx, stat);");
    writer.close();
    writer.close();
}

void optional_element(Writer& writer, const Field& field) {
    const bool by_default = field.presence == Field::Presence::default_boolean;
    writer.line(
        cat("// ", field.name,
            by_default ? (field.default_true ? " DEFAULT TRUE" : " DEFAULT FALSE") : " OPTIONAL"));
    const auto& tags = field.use.tagging.tags;
    if (!tags.empty() && one_byte(tags.front()) && !field.tag_shared) {
        tagged_element(writer, field);
    } else {
        untagged_element(writer, field);
    }
}

void reset_presence(Writer& writer, const Family& family) {
    if (std::any_of(family.fields.begin(), family.fields.end(),
                    [](const Field& f) { return f.presence == Field::Presence::optional; })) {
        writer.line("pvalue->m = {};");
    }
    for (const Field& field : family.fields) {
        if (field.presence == Field::Presence::default_boolean) {
            writer.line(cat("pvalue->", field.name, " = ", field.default_true ? "1;" : "0;"));
        }
    }
}

void open_values(Writer& writer, const Family& family) {
    writer.line("const BufferKeeper keeper(ctx);");
    writer.line(cat("return asn1DTC_", family.name, "(ctx, pvalue);"));
}

void sequence_body(Writer& writer, const Family& family) {
    guard_depth(writer);
    match_tags(writer, family);
    reset_presence(writer, family);
    writer.line("const ElementLocation contents = rtContentLocation(ctx, length);");
    Writer elements(1);
    for (const Field& field : family.fields) {
        if (field.presence == Field::Presence::mandatory) {
            mandatory_element(elements, field);
        } else {
            optional_element(elements, field);
        }
    }
    if (elements.mentions("&inner")) {
        writer.line("int inner = 0;");
    }
    if (elements.mentions("start = ")) {
        writer.line("std::uint32_t start;");
    }
    writer.append(elements);
    if (family.extensible) {
        writer.line("// extensions");
        writer.line("rtDListInit(&pvalue->extElem1);");
        writer.line("stat = xd_OpenTypeExt(ctx, &contents, 0xFFFFFFFF, &pvalue->extElem1);");
        return_failed_stat(writer);
    }
    if (!family.binding) {
        writer.line("return finished(ctx, contents);");
        return;
    }
    writer.line("stat = finished(ctx, contents);");
    writer.open("if (stat != 0)");
    writer.line("return stat;");
    writer.close();
    open_values(writer, family);
}

void set_member(Writer& writer, const Field& field, std::size_t index) {
    const Access access = field_access(field);
    const std::vector<std::uint32_t> tags = first_tags(field.use);
    for (const std::uint32_t tag : tags) {
        writer.label(cat("case ", hex(tag), ":"));
    }
    if (tags.empty()) {
        writer.label("default:");
    }
    const std::string bit = cat("1U << ", std::to_string(index));
    writer.line(cat("// ", field.name));
    writer.open(cat("if ((seen & (", bit, ")) != 0)"));
    writer.line("return failed(ctx, rtStatusDuplicateSetElement);");
    writer.close();
    writer.line(cat("seen |= ", bit, ";"));
    if (outer_tag(field.use)) {
        decode_entered(writer, field.use, access);
    } else {
        writer.line("xu_RestoreBufferState(ctx, nullptr);");
        decode_value(writer, field.use, access);
    }
    return_failed_stat(writer);
    check_decoded(writer, field.use, access);
    mark_present(writer, field);
    writer.line("break;");
}

void set_body(Writer& writer, const Family& family) {
    guard_depth(writer);
    match_tags(writer, family);
    reset_presence(writer, family);
    writer.line("const ElementLocation contents = rtContentLocation(ctx, length);");
    writer.line("std::uint32_t seen = 0;");
    writer.open("while (!rtContentEnded(ctx, &contents))");
    writer.line("std::uint32_t tag = 0;");
    writer.line("int inner = 0;");
    writer.line("stat = xd_tag_len(ctx, &tag, &inner, xdAdvance);");
    return_failed_stat(writer);
    writer.open("switch (tag)");
    std::uint32_t required = 0;
    bool has_default = false;
    for (std::size_t i = 0; i < family.fields.size(); ++i) {
        set_member(writer, family.fields[i], i);
        if (family.fields[i].presence == Field::Presence::mandatory) {
            required |= 1U << i;
        }
        has_default = has_default || first_tags(family.fields[i].use).empty();
    }
    if (!has_default) {
        writer.label("default:");
        writer.line("return failed(ctx, rtStatusElementNotInSet);");
    }
    writer.close();
    writer.close();
    if (required != 0) {
        writer.line(cat("return (seen & ", hex(required), ") == ", hex(required),
                        " ? 0 : failed(ctx, rtStatusMissingElement);"));
    } else {
        writer.line("return 0;");
    }
}

void alternative(Writer& writer, const Field& field, std::size_t index) {
    const Access access = alternative_access(field);
    const std::vector<std::uint32_t> tags = first_tags(field.use);
    for (const std::uint32_t tag : tags) {
        writer.label(cat("case ", hex(tag), ":"));
    }
    if (tags.empty()) {
        writer.label("default:");
    }
    if (has_storage(field.use)) {
        if (is_text_pointer(field.use)) {
            writer.line(cat("pvalue->u.", field.name, " = nullptr;"));
        } else {
            writer.line(
                cat("pvalue->u.", field.name, " = zeroed<", value_type(field.use), ">(ctx);"));
            writer.open(cat("if (pvalue->u.", field.name, " == nullptr)"));
            writer.line("return failed(ctx, rtStatusNoMemory);");
            writer.close();
        }
    }
    writer.line(cat("pvalue->t = ", std::to_string(index + 1), ";"));
    if (outer_tag(field.use)) {
        decode_entered(writer, field.use, access);
    } else {
        writer.line("xu_RestoreBufferState(ctx, nullptr);");
        decode_value(writer, field.use, access);
    }
    return_failed_stat(writer);
    check_decoded(writer, field.use, access);
    writer.line("break;");
}

void choice_body(Writer& writer, const Family& family) {
    guard_depth(writer);
    match_tags(writer, family);
    const bool untagged = all_tags(family).empty();
    if (untagged) {
        writer.line("int stat;");
    }
    writer.line("const ElementEnd end(ctx, length);");
    writer.line("std::uint32_t tag = 0;");
    writer.line("int inner = 0;");
    writer.line("stat = xd_tag_len(ctx, &tag, &inner, xdAdvance);");
    return_failed_stat(writer);
    writer.open("switch (tag)");
    bool has_default = false;
    for (std::size_t i = 0; i < family.fields.size(); ++i) {
        alternative(writer, family.fields[i], i);
        has_default = has_default || first_tags(family.fields[i].use).empty();
    }
    if (!has_default) {
        writer.label("default:");
        writer.line("return failed(ctx, rtStatusInvalidChoice);");
    }
    writer.close();
    // Without a tag of its own, and without one around it, it ends with its alternative.
    writer.line(untagged ? "return tagging == ownTag ? 0 : end.after(0);" : "return end.after(0);");
}

void list_body(Writer& writer, const Family& family) {
    guard_depth(writer);
    match_tags(writer, family);
    writer.line("rtDListInit(pvalue);");
    writer.line("const ElementLocation contents = rtContentLocation(ctx, length);");
    writer.open("while (!rtContentEnded(ctx, &contents))");
    writer.line(cat("auto* element = newElement<", value_type(family.body), ">(ctx);"));
    writer.open("if (element == nullptr)");
    writer.line("return failed(ctx, rtStatusNoMemory);");
    writer.close();
    if (!family.body.tagging.tags.empty()) {
        writer.line("int inner = 0;");
    }
    decode_value(writer, family.body, element_access());
    return_failed_stat(writer);
    check_decoded(writer, family.body, element_access());
    writer.line("rtDListAppendNode(ctx, pvalue, element);");
    writer.close();
    check_count(writer, family);
    writer.line("return 0;");
}

void array_body(Writer& writer, const Family& family) {
    const std::string type = value_type(family.body);
    guard_depth(writer);
    match_tags(writer, family);
    writer.line("pvalue->n = 0;");
    writer.line("const ElementLocation contents = rtContentLocation(ctx, length);");
    writer.line("std::uint32_t count = 0;");
    writer.line("stat = xd_count(ctx, length, &count);");
    return_failed_stat(writer);
    writer.line(cat("pvalue->elem = static_cast<", type, "*>(zeroedArray(ctx, count, sizeof(", type,
                    ")));"));
    writer.open("if (pvalue->elem == nullptr)");
    writer.line("return failed(ctx, rtStatusNoMemory);");
    writer.close();
    writer.open("while (!rtContentEnded(ctx, &contents))");
    writer.line("const std::uint32_t i = pvalue->n;");
    writer.open("if (i >= count)");
    writer.line("return failed(ctx, rtStatusTooManyElements);");
    writer.close();
    if (!family.body.tagging.tags.empty()) {
        writer.line("int inner = 0;");
    }
    decode_value(writer, family.body, array_access());
    return_failed_stat(writer);
    check_decoded(writer, family.body, array_access());
    writer.line("pvalue->n = i + 1;");
    writer.close();
    check_count(writer, family);
    writer.line("return 0;");
}

void wrapped_body(Writer& writer, const Family& family) {
    const Access access = self_access();
    const auto& tags = family.tagging.tags;
    if (family.is_alias() && family.body.family != nullptr) {
        writer.line(cat("return ", decode_call(family.body, access, "tagging", "length"), ";"));
        return;
    }
    if (tags.empty()) {
        prepare_decoding(writer, family.body, access);
        writer.line(
            cat("const int stat = ", decode_call(family.body, access, "tagging", "length"), ";"));
    } else {
        match_tags(writer, family);
        prepare_decoding(writer, family.body, access);
        const bool own = family.tagging.own_tag;
        const bool leaves_itself = is_untagged_choice(family.body);
        std::string call = decode_call(family.body, access, "noTag", "length");
        if (own && !leaves_itself) {
            call = cat("ElementEnd(ctx, length).after(", closed_call(family.body, access), ")");
        } else if (family.body.family == nullptr) {
            call = entered_call(family.body, access, "length");
        }
        writer.line(cat("stat = ", call, ";"));
    }
    Writer checks(1);
    check_decoded(checks, family.body, access);
    if (checks.text().empty()) {
        writer.line("return stat != 0 ? failed(ctx, stat) : 0;");
        return;
    }
    return_failed_stat(writer);
    writer.append(checks);
    writer.line("return 0;");
}

} // namespace

void emit_decode(Writer& source, const Family& family) {
    Writer body(1);
    switch (family.kind) {
    case Family::Kind::wrapped:
        wrapped_body(body, family);
        break;
    case Family::Kind::sequence:
        sequence_body(body, family);
        break;
    case Family::Kind::set:
        set_body(body, family);
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
    const std::string length = body.mentions("length") ? " length" : "";
    source.open(cat("int asn1D_", family.name, "(ASN1CTXT* ctx, ", record_name(family), "*", value,
                    ", ASN1TagType", tagging, ", int", length, ")"));
    source.append(body);
    source.close();
    source.line();
}

} // namespace schemac::emit
