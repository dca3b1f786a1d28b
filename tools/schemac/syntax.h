// What a module says, as written: plain structs with places, made by the parser and read by the
// resolver. Names are not looked up yet, defaults not applied.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "schemac/lexer.h"
#include "schemac/source.h"

namespace schemac::syntax {

struct Type;
using TypePtr = std::shared_ptr<const Type>;

/// Indices into the module's tokens, the end excluded.
struct TokenRange {
    std::size_t begin = 0;
    std::size_t end = 0;
};

/// A number, or the name of one.
struct Number {
    enum class Kind { min, max, literal, reference } kind = Kind::literal;
    std::int64_t value = 0;
    std::string name;
    Place place;
};

struct Range {
    Number low;
    Number high;
};

struct Constraint {
    enum class Kind { value, size, table, containing } kind = Kind::value;
    Place place;
    std::vector<Range> ranges;        ///< value, size: a union
    std::string set;                  ///< table
    std::optional<std::string> field; ///< table: the name behind `@`
    TypePtr contained;                ///< containing
};

enum class TagClass { application = 1, context = 2 };
enum class TagMode { by_default, implicit, explicit_ };

struct Tag {
    TagClass tag_class = TagClass::context;
    TagMode mode = TagMode::by_default;
    Number number;
    Place place;
};

struct NamedNumber {
    std::string name;
    std::optional<Number> number;
    Place place;
};

/// The annotations of one definition.
using Annotations = std::vector<Annotation>;

/// What stands behind DEFAULT: its form, and the word or number.
struct DefaultValue {
    enum class Kind { truth, number, name, text, bits, null, braces } kind = Kind::braces;
    std::string word; ///< truth, name
    Place place;
};

struct Component {
    std::string name;
    Place place;
    TypePtr type;
    bool optional = false;
    std::optional<DefaultValue> default_value;
    Annotations annotations;
};

enum class TypeKind {
    boolean,
    integer,
    enumerated,
    null,
    object_identifier,
    bit_string,
    octet_string,
    char_string, ///< with `char_tag`; the times are among them
    sequence,
    set,
    sequence_of,
    set_of,
    choice,
    any,
    class_field, ///< `CLASS.&field`
    reference,
};

struct Type {
    TypeKind kind = TypeKind::null;
    Place place;
    std::vector<Tag> tags; ///< outermost first
    std::vector<NamedNumber> named;
    std::vector<Component> components;
    bool extensible = false;
    TypePtr element;
    std::string name;  ///< reference: the type; class_field: the class
    std::string field; ///< class_field, without `&`
    std::uint32_t char_tag = 0;
    std::vector<Constraint> constraints;
};

struct ClassField {
    std::string name; ///< without `&`
    Place place;
    bool is_type = false; ///< a type field; otherwise `type` is the field's fixed type
    TypePtr type;
};

/// One item of WITH SYNTAX.
struct SyntaxItem {
    enum class Kind { word, field, group } kind = Kind::word;
    std::string text; ///< the word or field
    std::vector<SyntaxItem> items;
};

struct Class {
    std::vector<ClassField> fields;
    std::vector<SyntaxItem> syntax;
};

struct Assignment {
    enum class Kind {
        type,
        class_,
        value, ///< of a type or, as the governor decides, an object
        set,   ///< a set of objects or of values
    } kind = Kind::type;
    std::string name;
    Place place;
    TypePtr type;     ///< type; value, set: the governor
    Class definition; ///< class_
    TokenRange body;  ///< value, set: everything behind `::=`
    Annotations annotations;
};

struct Import {
    std::string name;
    std::string module;
    Place place;
};

struct Module {
    const Source* source = nullptr;
    std::string name;
    Place place;
    TagMode tag_default = TagMode::explicit_;
    std::vector<Import> imports;
    std::vector<Assignment> assignments;
    std::vector<Token> tokens;
    bool damaged = false; ///< definitions are missing because of errors
};

} // namespace schemac::syntax
