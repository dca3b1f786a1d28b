// Families of structures and lists, and what their parts hold.
#include "schemac/type_resolver.h"

#include <algorithm>
#include <set>

#include "schemac/naming.h"

namespace schemac {
namespace {

using model::Family;
using model::Field;
using model::Use;
using syntax::Constraint;
using syntax::Type;
using syntax::TypeKind;

constexpr std::size_t kMaxComponents = 500;
// The members that have come are noted in 32 bits.
constexpr std::size_t kMaxSetMembers = 32;
// Definitions that are entered while others are still open.
constexpr int kMaxDepth = 300;

bool is_list(const Type& type) {
    return type.kind == TypeKind::sequence_of || type.kind == TypeKind::set_of;
}

bool is_structure(const Type& type) {
    return type.kind == TypeKind::sequence || type.kind == TypeKind::set ||
           type.kind == TypeKind::choice;
}

bool is_array_element(const Use& element) {
    const model::Simple* simple = model::simple_of(element);
    if (simple == nullptr) {
        return false;
    }
    switch (simple->rep) {
    case model::Rep::boolean:
    case model::Rep::int32:
    case model::Rep::uint32:
    case model::Rep::uint16:
    case model::Rep::big_text:
    case model::Rep::big_uint_text:
    case model::Rep::enumerated:
    case model::Rep::oid:
    case model::Rep::text:
        return true;
    default:
        return false;
    }
}

bool same(const model::Check& a, const model::Check& b) {
    return a.kind == b.kind && a.low == b.low && a.high == b.high;
}

} // namespace

TypeResolver::OpenSpot TypeResolver::open_spot(const Type& type) {
    OpenSpot spot;
    const Type* at = &type;
    if (is_list(*at)) {
        spot.list = true;
        at = at->element.get();
    } else if (at->kind == TypeKind::octet_string) {
        spot.contained = true;
        at = nullptr;
        for (const Constraint& constraint : type.constraints) {
            if (constraint.kind == Constraint::Kind::containing) {
                at = constraint.contained.get();
            }
        }
    }
    if (at != nullptr && at->kind == TypeKind::class_field) {
        for (const Constraint& constraint : at->constraints) {
            if (constraint.kind == Constraint::Kind::table && constraint.field) {
                spot.table = &constraint;
            }
        }
    }
    return spot;
}

bool TypeResolver::has_own_family(const Type& type) {
    return is_structure(type) || type.kind == TypeKind::enumerated ||
           (!type.named.empty() &&
            (type.kind == TypeKind::integer || type.kind == TypeKind::bit_string));
}

Family* TypeResolver::define_named(const Symbol& symbol) {
    Family* family = families_.of(symbol.assignment);
    if (family != nullptr && begun_.insert(family).second) {
        Marks marks(symbol.assignment->annotations);
        define(*family, symbol.module, *symbol.assignment->type, marks);
        marks.report_unused(diagnostics_);
        done_.insert(family);
    }
    return family;
}

void TypeResolver::define(Family& family, std::size_t module, const Type& type, Marks& marks) {
    struct Level {
        explicit Level(int& depth) : depth_(depth) { ++depth_; }
        ~Level() { --depth_; }
        int& depth_;
    } level(depth_);
    if (depth_ > kMaxDepth) {
        error(type.place, "definitions refer to each other too deep");
        return;
    }
    collect_tags(family.tagging, module, type);
    const bool keep_raw = !is_list(type) && marks.take("raw");
    if (keep_raw) {
        family.body = raw(module, type);
    } else if (type.kind == TypeKind::choice) {
        define_choice(family, module, type);
    } else if (is_structure(type)) {
        own_tag(family, type.kind == TypeKind::set ? 17 : 16, marks);
        define_record(family, module, type);
    } else if (is_list(type)) {
        own_tag(family, type.kind == TypeKind::set_of ? 17 : 16, marks);
        define_list(family, module, type, marks);
    } else {
        family.body = simple(module, type, marks);
        family.body.tagging = {};
        return;
    }
    if (!keep_raw) {
        family.pdu = !family.nested;
    }
}

void TypeResolver::own_tag(Family& family, std::uint32_t number, Marks& marks) {
    if (const auto other = marks.value("tag")) {
        number = 16;
        if (*other != "SEQUENCE") {
            error(family.place, "expected tag=SEQUENCE");
        }
    }
    family.own = 0x20000000U | number;
}

void TypeResolver::define_record(Family& family, std::size_t module, const Type& type) {
    family.kind = type.kind == TypeKind::set ? Family::Kind::set : Family::Kind::sequence;
    family.extensible = type.extensible;
    add_components(family, module, type);
    check_member_names(family);
    if (family.kind == Family::Kind::set && family.fields.size() > kMaxSetMembers) {
        error(family.place, "a SET can have 32 members");
    }
    bind_open_value(family, module, type);
}

// A record has members of its own: presence bits, the context that owns its memory, additions.
void TypeResolver::check_member_names(const Family& family) {
    const bool bits = std::any_of(family.fields.begin(), family.fields.end(), [](const Field& f) {
        return f.presence == Field::Presence::optional;
    });
    for (const Field& field : family.fields) {
        if ((field.name == "m" && bits) || (field.name == "context" && !family.nested) ||
            (field.name == "extElem1" && family.extensible)) {
            error(field.place, "the record has a member " + field.name + " of its own");
        }
    }
}

void TypeResolver::add_components(Family& family, std::size_t module, const Type& type) {
    std::set<std::string> names;
    for (const syntax::Component& component : type.components) {
        if (family.fields.size() >= kMaxComponents) {
            error(component.place, "too many components");
            return;
        }
        family.fields.push_back(field(family, module, component));
        if (!names.insert(family.fields.back().name).second) {
            error(component.place, "component " + family.fields.back().name + " appears twice");
        }
    }
}

Field TypeResolver::field(const Family& family, std::size_t module,
                          const syntax::Component& component) {
    Field result;
    result.name = naming::identifier(component.name);
    result.place = component.place;
    Marks marks(component.annotations);
    result.use = use(module, *component.type, naming::nested(family.name, component.name), marks);
    const model::Simple* simple = model::simple_of(result.use);
    const bool flag = simple != nullptr && simple->rep == model::Rep::boolean;
    if (component.default_value && flag) {
        result.presence = Field::Presence::default_boolean;
        result.default_true = component.default_value->word == "TRUE";
    } else if (component.optional || component.default_value) {
        result.presence = Field::Presence::optional;
    }
    if (component.default_value) {
        check_default(module, *component.type, *component.default_value);
    }
    result.tag_shared = marks.take("shared");
    marks.report_unused(diagnostics_);
    return result;
}

// The forms of values that a type has; which value it is counts for BOOLEAN alone.
void TypeResolver::check_default(std::size_t module, const Type& type,
                                 const syntax::DefaultValue& value) {
    using Kind = syntax::DefaultValue::Kind;
    Symbol symbol{module, nullptr};
    const Type* at = &type;
    for (int depth = 0; at->kind == TypeKind::reference && depth < kMaxDepth; ++depth) {
        symbol = scope_.look(symbol.module, at->name);
        if (!symbol || !symbol.assignment->type) {
            return; // reported where the type is resolved
        }
        at = symbol.assignment->type.get();
    }
    bool fits = true;
    switch (at->kind) {
    case TypeKind::boolean:
        fits = value.kind == Kind::truth;
        break;
    case TypeKind::integer:
        fits = value.kind == Kind::number || value.kind == Kind::name;
        break;
    case TypeKind::enumerated:
        fits = value.kind == Kind::name &&
               std::any_of(at->named.begin(), at->named.end(),
                           [&](const syntax::NamedNumber& n) { return n.name == value.word; });
        break;
    case TypeKind::null:
        fits = value.kind == Kind::null;
        break;
    case TypeKind::bit_string:
        fits = value.kind == Kind::bits || value.kind == Kind::braces || value.kind == Kind::name;
        break;
    case TypeKind::octet_string:
        fits = value.kind == Kind::bits || value.kind == Kind::name;
        break;
    case TypeKind::char_string:
        fits = value.kind == Kind::text || value.kind == Kind::name;
        break;
    case TypeKind::any:
    case TypeKind::class_field:
    case TypeKind::reference:
        break;
    default:
        fits = value.kind == Kind::braces || value.kind == Kind::name;
    }
    if (!fits) {
        error(value.place, "this is no value of the component's type");
    }
}

void TypeResolver::define_choice(Family& family, std::size_t module, const Type& type) {
    family.kind = Family::Kind::choice;
    add_components(family, module, type);
    if (family.fields.empty()) {
        error(type.place, "a CHOICE needs an alternative");
    }
}

void TypeResolver::define_list(Family& family, std::size_t module, const Type& type, Marks& marks) {
    family.kind =
        Family::Kind::list; // already while the element is looked at, which may contain this list
    family.body = untyped_use(module, *type.element, naming::element_of(family.name), false, marks);
    family.count = check(module, type, Constraint::Kind::size);
    family.kind = is_array_element(family.body) ? Family::Kind::array : Family::Kind::list;
    family.sorted = type.kind == TypeKind::set_of;
}

void TypeResolver::bind_open_value(Family& family, std::size_t module, const Type& type) {
    for (std::size_t i = 0; i < type.components.size(); ++i) {
        const syntax::Component& component = type.components[i];
        const OpenSpot spot = open_spot(*component.type);
        if (spot.table == nullptr) {
            continue;
        }
        const std::string id = naming::identifier(*spot.table->field);
        const auto id_field = std::find_if(family.fields.begin(), family.fields.end(),
                                           [&](const Field& f) { return f.name == id; });
        const auto open_field =
            std::find_if(family.fields.begin(), family.fields.end(), [&](const Field& f) {
                return f.name == naming::identifier(component.name);
            });
        const model::Simple* id_simple =
            id_field == family.fields.end() ? nullptr : model::simple_of(id_field->use);
        if (id_simple == nullptr || id_simple->rep != model::Rep::oid ||
            id_field->presence != Field::Presence::mandatory) {
            error(spot.table->place,
                  "@" + *spot.table->field +
                      " must be a mandatory OBJECT IDENTIFIER of the same SEQUENCE");
        } else if (family.binding || family.kind != Family::Kind::sequence) {
            error(spot.table->place, "a SEQUENCE can have one open value bound to a set");
        } else {
            family.binding = model::Binding{
                find_set_(module, spot.table->set, spot.table->place),
                static_cast<std::size_t>(id_field - family.fields.begin()),
                static_cast<std::size_t>(open_field - family.fields.begin()), spot.list};
        }
    }
}

Use TypeResolver::use(std::size_t module, const Type& type, const std::string& nested_name,
                      Marks& marks) {
    return untyped_use(module, type, nested_name, marks.take("type"), marks);
}

Use TypeResolver::untyped_use(std::size_t module, const Type& type, const std::string& name,
                              bool own_family, Marks& marks) {
    Use result;
    if (own_family || has_own_family(type)) {
        result = nested(module, type, name, marks);
    } else if (is_list(type)) {
        result = list_use(module, type, name, marks);
    } else if (marks.take("raw")) {
        result = raw(module, type);
    } else {
        result = simple(module, type, marks);
    }
    result.tagging = {};
    collect_tags(result.tagging, module, type);
    return result;
}

Use TypeResolver::nested(std::size_t module, const Type& type, const std::string& name,
                         Marks& marks) {
    if (is_structure(type) && marks.take("raw")) {
        return raw(module, type);
    }
    Type untagged = type;
    untagged.tags.clear();
    Family& family = families_.add(name, type.place, schema_.modules[module]);
    family.nested = true;
    define(family, module, untagged, marks);
    Use result;
    result.family = &family;
    return result;
}

// A list of a named type is shared under one name by all who write it alike.
Use TypeResolver::list_use(std::size_t module, const Type& type, const std::string& nested_name,
                           Marks& marks) {
    const Type& element = *type.element;
    const bool shared =
        element.kind == TypeKind::reference && element.tags.empty() && element.constraints.empty();
    const Symbol symbol = shared ? scope_.find(module, element.name, element.place) : Symbol();
    const Family* of = define_named(symbol);
    if (of == nullptr) {
        return nested(module, type, nested_name, marks);
    }
    const std::string name = naming::list_of(type.kind == TypeKind::set_of, of->name);
    Family* family = families_.find(name);
    if (family == nullptr) {
        Type untagged = type;
        untagged.tags.clear();
        family = &families_.add(name, type.place, *of->module);
        family->nested = true;
        define(*family, module, untagged, marks);
        family->pdu = true;
    } else {
        for (const char* word : {"raw", "tag", "text", "biguint"}) {
            if (marks.take(word)) {
                error(type.place, std::string("annotation '") + word +
                                      "' on a shared list: give it a name by 'type'");
            }
        }
        if (!same(family->count, check(module, type, Constraint::Kind::size))) {
            error(type.place, name + " has another SIZE elsewhere: give it a name by 'type'");
        }
    }
    Use result;
    result.family = family;
    return result;
}

Use TypeResolver::reference(std::size_t module, const Type& type) {
    Use result;
    const Symbol symbol = scope_.find(module, type.name, type.place);
    result.family = define_named(symbol);
    if (symbol && result.family == nullptr) {
        error(type.place, type.name + " is not a type");
    } else if (symbol && !done_.contains(result.family) &&
               result.family->kind == Family::Kind::wrapped) {
        error(type.place, type.name + " is defined by itself");
        result.family = nullptr;
    }
    result.check = check(module, type, Constraint::Kind::size);
    if (result.check.kind == model::Check::Kind::none) {
        result.check = check(module, type, Constraint::Kind::value);
    }
    return result;
}

Use TypeResolver::raw(std::size_t module, const Type& type) {
    Use result;
    result.simple.rep = model::Rep::open;
    switch (type.kind) {
    case TypeKind::reference:
        result.simple.raw_family = reference(module, type).family;
        break;
    case TypeKind::sequence:
    case TypeKind::sequence_of:
        result.simple.raw_tag = 0x20000010;
        break;
    case TypeKind::set:
    case TypeKind::set_of:
        result.simple.raw_tag = 0x20000011;
        break;
    case TypeKind::octet_string:
        result.simple.raw_tag = 4;
        break;
    case TypeKind::bit_string:
        result.simple.raw_tag = 3;
        break;
    default:
        break;
    }
    return result;
}

void TypeResolver::collect_tags(model::Tagging& tagging, std::size_t module, const Type& type) {
    const syntax::Module& home = scope_.modules()[module];
    for (const syntax::Tag& tag : type.tags) {
        const auto number = scope_.number(module, tag.number);
        if (!number || *number < 0 || *number > 0x1FFFFFFF) {
            error(tag.place, "a tag number lies between 0 and 536870911");
            continue;
        }
        const auto tag_class = static_cast<std::uint32_t>(tag.tag_class) << 30;
        const syntax::TagMode mode =
            tag.mode == syntax::TagMode::by_default ? home.tag_default : tag.mode;
        tagging.written.push_back({tag_class | static_cast<std::uint32_t>(*number),
                                   mode == syntax::TagMode::implicit,
                                   tag.mode == syntax::TagMode::implicit, tag.place});
    }
}

} // namespace schemac
