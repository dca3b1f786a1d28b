// Information object classes, objects and sets.
#pragma once

#include <map>
#include <string>

#include "schemac/diagnostics.h"
#include "schemac/families.h"
#include "schemac/model.h"
#include "schemac/scope.h"
#include "schemac/type_resolver.h"

namespace schemac {

class ObjectResolver {
public:
    ObjectResolver(Scope& scope, model::Schema& schema, Families& families, TypeResolver& types,
                   Diagnostics& diagnostics)
        : scope_(scope), schema_(schema), families_(families), types_(types),
          diagnostics_(diagnostics) {}

    /// Makes all classes, objects and sets, so that they can be found; then fill() completes them.
    void declare();
    void fill();

    bool is_object(const syntax::Assignment* assignment) const {
        return objects_.contains(assignment);
    }

    /// Notes the C++ name of something that isn't a type; reported when it is taken.
    void claim(const std::string& name, Place place);

    /// The set that a name means, or null, reported.
    const model::ObjectSet* find_set(std::size_t module, const std::string& name, Place place);

private:
    void declare_class(std::size_t module, const syntax::Assignment& assignment);
    void declare_governed(std::size_t module, const syntax::Assignment& assignment);
    void fill_object(model::Object& object, std::size_t module,
                     const syntax::Assignment& assignment, const syntax::Assignment& object_class);
    void object_type(model::Object& object, std::size_t module, const syntax::Type& type,
                     const syntax::Assignment& assignment);
    void fill_set(model::ObjectSet& set, std::size_t module, const syntax::Assignment& assignment);
    Symbol class_of(std::size_t module, const syntax::Assignment& assignment) const;

    Scope& scope_;
    model::Schema& schema_;
    Families& families_;
    TypeResolver& types_;
    Diagnostics& diagnostics_;
    std::map<const syntax::Assignment*, model::ObjectClass*> classes_;
    std::map<const syntax::Assignment*, model::Object*> objects_;
    std::map<const syntax::Assignment*, model::ObjectSet*> sets_;
    std::map<std::string, Place> names_;
};

} // namespace schemac
