// X.680, 31.2: an implicit tag takes the place of the tag below, an explicit one goes around it; a
// CHOICE or open type has no tag to replace, so an implicit tag acts as an explicit one there.
#include "schemac/tagging.h"

#include <map>
#include <set>

namespace schemac {
namespace {

using model::Family;
using model::Use;

constexpr std::uint32_t kConstructed = 0x20000000;

class Settler {
public:
    explicit Settler(Diagnostics& diagnostics) : diagnostics_(diagnostics) {}

    void settle(Family& family) {
        if (done_.insert(&family).second) {
            if (family.kind == Family::Kind::wrapped) {
                settle_inside(family.body);
            }
            apply(family.tagging, inner_tag(family));
        }
    }

    void settle(Use& use) {
        settle_inside(use);
        apply(use.tagging, use.family != nullptr ? outer_tag(*use.family) : own(use.simple));
    }

private:
    // Tags of wrapped families build on each other; the chain has an end, as the resolver saw to
    // it.
    void settle_inside(const Use& use) {
        if (use.family != nullptr) {
            settle(const_cast<Family&>(*use.family));
        }
    }

    static std::optional<std::uint32_t> own(const model::Simple& simple) {
        return simple.rep == model::Rep::open ? std::nullopt : std::optional(simple.tag);
    }

    static std::optional<std::uint32_t> inner_tag(const Family& family) {
        if (family.kind != Family::Kind::wrapped) {
            return family.own != 0 ? std::optional(family.own) : std::nullopt;
        }
        return family.body.family != nullptr ? outer_tag(*family.body.family)
                                             : own(family.body.simple);
    }

    void apply(model::Tagging& tagging, std::optional<std::uint32_t> inner) {
        tagging.own_tag = true;
        for (auto tag = tagging.written.rbegin(); tag != tagging.written.rend(); ++tag) {
            const std::optional<std::uint32_t> below =
                tagging.tags.empty() ? inner : std::optional(tagging.tags.front());
            if (tag->implicit && below) {
                const std::uint32_t packed = tag->packed | (*below & kConstructed);
                if (tagging.tags.empty()) {
                    tagging.own_tag = false;
                    tagging.tags.push_back(packed);
                } else {
                    tagging.tags.front() = packed;
                }
            } else {
                if (tag->by_word) {
                    diagnostics_.error(tag->place, "IMPLICIT in front of a CHOICE or an open type");
                }
                tagging.tags.insert(tagging.tags.begin(), tag->packed | kConstructed);
            }
        }
    }

    Diagnostics& diagnostics_;
    std::set<const Family*> done_;
};

void add_first_tags(const Use& use, std::vector<std::uint32_t>& tags, bool& any,
                    std::set<const Family*>& seen) {
    if (const auto tag = outer_tag(use)) {
        tags.push_back(*tag);
        return;
    }
    const Family* choice = structure_of(use);
    if (choice == nullptr) {
        const model::Simple* simple = simple_of(use);
        if (simple->raw_tag != 0) {
            tags.push_back(simple->raw_tag);
        } else if (simple->raw_family != nullptr && seen.insert(simple->raw_family).second) {
            Use raw;
            raw.family = simple->raw_family;
            add_first_tags(raw, tags, any, seen);
        } else {
            any = true;
        }
        return;
    }
    if (!seen.insert(choice).second) {
        return;
    }
    for (const model::Field& field : choice->fields) {
        add_first_tags(field.use, tags, any, seen);
    }
}

// Which field a tag means, among those that can stand at one spot.
class TagOwners {
public:
    explicit TagOwners(Diagnostics& diagnostics) : diagnostics_(diagnostics) {}

    void add(const model::Field& field) {
        const std::vector<std::uint32_t> tags = first_tags(field.use);
        if (tags.empty() && catch_all_ != nullptr) {
            diagnostics_.error(field.place, field.name + " and " + catch_all_->name +
                                                " can't be told apart: both begin with any tag");
        }
        if (tags.empty()) {
            catch_all_ = &field;
        }
        for (const std::uint32_t tag : tags) {
            const auto [entry, fresh] = owner_.emplace(tag & ~kConstructed, &field);
            if (!fresh && entry->second != &field) {
                diagnostics_.error(field.place, field.name + " and " + entry->second->name +
                                                    " have the same tag");
            }
        }
    }

private:
    Diagnostics& diagnostics_;
    std::map<std::uint32_t, const model::Field*> owner_;
    const model::Field* catch_all_ = nullptr;
};

void check_distinct(const Family& family, Diagnostics& diagnostics) {
    TagOwners owners(diagnostics);
    for (const model::Field& field : family.fields) {
        owners.add(field);
    }
}

// X.680, 25.6: elements that may be left out, and all that can stand in their place, up to the next
// element that must be there.
void check_sequence(const Family& family, Diagnostics& diagnostics) {
    std::optional<TagOwners> owners; // while a run of such elements lasts
    const model::Field* any = nullptr;
    bool shared = false;
    for (const model::Field& field : family.fields) {
        const bool mandatory = field.presence == model::Field::Presence::mandatory;
        if (!owners && mandatory) {
            continue;
        }
        if (!owners) {
            owners.emplace(diagnostics);
        }
        if (any != nullptr) {
            diagnostics.error(field.place, field.name + " can't be told from " + any->name +
                                               ", which begins with any tag");
        } else if (!shared) {
            owners->add(field);
        }
        any = !mandatory && first_tags(field.use).empty() ? &field : nullptr;
        shared = field.tag_shared;
        if (mandatory) {
            owners.reset();
        }
    }
}

// A shared tag is an explicit one in front of an optional element, and the same in front of the
// next.
void check_shared(const Family& family, Diagnostics& diagnostics) {
    for (std::size_t i = 0; i < family.fields.size(); ++i) {
        const model::Field& field = family.fields[i];
        if (!field.tag_shared) {
            continue;
        }
        const model::Field* next = i + 1 < family.fields.size() ? &family.fields[i + 1] : nullptr;
        const bool fits = next != nullptr && family.kind == Family::Kind::sequence &&
                          field.presence == model::Field::Presence::optional &&
                          next->presence == model::Field::Presence::optional &&
                          field.use.tagging.own_tag && field.use.tagging.tags.size() == 1 &&
                          field.use.tagging.tags == next->use.tagging.tags;
        if (!fits) {
            diagnostics.error(field.place,
                              "only an optional element with an explicit tag can share "
                              "it, with the optional element behind it");
        }
    }
}

} // namespace

std::optional<std::uint32_t> outer_tag(const Family& family) {
    const Family* at = &family;
    while (true) {
        if (!at->tagging.tags.empty()) {
            return at->tagging.tags.front();
        }
        if (at->kind != Family::Kind::wrapped) {
            return at->own != 0 ? std::optional(at->own) : std::nullopt;
        }
        if (at->body.family == nullptr) {
            return at->body.simple.rep == model::Rep::open ? std::nullopt
                                                           : std::optional(at->body.simple.tag);
        }
        at = at->body.family;
    }
}

std::optional<std::uint32_t> outer_tag(const Use& use) {
    if (!use.tagging.tags.empty()) {
        return use.tagging.tags.front();
    }
    if (use.family != nullptr) {
        return outer_tag(*use.family);
    }
    return use.simple.rep == model::Rep::open ? std::nullopt : std::optional(use.simple.tag);
}

std::vector<std::uint32_t> first_tags(const Use& use) {
    std::vector<std::uint32_t> tags;
    bool any = false;
    std::set<const Family*> seen;
    add_first_tags(use, tags, any, seen);
    return any ? std::vector<std::uint32_t>() : tags;
}

void settle_tags(model::Schema& schema, Diagnostics& diagnostics) {
    Settler settler(diagnostics);
    for (Family& family : schema.families) {
        settler.settle(family);
    }
    for (Family& family : schema.families) {
        for (model::Field& field : family.fields) {
            settler.settle(field.use);
        }
        if (family.kind == Family::Kind::list || family.kind == Family::Kind::array) {
            settler.settle(family.body);
        }
    }
    for (const Family& family : schema.families) {
        if (family.kind == Family::Kind::choice || family.kind == Family::Kind::set) {
            check_distinct(family, diagnostics);
        } else if (family.kind == Family::Kind::sequence) {
            check_sequence(family, diagnostics);
        }
        check_shared(family, diagnostics);
    }
}

} // namespace schemac
