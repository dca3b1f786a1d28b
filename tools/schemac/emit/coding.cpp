// The calls that code single values.
#include "schemac/emit/values.h"
#include "schemac/tagging.h"

namespace schemac::emit {

using model::Rep;
using model::Simple;
using model::Use;

namespace {

std::string number(std::uint32_t value) {
    return std::to_string(value);
}

std::string encode_simple(const Simple& simple, const Access& a, const std::string& tagging) {
    const std::string tail = cat(", ", tagging, ")");
    switch (simple.rep) {
    case Rep::boolean:
        return cat("xe_boolean(ctx, ", a.address, tail);
    case Rep::int32:
        return cat("xe_integer(ctx, ", a.address, tail);
    case Rep::uint32:
        return cat("xe_unsigned(ctx, ", a.address, tail);
    case Rep::uint16:
        return cat("xe_uint16(ctx, ", a.address, tail);
    case Rep::big_text:
        return cat("xe_bigint(ctx, ", a.value, tail);
    case Rep::big_uint_text:
        return cat("xe_biguint(ctx, ", a.value, tail);
    case Rep::enumerated:
        return cat("xe_enum(ctx, asSigned(", a.address, ")", tail);
    case Rep::null:
        return cat("xe_null(ctx", tail);
    case Rep::oid:
        return cat("xe_objid(ctx, ", a.address, tail);
    case Rep::dyn_bits:
    case Rep::inline_bits:
        return cat("xe_bitstr(ctx, ", a.member, "data, ", a.member, "numbits", tail);
    case Rep::octets:
        return cat("xe_octstr(ctx, ", a.member, "data, ", a.member, "numocts", tail);
    case Rep::text:
        return cat("xe_charstr(ctx, ", a.value, ", ", tagging, ", ", number(simple.tag), ")");
    case Rep::text16:
        return cat("xe_16BitCharStr(ctx, ", a.address, ", ", tagging, ", ", number(simple.tag),
                   ")");
    case Rep::text32:
        return cat("xe_32BitCharStr(ctx, ", a.address, ", ", tagging, ", ", number(simple.tag),
                   ")");
    case Rep::open:
        return cat("xe_OpenType(ctx, ", a.member, "data, ", a.member, "numocts)");
    }
    return "";
}

std::string decode_simple(const Simple& simple, const Access& a, const std::string& tagging,
                          const std::string& length) {
    const std::string tail = cat(", ", tagging, ", ", length, ")");
    const std::string text_tail = cat(", ", tagging, ", ", number(simple.tag), ", ", length, ")");
    switch (simple.rep) {
    case Rep::boolean:
        return cat("xd_boolean(ctx, ", a.address, tail);
    case Rep::int32:
        return cat("xd_integer(ctx, ", a.address, tail);
    case Rep::uint32:
        return cat("xd_unsigned(ctx, ", a.address, tail);
    case Rep::uint16:
        return cat("xd_uint16(ctx, ", a.address, tail);
    case Rep::big_text:
    case Rep::big_uint_text:
        return cat("xd_bigint(ctx, ", a.address, tail);
    case Rep::enumerated:
        return cat("xd_enum(ctx, asSigned(", a.address, ")", tail);
    case Rep::null:
        return cat("xd_null(ctx, ", tagging, ")");
    case Rep::oid:
        return cat("xd_objid(ctx, ", a.address, tail);
    case Rep::dyn_bits:
        return cat("xd_bitstr(ctx, &", a.member, "data, &", a.member, "numbits", tail);
    case Rep::inline_bits:
        return cat("xd_bitstr_s(ctx, ", a.member, "data, &", a.member, "numbits", tail);
    case Rep::octets:
        return cat("xd_octstr(ctx, &", a.member, "data, &", a.member, "numocts", tail);
    case Rep::text:
        return cat("xd_charstr(ctx, ", a.address, text_tail);
    case Rep::text16:
        return cat("xd_16BitCharStr(ctx, ", a.address, text_tail);
    case Rep::text32:
        return cat("xd_32BitCharStr(ctx, ", a.address, text_tail);
    case Rep::open:
        // A structure that is kept raw still has the structure's tag.
        return simple.raw_tag == 0
                   ? cat("decodeOpen(ctx, ", a.address, ")")
                   : cat("decodeOpen(ctx, ", hex(simple.raw_tag), ", ", a.address, ")");
    }
    return "";
}

std::string address_or_null(const Use& use, const Access& access) {
    return has_storage(use) ? access.address : std::string("nullptr");
}

// What is inside all tags of a use.
std::string inner_tagging(const Use& use) {
    return use.tagging.own_tag ? "ownTag" : "noTag";
}

// The decoder of a SEQUENCE, SET or list leaves the cursor on the end-of-contents of its own
// indefinite length: whoever called it steps over that. Strings and a CHOICE close what they open.
bool leaves_end(const Use& use) {
    const model::Family* family = use.family;
    while (family != nullptr && family->kind == model::Family::Kind::wrapped) {
        if (!family->tagging.tags.empty() && family->tagging.own_tag) {
            return false; // an explicit tag, closed by the family
        }
        family = family->body.family;
    }
    return family != nullptr && family->kind != model::Family::Kind::choice;
}

// A reader that is given a length and needn't end where that says: one that leaves the
// end-of-contents, and those of NULL, of a small number and of bits in place, which look at no more
// than they need.
bool may_end_elsewhere(const Use& use) {
    if (use.family == nullptr) {
        const Rep rep = use.simple.rep;
        return rep == Rep::null || rep == Rep::uint16 || rep == Rep::inline_bits;
    }
    if (use.family->kind != model::Family::Kind::wrapped) {
        return use.family->kind != model::Family::Kind::choice;
    }
    const bool tagged = !use.family->tagging.tags.empty();
    const bool closed =
        tagged && (use.family->tagging.own_tag || use.family->body.family == nullptr);
    return !closed && may_end_elsewhere(use.family->body);
}

std::string length_name(std::size_t level) {
    return level == 0 ? "inner" : cat("inner", std::to_string(level + 1));
}

} // namespace

std::string encode_call(const Use& use, const Access& access, const std::string& tagging) {
    if (use.family != nullptr) {
        return cat("asn1E_", use.family->name, "(ctx, ", address_or_null(use, access), ", ",
                   tagging, ")");
    }
    return encode_simple(use.simple, access, tagging);
}

std::string decode_call(const Use& use, const Access& access, const std::string& tagging,
                        const std::string& length) {
    if (use.family != nullptr) {
        return cat("asn1D_", use.family->name, "(ctx, ", address_or_null(use, access), ", ",
                   tagging, ", ", length, ")");
    }
    return decode_simple(use.simple, access, tagging, length);
}

std::string closed_call(const Use& use, const Access& access) {
    const std::string call = decode_call(use, access, "ownTag", "0");
    return leaves_end(use) ? cat("ElementEnd(ctx).after(", call, ")") : call;
}

void check_before_encoding(Writer& writer, const Use& use, const Access& access) {
    check_value(writer, use, access);
    if (use.family == nullptr && use.simple.rep == Rep::inline_bits) {
        writer.open(cat("if (", access.member, "numbits > 8 * sizeof ", access.member, "data)"));
        writer.line("return failed(ctx, rtStatusValueTooLong);");
        writer.close();
    }
}

void encode_value(Writer& writer, const Use& use, const Access& access) {
    check_before_encoding(writer, use, access);
    std::string call = encode_call(use, access, inner_tagging(use));
    const auto& tags = use.tagging.tags;
    for (auto tag = tags.rbegin(); tag != tags.rend(); ++tag) {
        call = cat("xe_tag_len(ctx, ", hex(*tag), ", ", call, ")");
    }
    writer.line(cat("n = ", call, ";"));
    return_failed_length(writer);
}

void prepare_decoding(Writer& writer, const Use& use, const Access& access) {
    if (use.family == nullptr && use.simple.rep == Rep::inline_bits) {
        writer.line(cat(access.member, "numbits = ", number(use.simple.bits), ";"));
    }
}

void decode_value(Writer& writer, const Use& use, const Access& access) {
    if (use.tagging.tags.empty()) {
        prepare_decoding(writer, use, access);
        writer.line(cat("stat = ", closed_call(use, access), ";"));
        return;
    }
    writer.line(cat("stat = enter(ctx, ", hex(use.tagging.tags.front()), ", &inner);"));
    writer.open("if (stat == 0)");
    decode_entered(writer, use, access);
    writer.close();
}

std::string entered_call(const Use& use, const Access& access, const std::string& length) {
    const std::string call = decode_call(use, access, "noTag", length);
    return may_end_elsewhere(use) ? cat("ElementEnd(ctx, ", length, ").after(", call, ")") : call;
}

void decode_entered(Writer& writer, const Use& use, const Access& access) {
    const auto& tags = use.tagging.tags;
    const std::size_t levels = tags.size();
    const auto end_name = [](std::size_t level) {
        return level == 1 ? std::string("end") : cat("end", std::to_string(level));
    };
    for (std::size_t i = 1; i < levels; ++i) {
        writer.line(cat("const ElementEnd ", end_name(i), "(ctx, ", length_name(i - 1), ");"));
        writer.line(cat("int ", length_name(i), " = 0;"));
        writer.line(cat("stat = enter(ctx, ", hex(tags[i]), ", &", length_name(i), ");"));
        writer.open("if (stat == 0)");
    }
    prepare_decoding(writer, use, access);
    const std::string last = length_name(levels == 0 ? 0 : levels - 1);
    const bool by_itself = levels == 0 || !use.tagging.own_tag || is_untagged_choice(use);
    const std::string call =
        by_itself ? entered_call(use, access, last)
                  : cat("ElementEnd(ctx, ", last, ").after(", closed_call(use, access), ")");
    writer.line(cat("stat = ", call, ";"));
    for (std::size_t i = levels; i-- > 1;) {
        writer.close();
        writer.line(cat("stat = ", end_name(i), ".after(stat);"));
    }
}

} // namespace schemac::emit
