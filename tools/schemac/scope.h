// Names of all modules: who defines what, what an import leads to, and the numbers and object
// identifiers that value assignments spell. A name that leads nowhere is reported where it stands.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "schemac/diagnostics.h"
#include "schemac/syntax.h"

namespace schemac {

/// A definition and the module it stands in.
struct Symbol {
    std::size_t module = 0;
    const syntax::Assignment* assignment = nullptr;
    explicit operator bool() const { return assignment != nullptr; }
};

class Scope {
public:
    /// Reports double definitions and imports from nowhere. The modules must outlive the scope.
    Scope(const std::vector<syntax::Module>& modules, Diagnostics& diagnostics);

    const std::vector<syntax::Module>& modules() const { return modules_; }

    /// What `name` means inside a module; nothing, reported at `place`, when it means nothing.
    Symbol find(std::size_t module, const std::string& name, Place place);

    /// The same without a report.
    Symbol look(std::size_t module, const std::string& name) const;

    /// A number or the value of a name; nothing for MIN and MAX and after an error, which is
    /// reported.
    std::optional<std::int64_t> number(std::size_t module, const syntax::Number& number);

    /// The arcs of `{ ... }` or of a reference. Empty after an error, which is reported.
    std::vector<std::uint32_t> object_identifier(std::size_t module, syntax::TokenRange body);

private:
    std::vector<std::uint32_t> identifier(std::size_t module, syntax::TokenRange body, int depth);
    std::vector<std::uint32_t> referenced(std::size_t module, const Token& name, int depth);
    bool component(std::size_t module, const syntax::TokenRange& body, std::size_t& at, int depth,
                   std::vector<std::uint32_t>& arcs);
    std::optional<std::int64_t> number(std::size_t module, const syntax::Number& number, int depth);

    const std::vector<syntax::Module>& modules_;
    Diagnostics& diagnostics_;
    std::map<std::string, std::size_t> by_name_;
    std::vector<std::map<std::string, const syntax::Assignment*>> own_;
    std::vector<std::map<std::string, const syntax::Import*>> imports_;
};

} // namespace schemac
