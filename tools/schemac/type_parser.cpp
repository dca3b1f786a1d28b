// Recursive descent; type() is the only way down, and bounds the depth.
#include "schemac/type_parser.h"

#include <array>

namespace schemac {
namespace {

constexpr int kMaxDepth = 40;

using syntax::Constraint;
using syntax::Type;
using syntax::TypeKind;

struct CharString {
    std::string_view name;
    std::uint32_t tag;
};

constexpr std::array<CharString, 15> kCharStrings = {{{"UTF8String", 12},
                                                      {"NumericString", 18},
                                                      {"PrintableString", 19},
                                                      {"TeletexString", 20},
                                                      {"T61String", 20},
                                                      {"VideotexString", 21},
                                                      {"IA5String", 22},
                                                      {"UTCTime", 23},
                                                      {"GeneralizedTime", 24},
                                                      {"GraphicString", 25},
                                                      {"VisibleString", 26},
                                                      {"ISO646String", 26},
                                                      {"GeneralString", 27},
                                                      {"UniversalString", 28},
                                                      {"BMPString", 30}}};

} // namespace

syntax::TypePtr TypeParser::type() {
    struct Level {
        explicit Level(int& depth) : depth_(depth) { ++depth_; }
        ~Level() { --depth_; }
        int& depth_;
    } level(depth_);
    if (depth_ > kMaxDepth) {
        reader_.fail("types are nested too deep");
    }
    auto type = std::make_shared<Type>();
    tags(*type);
    type->place = reader_.place();
    builtin(*type);
    constraints(*type);
    return type;
}

void TypeParser::tags(Type& type) {
    while (reader_.is("[")) {
        syntax::Tag tag;
        tag.place = reader_.place();
        reader_.take();
        if (reader_.take_if("APPLICATION")) {
            tag.tag_class = syntax::TagClass::application;
        }
        tag.number = number();
        reader_.expect("]");
        if (reader_.take_if("IMPLICIT")) {
            tag.mode = syntax::TagMode::implicit;
        } else if (reader_.take_if("EXPLICIT")) {
            tag.mode = syntax::TagMode::explicit_;
        }
        type.tags.push_back(tag);
        if (type.tags.size() > kMaxDepth) {
            reader_.fail("too many tags");
        }
    }
}

void TypeParser::builtin(Type& type) {
    if (simple(type) || named_numbers_type(type) || structured(type)) {
        return;
    }
    if (reader_.take_if("ANY")) {
        type.kind = TypeKind::any;
    } else if (reader_.is(TokenKind::upper)) {
        reference(type);
    } else {
        reader_.fail("expected a type" + reader_.found());
    }
}

bool TypeParser::simple(Type& type) {
    if (reader_.take_if("BOOLEAN")) {
        type.kind = TypeKind::boolean;
        return true;
    }
    if (reader_.take_if("NULL")) {
        type.kind = TypeKind::null;
        return true;
    }
    if (reader_.is("OBJECT") && reader_.is("IDENTIFIER", 1)) {
        reader_.take();
        reader_.take();
        type.kind = TypeKind::object_identifier;
        return true;
    }
    if (reader_.is("OCTET") && reader_.is("STRING", 1)) {
        reader_.take();
        reader_.take();
        type.kind = TypeKind::octet_string;
        return true;
    }
    for (const CharString& candidate : kCharStrings) {
        if (reader_.take_if(candidate.name)) {
            type.kind = TypeKind::char_string;
            type.char_tag = candidate.tag;
            return true;
        }
    }
    return false;
}

bool TypeParser::named_numbers_type(Type& type) {
    if (reader_.take_if("INTEGER")) {
        type.kind = TypeKind::integer;
    } else if (reader_.take_if("ENUMERATED")) {
        type.kind = TypeKind::enumerated;
    } else if (reader_.is("BIT") && reader_.is("STRING", 1)) {
        reader_.take();
        reader_.take();
        type.kind = TypeKind::bit_string;
    } else {
        return false;
    }
    const bool enumeration = type.kind == TypeKind::enumerated;
    if (enumeration || reader_.is("{")) {
        named_numbers(type, enumeration);
    }
    return true;
}

bool TypeParser::structured(Type& type) {
    if (reader_.take_if("CHOICE")) {
        type.kind = TypeKind::choice;
        components(type, true);
        return true;
    }
    const bool is_set = reader_.is("SET");
    if (!is_set && !reader_.is("SEQUENCE")) {
        return false;
    }
    reader_.take();
    if (reader_.is("{")) {
        type.kind = is_set ? TypeKind::set : TypeKind::sequence;
        components(type, false);
        return true;
    }
    type.kind = is_set ? TypeKind::set_of : TypeKind::sequence_of;
    if (reader_.is("SIZE")) {
        Constraint size;
        size.kind = Constraint::Kind::size;
        size.place = reader_.place();
        reader_.take();
        reader_.expect("(");
        if (!ranges(size)) {
            reader_.fail("expected a size" + reader_.found());
        }
        reader_.expect(")");
        type.constraints.push_back(std::move(size));
    } else if (reader_.is("(")) {
        constraints(type);
    }
    reader_.expect("OF");
    if (reader_.is(TokenKind::lower)) { // the element's own identifier
        reader_.take();
    }
    type.element = this->type();
    return true;
}

void TypeParser::reference(Type& type) {
    type.kind = TypeKind::reference;
    type.name = reader_.take().text;
    if (reader_.is(".") && reader_.is("&", 1)) {
        reader_.take();
        reader_.take();
        type.kind = TypeKind::class_field;
        if (!reader_.is(TokenKind::upper) && !reader_.is(TokenKind::lower)) {
            reader_.fail("expected a class field" + reader_.found());
        }
        type.field = reader_.take().text;
    }
}

void TypeParser::named_numbers(Type& type, bool enumeration) {
    reader_.expect("{");
    do {
        syntax::NamedNumber item;
        item.place = reader_.place();
        item.name = reader_.expect(TokenKind::lower, "a name");
        if (!enumeration || reader_.is("(")) {
            reader_.expect("(");
            item.number = number();
            reader_.expect(")");
        }
        type.named.push_back(std::move(item));
    } while (reader_.take_if(","));
    reader_.expect("}");
}

void TypeParser::components(Type& type, bool choice) {
    reader_.expect("{");
    if (reader_.take_if("}")) {
        return;
    }
    do {
        if (reader_.is("...") && type.kind == TypeKind::sequence) {
            extension_marker(type);
        } else {
            type.components.push_back(component(choice));
        }
    } while (reader_.take_if(","));
    reader_.expect("}");
}

void TypeParser::extension_marker(Type& type) {
    reader_.take();
    type.extensible = true;
    if (reader_.is(",")) {
        reader_.fail("an extension marker must be the last component");
    }
}

syntax::Component TypeParser::component(bool choice) {
    syntax::Component result;
    result.place = reader_.place();
    result.name = reader_.expect(TokenKind::lower, "a component's name");
    result.annotations = annotations_of_(result.place.offset);
    result.type = type();
    if (choice) {
        return result;
    }
    if (reader_.take_if("OPTIONAL")) {
        result.optional = true;
    } else if (reader_.take_if("DEFAULT")) {
        default_value(result);
    }
    return result;
}

void TypeParser::default_value(syntax::Component& component) {
    using Kind = syntax::DefaultValue::Kind;
    syntax::DefaultValue value;
    value.place = reader_.place();
    value.word = reader_.peek().text;
    if (reader_.is("{")) {
        reader_.skip_group();
        component.default_value = value;
        return;
    }
    const bool negative = reader_.take_if("-");
    if (reader_.is(TokenKind::number)) {
        value.kind = Kind::number;
    } else if (negative) {
        reader_.fail("expected a number" + reader_.found());
    } else if (reader_.is("TRUE") || reader_.is("FALSE")) {
        value.kind = Kind::truth;
    } else if (reader_.is("NULL")) {
        value.kind = Kind::null;
    } else if (reader_.is(TokenKind::lower)) {
        value.kind = Kind::name;
    } else if (reader_.is(TokenKind::text)) {
        value.kind = Kind::text;
    } else if (reader_.is(TokenKind::bits)) {
        value.kind = Kind::bits;
    } else {
        reader_.fail("expected a value" + reader_.found());
    }
    reader_.take();
    component.default_value = value;
}

syntax::Number TypeParser::number() {
    syntax::Number result;
    result.place = reader_.place();
    const bool negative = reader_.take_if("-");
    if (reader_.is(TokenKind::number)) {
        result.value = reader_.take().value;
        result.value = negative ? -result.value : result.value;
    } else if (!negative && reader_.is(TokenKind::lower)) {
        result.kind = syntax::Number::Kind::reference;
        result.name = reader_.take().text;
    } else if (!negative && reader_.take_if("MIN")) {
        result.kind = syntax::Number::Kind::min;
    } else if (!negative && reader_.take_if("MAX")) {
        result.kind = syntax::Number::Kind::max;
    } else {
        reader_.fail("expected a number" + reader_.found());
    }
    return result;
}

void TypeParser::constraints(Type& type) {
    while (reader_.is("(")) {
        type.constraints.push_back(constraint());
        if (type.constraints.size() > kMaxDepth) {
            reader_.fail("too many constraints");
        }
    }
}

Constraint TypeParser::constraint() {
    Constraint result;
    result.place = reader_.place();
    reader_.expect("(");
    if (reader_.is("{")) {
        table_constraint(result);
    } else if (reader_.take_if("SIZE")) {
        result.kind = Constraint::Kind::size;
        reader_.expect("(");
        if (!ranges(result)) {
            reader_.fail("expected a size" + reader_.found());
        }
        reader_.expect(")");
    } else if (reader_.take_if("CONTAINING")) {
        result.kind = Constraint::Kind::containing;
        result.contained = type();
    } else if (!ranges(result)) {
        reader_.fail("this constraint is not supported");
    }
    reader_.expect(")");
    return result;
}

void TypeParser::table_constraint(Constraint& constraint) {
    constraint.kind = Constraint::Kind::table;
    reader_.expect("{");
    constraint.set = reader_.expect(TokenKind::upper, "an object set");
    reader_.expect("}");
    if (reader_.take_if("{")) {
        reader_.expect("@");
        reader_.take_if(".");
        constraint.field = reader_.expect(TokenKind::lower, "a component's name");
        reader_.expect("}");
    }
}

bool TypeParser::is_bound() const {
    return reader_.is("-") || reader_.is("MIN") || reader_.is(TokenKind::number) ||
           reader_.is(TokenKind::lower);
}

// False when this isn't a union of numbers and ranges.
bool TypeParser::ranges(Constraint& constraint) {
    do {
        if (!is_bound()) {
            return false;
        }
        syntax::Range range;
        range.low = number();
        range.high = range.low;
        if (reader_.take_if("..")) {
            range.high = number();
        }
        constraint.ranges.push_back(std::move(range));
    } while (reader_.take_if("|"));
    return true;
}

} // namespace schemac
