// Constraint checks: size or range in one unsigned comparison where both ends count.
#include <limits>

#include "schemac/emit/values.h"

namespace schemac::emit {
namespace {

using model::Check;
using model::Family;
using model::Rep;
using model::Use;

// What is compared, and how it is named in the failure.
struct Measure {
    std::string value;
    std::string path;
    Rep rep = Rep::uint32; ///< int32, uint32 or uint16
};

Measure size_of(const Use& use, const Access& access) {
    if (const Family* structure = structure_of(use)) {
        const std::string name = structure->kind == Family::Kind::array ? "n" : "count";
        return {cat(access.member, name), cat(access.path_member, name)};
    }
    switch (simple_of(use)->rep) {
    case Rep::octets:
    case Rep::open:
        return {cat(access.member, "numocts"), cat(access.path_member, "numocts")};
    case Rep::dyn_bits:
    case Rep::inline_bits:
        return {cat(access.member, "numbits"), cat(access.path_member, "numbits")};
    case Rep::text16:
    case Rep::text32:
        return {cat(access.member, "nchars"), cat(access.path_member, "nchars")};
    case Rep::text:
        return {cat("textSize(", access.value, ")"), access.path};
    default:
        return {};
    }
}

Measure number_of(const Use& use, const Access& access) {
    const model::Simple* simple = simple_of(use);
    if (simple == nullptr) {
        return {};
    }
    switch (simple->rep) {
    case Rep::int32:
    case Rep::uint32:
    case Rep::uint16:
        return {access.value, access.path, simple->rep};
    default:
        return {};
    }
}

std::string condition(const Check& check, const Measure& measure) {
    if (!check.high) {
        return *check.low == 1 && measure.rep != Rep::int32
                   ? cat(measure.value, " == 0")
                   : cat(measure.value, " < ", std::to_string(*check.low));
    }
    if (!check.low || (*check.low == 0 && measure.rep != Rep::int32)) {
        return cat(measure.value, " > ", std::to_string(*check.high));
    }
    const std::string count = std::to_string(*check.high - *check.low + 1);
    const std::string less = cat(measure.value, *check.low < 0 ? " + " : " - ",
                                 std::to_string(*check.low < 0 ? -*check.low : *check.low));
    if (measure.rep == Rep::int32) {
        return cat("static_cast<std::uint64_t>(static_cast<std::int64_t>(", measure.value, ")",
                   less.substr(measure.value.size()), ") >= ", count);
    }
    if (measure.rep == Rep::uint16) {
        return cat("static_cast<std::uint16_t>(", less, ") >= ", count);
    }
    if (*check.low == *check.high) {
        return cat(measure.value, " != ", std::to_string(*check.low));
    }
    return cat(less, " >= ", count);
}

void violation(Writer& writer, const Check& check, const Measure& measure) {
    if (measure.value.empty() || (!check.low && !check.high)) {
        return;
    }
    writer.open(cat("if (", condition(check, measure), ")"));
    writer.line(cat("return violated(ctx, \"", measure.path, "\", ", measure.value, ");"));
    writer.close();
}

} // namespace

void check_value(Writer& writer, const Use& use, const Access& access) {
    if (use.check.kind == Check::Kind::size) {
        violation(writer, use.check, size_of(use, access));
    } else if (use.check.kind == Check::Kind::value) {
        violation(writer, use.check, number_of(use, access));
    }
}

void check_enumerator(Writer& writer, const Use& use, const Access& access) {
    if (use.family == nullptr && use.simple.enum_limit) {
        writer.open(cat("if (", access.value, " >= ", std::to_string(*use.simple.enum_limit), ")"));
        writer.line("return failed(ctx, rtStatusInvalidEnum);");
        writer.close();
    }
}

void check_count(Writer& writer, const Family& family) {
    const std::string name = family.kind == Family::Kind::array ? "n" : "count";
    violation(writer, family.count, {cat("pvalue->", name), cat("pvalue->", name)});
}

} // namespace schemac::emit
