// The families of a schema while they come into being: made once, found by definition or by name.
#pragma once

#include <map>
#include <string>

#include "schemac/diagnostics.h"
#include "schemac/model.h"
#include "schemac/scope.h"

namespace schemac {

class Families {
public:
    Families(model::Schema& schema, Diagnostics& diagnostics)
        : schema_(schema), diagnostics_(diagnostics) {}

    /// A new, empty family. A name that is taken is reported at `place`.
    model::Family& add(const std::string& name, Place place, const model::Module& module) {
        model::Family& family = schema_.families.emplace_back();
        family.name = name;
        family.place = place;
        family.module = &module;
        const auto [entry, fresh] = by_name_.emplace(name, &family);
        if (!fresh) {
            const model::Family& other = *entry->second;
            diagnostics_.error(place, "asn1data::" + name + " is the name of two types: also in " +
                                          other.module->name);
        }
        return family;
    }

    model::Family* find(const std::string& name) const {
        const auto found = by_name_.find(name);
        return found == by_name_.end() ? nullptr : found->second;
    }

    void bind(const syntax::Assignment* definition, model::Family& family) {
        by_definition_.emplace(definition, &family);
    }

    /// The family of a type assignment; null when the assignment is something else.
    model::Family* of(const syntax::Assignment* definition) const {
        const auto found = by_definition_.find(definition);
        return found == by_definition_.end() ? nullptr : found->second;
    }

private:
    model::Schema& schema_;
    Diagnostics& diagnostics_;
    std::map<std::string, model::Family*> by_name_;
    std::map<const syntax::Assignment*, model::Family*> by_definition_;
};

} // namespace schemac
