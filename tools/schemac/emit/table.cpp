// The table of all types, with a function for each that fills a record with random values within
// the type's constraints. Only tests are built from it.
#include <algorithm>
#include <map>

#include "schemac/emit/functions.h"
#include "schemac/emit/generate.h"
#include "schemac/emit/values.h"
#include "schemac/naming.h"
#include "schemac/tagging.h"

namespace schemac {
namespace {

using emit::Access;
using emit::cat;
using emit::Writer;
using model::Family;
using model::Field;
using model::Rep;
using model::Use;

// How deep the least value of a family is nested; a random value chooses the least when it has
// become deep.
class Depths {
public:
    explicit Depths(const model::Schema& schema) {
        bool changed = true;
        while (changed) {
            changed = false;
            for (const Family& family : schema.families) {
                const int now = compute(family);
                int& known = depth_.try_emplace(&family, kUnknown).first->second;
                changed = changed || now != known;
                known = now;
            }
        }
    }

    int of(const Use& use) const {
        if (use.family == nullptr) {
            return 0;
        }
        const auto found = depth_.find(use.family);
        return found == depth_.end() ? kUnknown : found->second;
    }

    std::size_t least_alternative(const Family& choice) const {
        const auto least =
            std::min_element(choice.fields.begin(), choice.fields.end(),
                             [&](const Field& a, const Field& b) { return of(a.use) < of(b.use); });
        return static_cast<std::size_t>(least - choice.fields.begin());
    }

private:
    static constexpr int kUnknown = 1000;

    int compute(const Family& family) const {
        int result = 0;
        switch (family.kind) {
        case Family::Kind::wrapped:
            return of(family.body);
        case Family::Kind::choice:
            return std::min(kUnknown, 1 + of(family.fields[least_alternative(family)].use));
        case Family::Kind::list:
        case Family::Kind::array:
            return family.count.low.value_or(0) > 0 ? std::min(kUnknown, 1 + of(family.body)) : 0;
        default:
            for (const Field& field : family.fields) {
                if (field.presence == Field::Presence::mandatory) {
                    result = std::max(result, of(field.use));
                }
            }
            return std::min(kUnknown, 1 + result);
        }
    }

    std::map<const Family*, int> depth_;
};

std::string number(std::int64_t value) {
    return std::to_string(value);
}

std::string size_range(const model::Check& check, std::int64_t most) {
    const std::int64_t low = check.kind == model::Check::Kind::size ? check.low.value_or(0) : 0;
    const std::int64_t high = check.kind == model::Check::Kind::size
                                  ? std::min(check.high.value_or(INT32_MAX), low + most)
                                  : low + most;
    return cat(number(low), ", ", number(high));
}

std::string value_range(const model::Check& check, std::int64_t low, std::int64_t high) {
    if (check.kind == model::Check::Kind::value) {
        low = check.low.value_or(low);
        high = check.high.value_or(high);
    }
    return cat(low == INT32_MIN ? std::string("INT32_MIN") : number(low), ", ", number(high));
}

// A check that a component adds to a family's value: the family's own filling could go beyond it.
const model::Check& effective_check(const Use& use) {
    const model::Check* check = &use.check;
    const Family* family = use.family;
    while (check->kind == model::Check::Kind::none && family != nullptr &&
           family->kind == Family::Kind::wrapped) {
        check = &family->body.check;
        family = family->body.family;
    }
    return *check;
}

// The tag that the written type of a raw value has, or 0.
std::string raw_tag(const model::Simple& simple) {
    Use use;
    use.simple = simple;
    const std::vector<std::uint32_t> tags = first_tags(use);
    return std::to_string(tags.empty() ? 0 : tags.front());
}

void fill_simple(Writer& writer, const model::Simple& simple, const model::Check& check,
                 const Access& a) {
    switch (simple.rep) {
    case Rep::boolean:
        writer.line(cat(a.value, " = random.boolean();"));
        break;
    case Rep::int32:
        writer.line(cat(a.value, " = static_cast<std::int32_t>(random.number(",
                        value_range(check, INT32_MIN, INT32_MAX), "));"));
        break;
    case Rep::uint32:
        writer.line(cat(a.value, " = static_cast<std::uint32_t>(random.number(",
                        value_range(check, 0, 0xFFFFFFFF), "));"));
        break;
    case Rep::uint16:
        writer.line(cat(a.value, " = static_cast<std::uint16_t>(random.number(",
                        value_range(check, 0, 0xFFFF), "));"));
        break;
    case Rep::enumerated:
        writer.line(cat(a.value, " = static_cast<std::uint32_t>(random.number(0, ",
                        number(simple.enum_limit.value_or(8) - 1), "));"));
        break;
    case Rep::big_text:
        writer.line(cat(a.value, " = random.bigNumber();"));
        break;
    case Rep::big_uint_text:
        writer.line(cat(a.value, " = random.bigUnsigned();"));
        break;
    case Rep::null:
        break;
    case Rep::oid:
        writer.line(cat("random.identifier(", a.value, ");"));
        break;
    case Rep::dyn_bits:
        writer.line(cat("random.bits(", a.value, ", ", size_range(check, 40), ");"));
        break;
    case Rep::inline_bits:
        writer.line(
            cat(a.member, "numbits = random.bits(", a.member, "data, ", number(simple.bits), ");"));
        break;
    case Rep::octets:
        writer.line(cat("random.octets(", a.value, ", ", size_range(check, 40), ");"));
        break;
    case Rep::text:
        writer.line(
            cat(a.value, " = random.text(", number(simple.tag), ", ", size_range(check, 20), ");"));
        break;
    case Rep::text16:
    case Rep::text32:
        writer.line(cat("random.wide(", a.value, ", ", size_range(check, 20), ");"));
        break;
    case Rep::open:
        writer.line(cat("random.open(", a.value, ", ", raw_tag(simple), ");"));
        break;
    }
}

void fill_use(Writer& writer, const Use& use, const Access& access) {
    if (!emit::has_storage(use)) {
        return;
    }
    const model::Simple* simple = simple_of(use);
    const bool narrowed = use.family != nullptr && use.check.kind != model::Check::Kind::none;
    if (use.family == nullptr || (narrowed && simple != nullptr)) {
        fill_simple(writer, *simple, effective_check(use), access);
    } else {
        writer.line(cat("fill_", use.family->name, "(random, ", access.address, ");"));
    }
}

void fill_open_field(Writer& writer, const Family& family, const Access& access) {
    const std::string id = cat("pvalue->", family.fields[family.binding->id_field].name);
    const Field& field = family.fields[family.binding->open_field];
    const auto& rows = family.binding->set->rows;
    const bool list = family.binding->list;
    writer.open(cat("switch (random.row(", number(static_cast<std::int64_t>(rows.size())), "))"));
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (rows[i]->type == nullptr) {
            continue;
        }
        writer.label(cat("case ", number(static_cast<std::int64_t>(i)), ":"));
        std::string arcs;
        for (const std::uint32_t arc : rows[i]->id) {
            arcs += cat(arcs.empty() ? "" : ", ", std::to_string(arc));
        }
        writer.line(cat("assign(", id, ", {", arcs, "});"));
        const std::string record = emit::record_name(*rows[i]->type);
        const std::string target = list ? std::string("value") : access.value;
        if (list) {
            writer.line(cat("rtDListInit(", access.address, ");"));
            writer.open("for (std::uint32_t i = random.count(1, 2); i-- > 0;)");
            writer.line(
                cat("auto& value = *appended<Asn1TObject>(random.ctx, ", access.address, ");"));
        }
        writer.line(cat(target, ".decoded = random.make(fill_", rows[i]->type->name, ");"));
        if (list) {
            writer.close();
        }
        writer.line("break;");
    }
    writer.label("default:");
    if (list || simple_of(field.use)->rep == Rep::octets) {
        fill_use(writer, field.use, access);
    } else {
        writer.line(cat("random.open(", access.value, ", 0);"));
    }
    writer.line("break;");
    writer.close();
}

void fill_record(Writer& writer, const Family& family) {
    for (std::size_t i = 0; i < family.fields.size(); ++i) {
        const Field& field = family.fields[i];
        const bool conditional = field.presence == Field::Presence::optional;
        if (conditional) {
            // Only one of two can stand under a tag that they share.
            const bool shared = i > 0 && family.fields[i - 1].tag_shared;
            writer.open(shared ? cat("if (!pvalue->m.",
                                     naming::presence_bit(family.fields[i - 1].name),
                                     " && random.present())")
                               : std::string("if (random.present())"));
            writer.line(cat("pvalue->m.", naming::presence_bit(field.name), " = 1;"));
        }
        const Access access = emit::field_access(field);
        if (family.binding && family.binding->open_field == i) {
            fill_open_field(writer, family, access);
        } else {
            fill_use(writer, field.use, access);
        }
        if (conditional) {
            writer.close();
        }
    }
    if (family.extensible) {
        writer.line("random.extensions(pvalue->extElem1);");
    }
}

void fill_choice(Writer& writer, const Family& family, const Depths& depths) {
    writer.line(cat("pvalue->t = random.alternative(", std::to_string(family.fields.size()), ", ",
                    std::to_string(depths.least_alternative(family) + 1), ");"));
    writer.open("switch (pvalue->t)");
    for (std::size_t i = 0; i < family.fields.size(); ++i) {
        const Field& field = family.fields[i];
        if (!emit::has_storage(field.use)) {
            continue;
        }
        writer.label(cat("case ", std::to_string(i + 1), ":"));
        if (!emit::is_text_pointer(field.use)) {
            writer.line(cat("pvalue->u.", field.name, " = required<", emit::value_type(field.use),
                            ">(random.ctx);"));
        }
        fill_use(writer, field.use, emit::alternative_access(field));
        writer.line("break;");
    }
    writer.label("default:");
    writer.line("break;");
    writer.close();
}

void fill_elements(Writer& writer, const Family& family) {
    const std::int64_t low = family.count.low.value_or(0);
    const std::int64_t high = std::min(family.count.high.value_or(INT32_MAX), low + 3);
    const std::string count = cat("random.count(", number(low), ", ", number(high), ")");
    const std::string type = emit::value_type(family.body);
    if (family.kind == Family::Kind::array) {
        writer.line(cat("pvalue->n = ", count, ";"));
        writer.line(cat("pvalue->elem = static_cast<", type,
                        "*>(requiredArray(random.ctx, pvalue->n, sizeof(", type, ")));"));
        writer.open("for (std::uint32_t i = 0; i < pvalue->n; ++i)");
        fill_use(writer, family.body, emit::array_access());
        writer.close();
        return;
    }
    writer.line("rtDListInit(pvalue);");
    writer.open(cat("for (std::uint32_t i = ", count, "; i-- > 0;)"));
    writer.line(cat("auto* element = appended<", type, ">(random.ctx, pvalue);"));
    fill_use(writer, family.body, emit::element_access());
    writer.close();
}

void fill(Writer& source, const Family& family, const Depths& depths) {
    Writer body(1);
    switch (family.kind) {
    case Family::Kind::wrapped:
        fill_use(body, family.body, emit::self_access());
        break;
    case Family::Kind::choice:
        fill_choice(body, family, depths);
        break;
    case Family::Kind::list:
    case Family::Kind::array:
        fill_elements(body, family);
        break;
    default:
        fill_record(body, family);
        break;
    }
    const std::string record = emit::record_name(family);
    if (!body.mentions("pvalue")) {
        source.line(cat("void fill_", family.name, "(RandomValues&, ", record, "*) {}"));
        source.line();
        return;
    }
    source.open(cat("void fill_", family.name, "(RandomValues& random, ", record, "* pvalue)"));
    const bool structure = family.kind != Family::Kind::wrapped;
    if (structure) {
        source.line("const RandomValues::Level level(random);");
    }
    source.append(body);
    source.close();
    source.line();
}

GeneratedFile module_table(const model::Module& module, const Depths& depths) {
    Writer source;
    source.line(cat("// The types of ", module.name, " for tests; generated by schemac."));
    source.line("#include <chronoseal/asn1data/type_table.h>");
    source.line();
    source.line("#include <chronoseal/asn1data/record_support.h>");
    source.line();
    source.line("namespace asn1data {");
    source.line();
    for (const Family* family : module.families) {
        fill(source, *family, depths);
    }
    source.open(
        cat("void addTypesOf_", module.stem, "([[maybe_unused]] std::vector<TypeEntry>& table)"));
    for (const Family* family : module.families) {
        const std::string record = emit::record_name(*family);
        source.line(cat("table.push_back(typeEntry<", record, ", asn1E_", family->name, ", asn1D_",
                        family->name, ", asn1Copy_", family->name, ", ",
                        family->owns_memory ? cat("asn1Free_", family->name) : "nothingToFree",
                        ", fill_", family->name, ", ", emit::control_name(*family), ">(\"",
                        family->name, "\", \"", module.name, "\"));"));
    }
    source.close();
    source.line();
    source.line("} // namespace asn1data");
    return {cat("type_table_", module.stem, ".cpp"), source.text()};
}

GeneratedFile table_header(const model::Schema& schema) {
    Writer header;
    header.line("// The table of all types, for tests; generated by schemac.");
    header.line("#pragma once");
    header.line();
    header.line("#include <vector>");
    header.line();
    header.line("#include <chronoseal/asn1data/random_values.h>");
    header.line("#include <chronoseal/asn1data/type_entry.h>");
    for (const model::Module& module : schema.modules) {
        header.line(cat("#include <chronoseal/asn1data/", module.stem, ".h>"));
    }
    header.line();
    header.line("namespace asn1data {");
    header.line();
    header.line("const std::vector<TypeEntry>& typeTable();");
    header.line();
    for (const model::Module& module : schema.modules) {
        for (const Family* family : module.families) {
            header.line(cat("void fill_", family->name, "(RandomValues& random, ",
                            emit::record_name(*family), "* pvalue);"));
        }
    }
    header.line();
    header.line("} // namespace asn1data");
    return {"type_table.h", header.text()};
}

GeneratedFile table_source(const model::Schema& schema) {
    Writer source;
    source.line("// Gathers the types of all modules; generated by schemac.");
    source.line("#include <chronoseal/asn1data/type_table.h>");
    source.line();
    source.line("namespace asn1data {");
    source.line();
    for (const model::Module& module : schema.modules) {
        source.line(cat("void addTypesOf_", module.stem, "(std::vector<TypeEntry>& table);"));
    }
    source.line();
    source.open("const std::vector<TypeEntry>& typeTable()");
    source.open("static const std::vector<TypeEntry> table = []");
    source.line("std::vector<TypeEntry> entries;");
    for (const model::Module& module : schema.modules) {
        source.line(cat("addTypesOf_", module.stem, "(entries);"));
    }
    source.line("return entries;");
    source.close("();");
    source.line("return table;");
    source.close();
    source.line();
    source.line("} // namespace asn1data");
    return {"type_table.cpp", source.text()};
}

} // namespace

std::vector<GeneratedFile> generate_table(const model::Schema& schema) {
    const Depths depths(schema);
    std::vector<GeneratedFile> files;
    files.push_back(table_header(schema));
    files.push_back(table_source(schema));
    for (const model::Module& module : schema.modules) {
        files.push_back(module_table(module, depths));
    }
    return files;
}

} // namespace schemac
