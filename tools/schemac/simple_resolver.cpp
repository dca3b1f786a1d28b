// The part of TypeResolver that chooses how simple values are held and which bounds are checked.
#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "schemac/naming.h"
#include "schemac/type_resolver.h"

namespace schemac {
namespace {

using model::Check;
using model::Rep;
using model::Use;
using syntax::Constraint;
using syntax::Type;
using syntax::TypeKind;

constexpr std::int64_t kMaxInlineBits = 256;

// Bounds that the representation keeps by itself need no check.
void drop_natural_bounds(Check& check, std::int64_t low, std::int64_t high) {
    if (check.low && *check.low <= low) {
        check.low.reset();
    }
    if (check.high && *check.high >= high) {
        check.high.reset();
    }
    if (!check.low && !check.high) {
        check.kind = Check::Kind::none;
    }
}

} // namespace

Use TypeResolver::simple(std::size_t module, const Type& type, Marks& marks) {
    Use result;
    model::Simple& simple = result.simple;
    switch (type.kind) {
    case TypeKind::boolean:
        simple = {Rep::boolean, 1};
        break;
    case TypeKind::null:
        simple = {Rep::null, 5};
        break;
    case TypeKind::object_identifier:
        simple = {Rep::oid, 6};
        break;
    case TypeKind::integer:
        integer(result, module, type, marks);
        break;
    case TypeKind::enumerated:
        enumerated(result, module, type);
        break;
    case TypeKind::bit_string:
        bit_string(result, module, type, marks);
        break;
    case TypeKind::octet_string:
        simple = {Rep::octets, 4};
        simple.typed = open_spot(type).table != nullptr;
        result.check = check(module, type, Constraint::Kind::size);
        break;
    case TypeKind::char_string:
        simple.rep = type.char_tag == 30   ? Rep::text16
                     : type.char_tag == 28 ? Rep::text32
                                           : Rep::text;
        simple.tag = type.char_tag;
        result.check = check(module, type, Constraint::Kind::size);
        break;
    case TypeKind::any:
        simple.rep = Rep::open;
        break;
    case TypeKind::class_field:
        result = class_field(module, type, marks);
        break;
    default:
        result = reference(module, type);
        break;
    }
    return result;
}

Use TypeResolver::class_field(std::size_t module, const Type& type, Marks& marks) {
    Use result;
    result.simple.rep = Rep::open;
    const Symbol symbol = scope_.find(module, type.name, type.place);
    if (!symbol) {
        return result;
    }
    const auto& fields = symbol.assignment->definition.fields;
    const auto field = std::find_if(fields.begin(), fields.end(),
                                    [&](const auto& f) { return f.name == type.field; });
    if (symbol.assignment->kind != syntax::Assignment::Kind::class_ || field == fields.end()) {
        error(type.place, "there is no class field " + type.name + ".&" + type.field);
    } else if (field->is_type) {
        result.simple.typed = open_spot(type).table != nullptr;
    } else {
        result = simple(symbol.module, *field->type, marks);
        result.tagging = {};
    }
    return result;
}

void TypeResolver::integer(Use& result, std::size_t module, const Type& type, Marks& marks) {
    result.simple = {Rep::big_text, 2};
    const std::vector<std::int64_t> numbers = named_numbers(module, type);
    if (marks.take("biguint")) {
        result.simple.rep = Rep::big_uint_text;
        return;
    }
    if (marks.take("text")) {
        return;
    }
    const Check range = check(module, type, Constraint::Kind::value);
    const bool as_signed = marks.take("signed");
    const bool as_unsigned = marks.take("unsigned");
    if (as_signed || as_unsigned) {
        result.check = range;
        result.simple.rep = as_signed ? Rep::int32 : Rep::uint32;
        drop_natural_bounds(result.check, as_signed ? INT32_MIN : 0,
                            as_signed ? INT32_MAX : INT64_C(0xFFFFFFFF));
        return;
    }
    if (range.kind != Check::Kind::none) {
        result.check = range;
        ranged_integer(result, false);
    } else if (!type.named.empty()) {
        const bool negative = std::any_of(numbers.begin(), numbers.end(),
                                          [](std::int64_t number) { return number < 0; });
        result.simple.rep = negative ? Rep::int32 : Rep::uint32;
    }
}

void TypeResolver::ranged_integer(Use& result, bool wide) {
    Check& range = result.check;
    if (range.low && *range.low >= 0 && (!range.high || *range.high <= 0xFFFFFFFF)) {
        const bool narrow = !wide && range.high && *range.high <= 0xFFFF;
        result.simple.rep = narrow ? Rep::uint16 : Rep::uint32;
        drop_natural_bounds(range, 0, narrow ? 0xFFFF : INT64_C(0xFFFFFFFF));
    } else if (range.low && *range.low >= INT32_MIN && range.high && *range.high <= INT32_MAX) {
        result.simple.rep = Rep::int32;
        drop_natural_bounds(range, INT32_MIN, INT32_MAX);
    } else {
        range = {};
    }
}

// X.680, 20.3 and 22.3: names and numbers are distinct. Without a number a name gets the next one.
std::vector<std::int64_t> TypeResolver::named_numbers(std::size_t module, const Type& type) {
    std::vector<std::int64_t> numbers;
    std::set<std::string> names;
    for (const syntax::NamedNumber& item : type.named) {
        if (!names.insert(item.name).second) {
            error(item.place, item.name + " appears twice");
        }
        const std::int64_t next = numbers.empty() ? 0 : numbers.back() + 1;
        const std::int64_t number =
            item.number ? scope_.number(module, *item.number).value_or(next) : next;
        if (std::find(numbers.begin(), numbers.end(), number) != numbers.end()) {
            error(item.place, "the number " + std::to_string(number) + " appears twice");
        }
        numbers.push_back(number);
    }
    return numbers;
}

void TypeResolver::enumerated(Use& result, std::size_t module, const Type& type) {
    const std::vector<std::int64_t> numbers = named_numbers(module, type);
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        if (numbers[i] < 0 || numbers[i] >= INT32_MAX) {
            error(type.named[i].place, "an enumerator lies between 0 and 2147483646");
        }
    }
    result.simple = {Rep::enumerated, 10};
    result.simple.enum_limit =
        static_cast<std::uint32_t>(*std::max_element(numbers.begin(), numbers.end()) + 1);
}

void TypeResolver::bit_string(Use& result, std::size_t module, const Type& type, Marks& marks) {
    const Check size = check(module, type, Constraint::Kind::size);
    const std::vector<std::int64_t> numbers = named_numbers(module, type);
    std::int64_t bits = 0;
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        if (numbers[i] < 0 || numbers[i] >= kMaxInlineBits) {
            error(type.named[i].place, "a named bit lies between 0 and 255");
        }
        bits = std::max(bits, numbers[i] + 1);
    }
    if (size.kind != Check::Kind::none) {
        bits = size.high.value_or(0);
    }
    if (marks.take("dynamic") || bits < 1 || bits > kMaxInlineBits) {
        result.simple = {Rep::dyn_bits, 3};
        result.check = size;
    } else {
        result.simple = {Rep::inline_bits, 3, static_cast<std::uint32_t>(bits)};
    }
}

// The hull of all constraints of one kind that are written at this spot.
Check TypeResolver::check(std::size_t module, const Type& type, Constraint::Kind kind) {
    Check result;
    for (const Constraint& constraint : type.constraints) {
        if (constraint.kind != kind) {
            continue;
        }
        bool open_below = false;
        bool open_above = false;
        std::optional<std::int64_t> low;
        std::optional<std::int64_t> high;
        for (const syntax::Range& range : constraint.ranges) {
            const auto from = scope_.number(module, range.low);
            const auto to = scope_.number(module, range.high);
            open_below = open_below || !from;
            open_above = open_above || !to;
            if (from) {
                low = low ? std::min(*low, *from) : *from;
            }
            if (to) {
                high = high ? std::max(*high, *to) : *to;
            }
            if (from && to && *from > *to) {
                error(range.low.place, "the range is empty");
            }
        }
        result.low = open_below ? std::nullopt : low;
        result.high = open_above ? std::nullopt : high;
        result.kind = kind == Constraint::Kind::size ? Check::Kind::size : Check::Kind::value;
    }
    if (kind == Constraint::Kind::size && result.kind != Check::Kind::none) {
        if (result.low.value_or(0) < 0 || result.high.value_or(0) > INT32_MAX) {
            error(type.place, "a size lies between 0 and 2147483647");
        }
        drop_natural_bounds(result, 0, INT64_MAX);
    }
    return result;
}

} // namespace schemac
