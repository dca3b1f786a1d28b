// When definitions are missing because of syntax errors, complaints about their names would only be
// noise. Modules are read in the order of their files' stems, whatever order they are given in.
#include "schemac/compiler.h"

#include <algorithm>
#include <string>

#include "schemac/parser.h"
#include "schemac/resolver.h"

namespace schemac {
namespace {

std::vector<const Source*> in_order(const std::vector<std::unique_ptr<Source>>& sources,
                                    Diagnostics& diagnostics) {
    std::vector<const Source*> result;
    result.reserve(sources.size());
    for (const auto& source : sources) {
        result.push_back(source.get());
    }
    std::sort(result.begin(), result.end(), [](const Source* a, const Source* b) {
        return a->stem() != b->stem() ? a->stem() < b->stem() : a->path() < b->path();
    });
    for (std::size_t i = 1; i < result.size(); ++i) {
        if (result[i]->stem() == result[i - 1]->stem()) {
            diagnostics.error({result[i], 0},
                              "the output of " + result[i - 1]->path() + " has the same name");
        }
    }
    return result;
}

} // namespace

std::unique_ptr<model::Schema> compile(const std::vector<std::unique_ptr<Source>>& sources,
                                       Diagnostics& diagnostics) {
    std::vector<syntax::Module> modules;
    modules.reserve(sources.size());
    for (const Source* source : in_order(sources, diagnostics)) {
        modules.push_back(parse_module(*source, diagnostics));
    }
    if (std::any_of(modules.begin(), modules.end(), [](const auto& m) { return m.damaged; })) {
        return nullptr;
    }
    std::unique_ptr<model::Schema> schema = resolve(modules, diagnostics);
    return diagnostics.empty() ? std::move(schema) : nullptr;
}

} // namespace schemac
