// The order of the phases; each is a file of its own.
#include "schemac/resolver.h"

#include "schemac/analysis.h"
#include "schemac/families.h"
#include "schemac/naming.h"
#include "schemac/object_resolver.h"
#include "schemac/scope.h"
#include "schemac/tagging.h"
#include "schemac/type_resolver.h"

namespace schemac {
namespace {

using syntax::Assignment;

void declare_families(const Scope& scope, model::Schema& schema, Families& families) {
    for (std::size_t i = 0; i < scope.modules().size(); ++i) {
        for (const Assignment& assignment : scope.modules()[i].assignments) {
            if (assignment.kind == Assignment::Kind::type && assignment.type) {
                families.bind(&assignment, families.add(naming::identifier(assignment.name),
                                                        assignment.place, schema.modules[i]));
            }
        }
    }
}

void define_families(const Scope& scope, TypeResolver& types) {
    for (std::size_t i = 0; i < scope.modules().size(); ++i) {
        for (const Assignment& assignment : scope.modules()[i].assignments) {
            if (assignment.kind == Assignment::Kind::type) {
                types.define_named({i, &assignment});
            }
        }
    }
}

void resolve_values(Scope& scope, model::Schema& schema, ObjectResolver& objects,
                    Diagnostics& diagnostics) {
    for (std::size_t i = 0; i < scope.modules().size(); ++i) {
        for (const Assignment& assignment : scope.modules()[i].assignments) {
            if (assignment.kind != Assignment::Kind::value) {
                continue;
            }
            const std::string name = naming::identifier(assignment.name);
            if (assignment.type->kind == syntax::TypeKind::object_identifier) {
                objects.claim(name, assignment.place);
                schema.modules[i].oids.push_back(
                    {name, scope.object_identifier(i, assignment.body)});
            } else if (assignment.type->kind == syntax::TypeKind::integer) {
                objects.claim(name, assignment.place);
                syntax::Number number;
                number.kind = syntax::Number::Kind::reference;
                number.name = assignment.name;
                number.place = assignment.place;
                schema.modules[i].numbers.push_back({name, scope.number(i, number).value_or(0)});
            } else if (!objects.is_object(&assignment)) {
                diagnostics.error(assignment.place,
                                  "a value is an INTEGER, an OBJECT IDENTIFIER or an object");
            }
        }
    }
}

} // namespace

std::unique_ptr<model::Schema> resolve(const std::vector<syntax::Module>& modules,
                                       Diagnostics& diagnostics) {
    auto schema = std::make_unique<model::Schema>();
    for (const syntax::Module& module : modules) {
        model::Module& result = schema->modules.emplace_back();
        result.name = module.name;
        result.stem = module.source->stem();
    }
    Scope scope(modules, diagnostics);
    Families families(*schema, diagnostics);
    TypeResolver types(scope, *schema, families, diagnostics);
    ObjectResolver objects(scope, *schema, families, types, diagnostics);
    types.find_sets_by([&](std::size_t module, const std::string& name, Place place) {
        return objects.find_set(module, name, place);
    });
    declare_families(scope, *schema, families);
    objects.declare();
    define_families(scope, types);
    objects.fill();
    resolve_values(scope, *schema, objects, diagnostics);
    settle_tags(*schema, diagnostics);
    analyse(*schema, diagnostics);
    return schema;
}

} // namespace schemac
