// Turns written types into families and uses. Tags are only collected here (see tagging.h).
#pragma once

#include <functional>
#include <set>
#include <string>

#include "schemac/diagnostics.h"
#include "schemac/families.h"
#include "schemac/marks.h"
#include "schemac/model.h"
#include "schemac/scope.h"
#include "schemac/syntax.h"

namespace schemac {

class TypeResolver {
public:
    TypeResolver(Scope& scope, model::Schema& schema, Families& families, Diagnostics& diagnostics)
        : scope_(scope), schema_(schema), families_(families), diagnostics_(diagnostics) {}

    /// Fills the family of a type assignment, unless that has been done or begun; whatever it
    /// refers to is filled on the way. Null when the symbol is no type.
    model::Family* define_named(const Symbol& symbol);

    /// Fills a family from a type written in a module.
    void define(model::Family& family, std::size_t module, const syntax::Type& type, Marks& marks);

    /// Object sets are named by types before they are filled; the owner of the sets says which they
    /// are.
    using SetFinder = std::function<const model::ObjectSet*(std::size_t module,
                                                            const std::string& name, Place place)>;
    void find_sets_by(SetFinder finder) { find_set_ = std::move(finder); }

private:
    struct OpenSpot {
        const syntax::Constraint* table = nullptr;
        bool list = false;
        bool contained = false;
    };

    model::Use use(std::size_t module, const syntax::Type& type, const std::string& nested_name,
                   Marks& marks);
    model::Use untyped_use(std::size_t module, const syntax::Type& type, const std::string& name,
                           bool own_family, Marks& marks);
    model::Use nested(std::size_t module, const syntax::Type& type, const std::string& name,
                      Marks& marks);
    model::Use list_use(std::size_t module, const syntax::Type& type,
                        const std::string& nested_name, Marks& marks);
    model::Use reference(std::size_t module, const syntax::Type& type);
    model::Use simple(std::size_t module, const syntax::Type& type, Marks& marks);
    model::Use class_field(std::size_t module, const syntax::Type& type, Marks& marks);
    model::Use raw(std::size_t module, const syntax::Type& type);

    void define_record(model::Family& family, std::size_t module, const syntax::Type& type);
    void add_components(model::Family& family, std::size_t module, const syntax::Type& type);
    void define_choice(model::Family& family, std::size_t module, const syntax::Type& type);
    void define_list(model::Family& family, std::size_t module, const syntax::Type& type,
                     Marks& marks);
    void check_member_names(const model::Family& family);
    model::Field field(const model::Family& family, std::size_t module,
                       const syntax::Component& component);
    void check_default(std::size_t module, const syntax::Type& type,
                       const syntax::DefaultValue& value);
    void bind_open_value(model::Family& family, std::size_t module, const syntax::Type& type);
    void own_tag(model::Family& family, std::uint32_t number, Marks& marks);

    void integer(model::Use& result, std::size_t module, const syntax::Type& type, Marks& marks);
    void ranged_integer(model::Use& result, bool wide);
    void enumerated(model::Use& result, std::size_t module, const syntax::Type& type);
    void bit_string(model::Use& result, std::size_t module, const syntax::Type& type, Marks& marks);
    /// The numbers of the names in braces; two of one name or number are reported.
    std::vector<std::int64_t> named_numbers(std::size_t module, const syntax::Type& type);
    model::Check check(std::size_t module, const syntax::Type& type, syntax::Constraint::Kind kind);
    void collect_tags(model::Tagging& tagging, std::size_t module, const syntax::Type& type);

    static OpenSpot open_spot(const syntax::Type& type);
    static bool has_own_family(const syntax::Type& type);

    void error(Place place, const std::string& text) { diagnostics_.error(place, text); }

    Scope& scope_;
    model::Schema& schema_;
    Families& families_;
    Diagnostics& diagnostics_;
    SetFinder find_set_;
    std::set<const model::Family*> begun_;
    std::set<const model::Family*> done_;
    int depth_ = 0;
};

} // namespace schemac
