// Reads types, constraints and tags from tokens. Failures are thrown as SyntaxError.
#pragma once

#include <functional>

#include "schemac/syntax.h"
#include "schemac/token_reader.h"

namespace schemac {

class TypeParser {
public:
    /// `annotations_of` gives the annotations of a definition whose name stands at an offset, and
    /// must be called in the order of the text.
    using AnnotationSource = std::function<syntax::Annotations(std::size_t name_offset)>;

    TypeParser(TokenReader& reader, AnnotationSource annotations_of)
        : reader_(reader), annotations_of_(std::move(annotations_of)) {}

    syntax::TypePtr type();
    syntax::Number number();

private:
    void tags(syntax::Type& type);
    void builtin(syntax::Type& type);
    bool simple(syntax::Type& type);
    bool named_numbers_type(syntax::Type& type);
    bool structured(syntax::Type& type);
    void reference(syntax::Type& type);

    void named_numbers(syntax::Type& type, bool enumeration);
    void components(syntax::Type& type, bool choice);
    syntax::Component component(bool choice);
    void extension_marker(syntax::Type& type);
    void default_value(syntax::Component& component);

    void constraints(syntax::Type& type);
    syntax::Constraint constraint();
    void table_constraint(syntax::Constraint& constraint);
    bool ranges(syntax::Constraint& constraint);
    bool is_bound() const;

    TokenReader& reader_;
    AnnotationSource annotations_of_;
    int depth_ = 0;
};

} // namespace schemac
