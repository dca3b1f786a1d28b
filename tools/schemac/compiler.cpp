// When definitions are missing because of syntax errors, complaints about their names would only be
// noise.
#include "schemac/compiler.h"

#include <algorithm>

#include "schemac/parser.h"
#include "schemac/resolver.h"

namespace schemac {

std::unique_ptr<model::Schema> compile(const std::vector<std::unique_ptr<Source>>& sources,
                                       Diagnostics& diagnostics) {
    std::vector<syntax::Module> modules;
    modules.reserve(sources.size());
    for (const auto& source : sources) {
        modules.push_back(parse_module(*source, diagnostics));
    }
    if (std::any_of(modules.begin(), modules.end(), [](const auto& m) { return m.damaged; })) {
        return nullptr;
    }
    std::unique_ptr<model::Schema> schema = resolve(modules, diagnostics);
    return diagnostics.empty() ? std::move(schema) : nullptr;
}

} // namespace schemac
