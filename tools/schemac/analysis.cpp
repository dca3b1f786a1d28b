// Containment is the relation that counts for order and headers: a component that is a record, list
// or inline array stands inside its owner, an alternative or an element is only pointed at.
#include "schemac/analysis.h"

#include <algorithm>
#include <functional>
#include <map>
#include <set>

namespace schemac {
namespace {

using model::Family;
using model::Module;
using model::Use;

bool owns(const model::Simple& simple) {
    switch (simple.rep) {
    case model::Rep::big_text:
    case model::Rep::big_uint_text:
    case model::Rep::dyn_bits:
    case model::Rep::octets:
    case model::Rep::text:
    case model::Rep::text16:
    case model::Rep::text32:
    case model::Rep::open:
        return true;
    default:
        return false;
    }
}

bool owns(const Use& use) {
    return use.family != nullptr ? use.family->owns_memory : owns(use.simple);
}

bool owns(const Family& family) {
    switch (family.kind) {
    case Family::Kind::wrapped:
        return owns(family.body);
    case Family::Kind::sequence:
    case Family::Kind::set:
        return family.extensible || std::any_of(family.fields.begin(), family.fields.end(),
                                                [](const auto& f) { return owns(f.use); });
    default:
        return true;
    }
}

// Ownership spreads from parts to wholes until nothing changes.
void settle_ownership(model::Schema& schema) {
    bool changed = true;
    while (changed) {
        changed = false;
        for (Family& family : schema.families) {
            if (!family.owns_memory && owns(family)) {
                family.owns_memory = true;
                changed = true;
            }
        }
    }
}

// Does a value of the use come to an end, as far as is known?
bool ends(const Use& use, const std::set<const Family*>& ending) {
    return use.family == nullptr || ending.contains(use.family);
}

bool ends(const Family& family, const std::set<const Family*>& ending) {
    switch (family.kind) {
    case Family::Kind::wrapped:
        return ends(family.body, ending);
    case Family::Kind::list:
    case Family::Kind::array:
        return family.count.low.value_or(0) < 1 || ends(family.body, ending);
    case Family::Kind::choice:
        return std::any_of(family.fields.begin(), family.fields.end(),
                           [&](const auto& field) { return ends(field.use, ending); });
    default:
        return std::all_of(family.fields.begin(), family.fields.end(), [&](const auto& field) {
            return field.presence != model::Field::Presence::mandatory || ends(field.use, ending);
        });
    }
}

// A CHOICE or list each of whose values holds another one of its own type has no value at all.
// Records that contain themselves are told by their order.
void check_endings(const model::Schema& schema, Diagnostics& diagnostics) {
    std::set<const Family*> ending;
    for (bool changed = true; changed;) {
        changed = false;
        for (const Family& family : schema.families) {
            if (!ending.contains(&family) && ends(family, ending)) {
                changed = ending.insert(&family).second;
            }
        }
    }
    for (const Family& family : schema.families) {
        const bool pointing =
            family.kind == Family::Kind::choice || family.kind == Family::Kind::list;
        if (pointing && !ending.contains(&family)) {
            diagnostics.error(family.place, family.name + " has no value that ends");
        }
    }
}

// The families whose definition a family's definition needs complete.
std::vector<const Family*> contained(const Family& family) {
    std::vector<const Family*> result;
    if (family.kind == Family::Kind::sequence || family.kind == Family::Kind::set) {
        for (const model::Field& field : family.fields) {
            if (field.use.family != nullptr) {
                result.push_back(field.use.family);
            }
        }
    } else if (family.kind == Family::Kind::wrapped || family.kind == Family::Kind::array) {
        if (family.body.family != nullptr) {
            result.push_back(family.body.family);
        }
    } else if (family.kind == Family::Kind::choice) {
        // A pointer needs a name only; but the name of something that isn't a record is an alias.
        for (const model::Field& field : family.fields) {
            const Family* of = field.use.family;
            if (of != nullptr && (of->kind == Family::Kind::wrapped)) {
                result.push_back(of);
            }
        }
    }
    return result;
}

class Order {
public:
    explicit Order(Diagnostics& diagnostics) : diagnostics_(diagnostics) {}

    void place(const Family& family) {
        if (done_.contains(&family)) {
            return;
        }
        if (!open_.insert(&family).second) {
            diagnostics_.error(family.place, family.name + " contains itself");
            return;
        }
        for (const Family* part : contained(family)) {
            place(*part);
        }
        open_.erase(&family);
        done_.insert(&family);
        const_cast<Module*>(family.module)->families.push_back(&family);
    }

private:
    Diagnostics& diagnostics_;
    std::set<const Family*> open_;
    std::set<const Family*> done_;
};

void add(std::vector<const Module*>& list, const Module* module, const Module& self) {
    if (module != nullptr && module != &self &&
        std::find(list.begin(), list.end(), module) == list.end()) {
        list.push_back(module);
    }
}

void collect_includes(Module& module) {
    for (const Family* family : module.families) {
        for (const Family* part : contained(*family)) {
            add(module.header_includes, part->module, module);
        }
        add(module.source_includes, family->body.family ? family->body.family->module : nullptr,
            module);
        for (const model::Field& field : family->fields) {
            add(module.source_includes, field.use.family ? field.use.family->module : nullptr,
                module);
        }
        if (family->binding && family->binding->set != nullptr) {
            add(module.source_includes, family->binding->set->module, module);
            add(module.source_includes, family->binding->set->object_class->module, module);
        }
    }
    for (const model::Object* object : module.objects) {
        add(module.header_includes, object->object_class->module, module);
        add(module.source_includes, object->type ? object->type->module : nullptr, module);
    }
    for (const model::ObjectSet* set : module.sets) {
        add(module.header_includes, set->object_class->module, module);
        for (const model::Object* row : set->rows) {
            add(module.source_includes, row->module, module);
        }
    }
}

// Records that are pointed at by this module's unions and defined in modules that its header leaves
// out.
void collect_forward(Module& module) {
    for (const Family* family : module.families) {
        if (family->kind != Family::Kind::choice) {
            continue;
        }
        for (const model::Field& field : family->fields) {
            const Family* of = field.use.family;
            if (of != nullptr && of->module != &module &&
                std::find(module.header_includes.begin(), module.header_includes.end(),
                          of->module) == module.header_includes.end() &&
                std::find(module.forward.begin(), module.forward.end(), of) ==
                    module.forward.end()) {
                module.forward.push_back(of);
            }
        }
    }
}

void check_include_cycles(const model::Schema& schema, Diagnostics& diagnostics) {
    std::map<const Module*, int> state; // 1: open, 2: done
    const std::function<void(const Module&)> visit = [&](const Module& module) {
        state[&module] = 1;
        for (const Module* next : module.header_includes) {
            if (state[next] == 1) {
                const Place place = module.families.empty() ? Place() : module.families[0]->place;
                diagnostics.error(place, "records of " + module.name + " and " + next->name +
                                             " contain each other");
            } else if (state[next] == 0) {
                visit(*next);
            }
        }
        state[&module] = 2;
    };
    for (const Module& module : schema.modules) {
        if (state[&module] == 0) {
            visit(module);
        }
    }
}

} // namespace

void analyse(model::Schema& schema, Diagnostics& diagnostics) {
    settle_ownership(schema);
    check_endings(schema, diagnostics);
    Order order(diagnostics);
    for (const Family& family : schema.families) {
        order.place(family);
    }
    for (Module& module : schema.modules) {
        collect_includes(module);
        collect_forward(module);
    }
    check_include_cycles(schema, diagnostics);
}

} // namespace schemac
