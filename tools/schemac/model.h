// The schema, resolved: what the emitters see. Every name is a C++ name, every tag is packed (class
// in bits 31-30, constructed in bit 29, number below), every choice of representation is made. The
// schema owns all parts; pointers go from part to part within it and stay valid as long as it
// lives.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "schemac/source.h"

namespace schemac::model {

/// How a value without a family of its own is held and coded.
enum class Rep {
    boolean,
    int32,
    uint32,
    uint16,
    big_text,      ///< INTEGER as text, by xe_bigint
    big_uint_text, ///< INTEGER as text, by xe_biguint
    enumerated,
    null,
    oid,
    dyn_bits,
    inline_bits,
    octets,
    text,   ///< 8-bit characters, the times included
    text16, ///< BMPString
    text32, ///< UniversalString
    open,
};

struct Simple {
    Rep rep = Rep::null;
    std::uint32_t tag = 0;  ///< universal tag number; 0 for `open`
    std::uint32_t bits = 0; ///< capacity of inline_bits
    /// `open`, or `octets` with an open value inside: bound to an object set, held as Asn1TObject.
    bool typed = false;
    std::optional<std::uint32_t> enum_limit = {}; ///< -6 at and above
    /// `open` in place of a written type: the packed tag that it has, or the family whose tag it
    /// has.
    std::uint32_t raw_tag = 0;
    const struct Family* raw_family = nullptr;
};

struct Check {
    enum class Kind { none, value, size } kind = Kind::none;
    std::optional<std::int64_t> low;
    std::optional<std::int64_t> high;
};

struct Tag {
    std::uint32_t packed = 0;
    bool implicit = false; ///< as written; settled by `Tagging`
    bool by_word = false;  ///< the word IMPLICIT stands there; otherwise it is the module's default
    Place place = {};
};

/// Tags around something that has, or hasn't, a tag of its own.
struct Tagging {
    std::vector<Tag> written;        ///< outermost first, as in the module
    std::vector<std::uint32_t> tags; ///< what is on the wire around the contents, outermost first
    bool own_tag = true; ///< the own tag lies within; otherwise the last of `tags` replaces it
};

/// What a component, an alternative, an element or a wrapping family holds.
struct Use {
    const Family* family = nullptr; ///< null: `simple`
    Simple simple;
    Tagging tagging;
    Check check;
};

struct Field {
    enum class Presence { mandatory, optional, default_boolean };
    std::string name;
    Place place;
    Use use;
    Presence presence = Presence::mandatory;
    bool default_true = false;
    bool tag_shared = false; ///< contents of another type are the next field's, under the same tag
};

struct ObjectSet;

/// The open value of a record and the set that knows its types.
struct Binding {
    const ObjectSet* set = nullptr;
    std::size_t id_field = 0;
    std::size_t open_field = 0;
    bool list = false; ///< the open field is a list of open values
};

struct Module;

struct Family {
    enum class Kind {
        wrapped, ///< another family or a simple value, with tags or a check of its own, or as an
                 ///< alias
        sequence,
        set,
        choice,
        list,
        array,
    };
    std::string name;
    Place place;
    const Module* module = nullptr;
    Kind kind = Kind::wrapped;
    Use body;              ///< wrapped: what; list, array: the element
    Tagging tagging;       ///< tags in front of the definition
    std::uint32_t own = 0; ///< own packed tag of sequence, set, list, array; 0: none
    std::vector<Field> fields;
    Check count; ///< list, array
    bool sorted = false;
    bool extensible = false;
    bool pdu = false; ///< its record holds a context reference
    std::optional<Binding> binding;
    bool owns_memory = false;
    bool nested = false; ///< has no name of its own in the module

    /// Another name for a family or a simple value, and nothing more.
    bool is_alias() const {
        return kind == Kind::wrapped && tagging.written.empty() &&
               body.check.kind == Check::Kind::none;
    }
};

struct ObjectClass {
    std::string name;
    std::string suffix; ///< of the operations; empty for a class without a type field
    bool has_id = false;
    bool presence_byte = false;
    Place place;
    const Module* module = nullptr;
};

struct Object {
    std::string name;
    Place place;
    const ObjectClass* object_class = nullptr;
    std::vector<std::uint32_t> id;
    const Family* type = nullptr; ///< null: the empty operations
    const Module* module = nullptr;
};

struct ObjectSet {
    std::string name;
    Place place;
    const ObjectClass* object_class = nullptr;
    std::vector<const Object*> rows;
    const Module* module = nullptr;
};

struct OidValue {
    std::string name;
    std::vector<std::uint32_t> arcs;
};

struct NumberValue {
    std::string name;
    std::int64_t value = 0;
};

struct Module {
    std::string name;
    std::string stem;                    ///< names the files
    std::vector<const Family*> families; ///< a record stands behind those that it contains inline
    std::vector<const ObjectClass*> classes;
    std::vector<const Object*> objects;
    std::vector<const ObjectSet*> sets;
    std::vector<OidValue> oids;
    std::vector<NumberValue> numbers;
    std::vector<const Module*>
        header_includes;                ///< modules whose records these records contain inline
    std::vector<const Family*> forward; ///< foreign families that are only pointed at
    std::vector<const Module*> source_includes; ///< modules that the functions call
};

struct Schema {
    std::deque<Module> modules;
    std::deque<Family> families;
    std::deque<ObjectClass> classes;
    std::deque<Object> objects;
    std::deque<ObjectSet> sets;
};

/// Follows wrapping families down to the one that has a shape, or to the last one around a simple
/// value.
inline const Family& shape_of(const Family& family) {
    const Family* at = &family;
    while (at->kind == Family::Kind::wrapped && at->body.family != nullptr) {
        at = at->body.family;
    }
    return *at;
}

/// The simple value behind a use, or null when a structure is behind it.
inline const Simple* simple_of(const Use& use) {
    if (use.family == nullptr) {
        return &use.simple;
    }
    const Family& shape = shape_of(*use.family);
    return shape.kind == Family::Kind::wrapped ? &shape.body.simple : nullptr;
}

/// The structure behind a use, or null when a simple value is behind it.
inline const Family* structure_of(const Use& use) {
    if (use.family == nullptr) {
        return nullptr;
    }
    const Family& shape = shape_of(*use.family);
    return shape.kind == Family::Kind::wrapped ? nullptr : &shape;
}

} // namespace schemac::model
