// Objects and sets look like values until their governor turns out to be a class.
#include "schemac/object_resolver.h"

#include <algorithm>

#include "schemac/naming.h"
#include "schemac/parser.h"

namespace schemac {

using syntax::Assignment;

void ObjectResolver::declare() {
    const auto& modules = scope_.modules();
    for (std::size_t i = 0; i < modules.size(); ++i) {
        for (const Assignment& assignment : modules[i].assignments) {
            if (assignment.kind == Assignment::Kind::class_) {
                declare_class(i, assignment);
            }
        }
    }
    for (std::size_t i = 0; i < modules.size(); ++i) {
        for (const Assignment& assignment : modules[i].assignments) {
            if (class_of(i, assignment)) {
                declare_governed(i, assignment);
            }
        }
    }
}

Symbol ObjectResolver::class_of(std::size_t module, const Assignment& assignment) const {
    const bool governed =
        assignment.kind == Assignment::Kind::value || assignment.kind == Assignment::Kind::set;
    if (!governed || assignment.type->kind != syntax::TypeKind::reference) {
        return {};
    }
    const Symbol symbol = scope_.look(module, assignment.type->name);
    return symbol && symbol.assignment->kind == Assignment::Kind::class_ ? symbol : Symbol();
}

void ObjectResolver::claim(const std::string& name, Place place) {
    if (!names_.emplace(name, place).second) {
        diagnostics_.error(place, "asn1data::" + name + " is the name of two things");
    }
}

void ObjectResolver::declare_class(std::size_t module, const Assignment& assignment) {
    model::ObjectClass& result = schema_.classes.emplace_back();
    result.name = naming::identifier(assignment.name);
    result.place = assignment.place;
    result.module = &schema_.modules[module];
    claim(result.name, result.place);
    for (const syntax::ClassField& field : assignment.definition.fields) {
        if (field.is_type) {
            if (!result.suffix.empty()) {
                diagnostics_.error(field.place, "a class can have one type field");
            }
            result.suffix = naming::identifier(field.name);
        } else {
            if (result.has_id || field.name != "id" ||
                field.type->kind != syntax::TypeKind::object_identifier) {
                diagnostics_.error(field.place,
                                   "a class can have one value field, &id OBJECT IDENTIFIER");
            }
            result.has_id = true;
        }
    }
    if (result.suffix.empty()) {
        diagnostics_.error(assignment.place, "a class needs a type field");
    }
    Marks marks(assignment.annotations);
    result.presence_byte = marks.take("presence");
    marks.report_unused(diagnostics_);
    classes_.emplace(&assignment, &result);
    schema_.modules[module].classes.push_back(&result);
}

void ObjectResolver::declare_governed(std::size_t module, const Assignment& assignment) {
    const model::ObjectClass* object_class = classes_.at(class_of(module, assignment).assignment);
    model::Module& home = schema_.modules[module];
    if (assignment.kind == Assignment::Kind::value) {
        model::Object& object = schema_.objects.emplace_back();
        object.name = naming::identifier(assignment.name);
        object.place = assignment.place;
        object.object_class = object_class;
        object.module = &home;
        claim(object.name, object.place);
        objects_.emplace(&assignment, &object);
        home.objects.push_back(&object);
    } else {
        model::ObjectSet& set = schema_.sets.emplace_back();
        set.name = naming::identifier(assignment.name);
        set.place = assignment.place;
        set.object_class = object_class;
        set.module = &home;
        claim(set.name, set.place);
        sets_.emplace(&assignment, &set);
        home.sets.push_back(&set);
    }
}

void ObjectResolver::fill() {
    const auto& modules = scope_.modules();
    for (std::size_t i = 0; i < modules.size(); ++i) {
        for (const Assignment& assignment : modules[i].assignments) {
            if (const auto object = objects_.find(&assignment); object != objects_.end()) {
                fill_object(*object->second, i, assignment, *class_of(i, assignment).assignment);
            } else if (const auto set = sets_.find(&assignment); set != sets_.end()) {
                fill_set(*set->second, i, assignment);
            }
        }
    }
}

void ObjectResolver::fill_object(model::Object& object, std::size_t module,
                                 const Assignment& assignment, const Assignment& object_class) {
    const auto settings = parse_object(scope_.modules()[module], assignment.body,
                                       object_class.definition, diagnostics_);
    for (const ObjectSetting& setting : settings) {
        if (setting.type) {
            object_type(object, module, *setting.type, assignment);
        } else if (setting.field == "id") {
            object.id = scope_.object_identifier(module, setting.value);
        }
    }
    if (object.object_class->has_id && object.id.empty() && !settings.empty()) {
        diagnostics_.error(object.place, object.name + " has no identifier");
    }
}

void ObjectResolver::object_type(model::Object& object, std::size_t module,
                                 const syntax::Type& type, const Assignment& assignment) {
    const std::string name = naming::object_type(object.name, object.object_class->suffix);
    model::Family& family = families_.add(name, type.place, schema_.modules[module]);
    Marks marks(assignment.annotations);
    types_.define(family, module, type, marks);
    marks.report_unused(diagnostics_);
    const model::Family& shape = model::shape_of(family);
    const bool is_null = shape.kind == model::Family::Kind::wrapped &&
                         shape.body.simple.rep == model::Rep::null && shape.tagging.written.empty();
    object.type = is_null ? nullptr : &family;
}

void ObjectResolver::fill_set(model::ObjectSet& set, std::size_t module,
                              const Assignment& assignment) {
    const std::vector<Token>& tokens = scope_.modules()[module].tokens;
    for (std::size_t i = assignment.body.begin; i < assignment.body.end; ++i) {
        const Token& token = tokens[i];
        const Place place{scope_.modules()[module].source, token.offset};
        if (token.kind == TokenKind::symbol &&
            std::string_view("{}|,...").find(token.text) != std::string_view::npos) {
            continue;
        }
        if (token.kind != TokenKind::lower) {
            diagnostics_.error(place, "expected the name of an object");
            return;
        }
        const Symbol symbol = scope_.find(module, std::string(token.text), place);
        const auto object = objects_.find(symbol.assignment);
        if (symbol &&
            (object == objects_.end() || object->second->object_class != set.object_class)) {
            diagnostics_.error(place, std::string(token.text) + " is not an object of class " +
                                          set.object_class->name);
        } else if (symbol) {
            set.rows.push_back(object->second);
        }
    }
    if (!set.object_class->has_id) {
        diagnostics_.error(set.place, "a set of objects without identifiers can't be looked up");
    }
}

const model::ObjectSet* ObjectResolver::find_set(std::size_t module, const std::string& name,
                                                 Place place) {
    const Symbol symbol = scope_.find(module, name, place);
    const auto set = sets_.find(symbol.assignment);
    if (symbol && set == sets_.end()) {
        diagnostics_.error(place, name + " is not an object set");
    }
    return set == sets_.end() ? nullptr : set->second;
}

} // namespace schemac
