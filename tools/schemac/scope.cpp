// Lookup goes to the module's own definitions, then to its imports; an import leads to the other
// module's own definitions only.
#include "schemac/scope.h"

#include <string>

namespace schemac {
namespace {

constexpr int kMaxDepth = 40;
// The first two arcs share a number of 32 bits on the wire: 80 + the second.
constexpr std::uint32_t kMaxSecondArc = UINT32_MAX - 80;

// First and second arcs that may be named without their number.
const std::map<std::string, std::uint32_t, std::less<>> kWellKnownArcs = {
    {"itu-t", 0},
    {"ccitt", 0},
    {"iso", 1},
    {"joint-iso-itu-t", 2},
    {"joint-iso-ccitt", 2},
    {"member-body", 2},
    {"identified-organization", 3}};

} // namespace

Scope::Scope(const std::vector<syntax::Module>& modules, Diagnostics& diagnostics)
    : modules_(modules), diagnostics_(diagnostics), own_(modules.size()), imports_(modules.size()) {
    for (std::size_t i = 0; i < modules.size(); ++i) {
        const syntax::Module& module = modules[i];
        if (!module.name.empty() && !by_name_.emplace(module.name, i).second) {
            diagnostics.error(module.place, "module " + module.name + " is defined twice");
        }
        for (const syntax::Assignment& assignment : module.assignments) {
            if (!own_[i].emplace(assignment.name, &assignment).second) {
                diagnostics.error(assignment.place, assignment.name + " is defined twice");
            }
        }
    }
    for (std::size_t i = 0; i < modules.size(); ++i) {
        for (const syntax::Import& import : modules[i].imports) {
            const auto from = by_name_.find(import.module);
            if (from == by_name_.end()) {
                diagnostics.error(import.place, "there is no module " + import.module);
            } else if (!own_[from->second].contains(import.name)) {
                diagnostics.error(import.place, import.module + " doesn't define " + import.name);
            } else if (own_[i].contains(import.name)) {
                diagnostics.error(import.place, import.name + " is imported and defined");
            } else {
                imports_[i].emplace(import.name, &import);
            }
        }
    }
}

Symbol Scope::look(std::size_t module, const std::string& name) const {
    const auto own = own_[module].find(name);
    if (own != own_[module].end()) {
        return {module, own->second};
    }
    const auto import = imports_[module].find(name);
    if (import == imports_[module].end()) {
        return {};
    }
    const std::size_t from = by_name_.at(import->second->module);
    return {from, own_[from].at(name)};
}

Symbol Scope::find(std::size_t module, const std::string& name, Place place) {
    const Symbol symbol = look(module, name);
    if (!symbol) {
        diagnostics_.error(place, name + " is neither defined nor imported");
    }
    return symbol;
}

std::optional<std::int64_t> Scope::number(std::size_t module, const syntax::Number& number) {
    return this->number(module, number, 0);
}

std::optional<std::int64_t> Scope::number(std::size_t module, const syntax::Number& number,
                                          int depth) {
    if (number.kind == syntax::Number::Kind::literal) {
        return number.value;
    }
    if (number.kind != syntax::Number::Kind::reference) {
        return std::nullopt;
    }
    const Symbol symbol = find(module, number.name, number.place);
    if (!symbol) {
        return std::nullopt;
    }
    const syntax::Assignment& assignment = *symbol.assignment;
    const std::vector<Token>& tokens = modules_[symbol.module].tokens;
    const std::size_t size = assignment.body.end - assignment.body.begin;
    if (assignment.kind == syntax::Assignment::Kind::value && size >= 1 && depth < kMaxDepth) {
        const Token& last = tokens[assignment.body.end - 1];
        if (last.kind == TokenKind::number) {
            return size == 2 ? -last.value : last.value;
        }
        if (last.kind == TokenKind::lower && size == 1) {
            syntax::Number next;
            next.kind = syntax::Number::Kind::reference;
            next.name = last.text;
            next.place = {modules_[symbol.module].source, last.offset};
            return this->number(symbol.module, next, depth + 1);
        }
    }
    diagnostics_.error(number.place, number.name + " is not a number");
    return std::nullopt;
}

std::vector<std::uint32_t> Scope::object_identifier(std::size_t module, syntax::TokenRange body) {
    return identifier(module, body, 0);
}

std::vector<std::uint32_t> Scope::identifier(std::size_t module, syntax::TokenRange body,
                                             int depth) {
    const std::vector<Token>& tokens = modules_[module].tokens;
    std::vector<std::uint32_t> arcs;
    if (body.end <= body.begin) {
        return arcs;
    }
    const Token& first = tokens[body.begin];
    if (first.kind == TokenKind::lower) {
        return referenced(module, first, depth);
    }
    std::size_t at = body.begin + 1;
    const syntax::TokenRange inside{body.begin + 1, body.end - 1};
    while (at < inside.end) {
        if (!component(module, inside, at, depth, arcs)) {
            return {};
        }
    }
    if (first.text != "{" || arcs.size() < 2 || arcs.size() > 128) {
        diagnostics_.error({modules_[module].source, first.offset}, "not an object identifier");
        return {};
    }
    if (arcs[0] > 2 || (arcs[0] < 2 && arcs[1] > 39) || arcs[1] > kMaxSecondArc) {
        diagnostics_.error({modules_[module].source, first.offset},
                           "no object identifier begins with " + std::to_string(arcs[0]) + "." +
                               std::to_string(arcs[1]));
        return {};
    }
    return arcs;
}

std::vector<std::uint32_t> Scope::referenced(std::size_t module, const Token& name, int depth) {
    const Place place{modules_[module].source, name.offset};
    if (depth > kMaxDepth) {
        diagnostics_.error(place, "object identifiers are defined by each other");
        return {};
    }
    const Symbol symbol = find(module, std::string(name.text), place);
    if (!symbol) {
        return {};
    }
    if (symbol.assignment->kind != syntax::Assignment::Kind::value) {
        diagnostics_.error(place, std::string(name.text) + " is not an object identifier");
        return {};
    }
    return identifier(symbol.module, symbol.assignment->body, depth + 1);
}

// One of: `7`, `name(7)`, a well-known name, and at the beginning the name of another identifier.
bool Scope::component(std::size_t module, const syntax::TokenRange& body, std::size_t& at,
                      int depth, std::vector<std::uint32_t>& arcs) {
    const std::vector<Token>& tokens = modules_[module].tokens;
    const Token* token = &tokens[at];
    if (token->kind == TokenKind::lower && at + 3 < body.end + 1 && tokens[at + 1].text == "(") {
        token = &tokens[at + 2];
        at += 4;
    } else {
        ++at;
    }
    if (token->kind == TokenKind::number && token->value <= UINT32_MAX) {
        arcs.push_back(static_cast<std::uint32_t>(token->value));
        return true;
    }
    if (token->kind == TokenKind::lower) {
        const auto known = kWellKnownArcs.find(token->text);
        if (known != kWellKnownArcs.end() && !look(module, std::string(token->text))) {
            arcs.push_back(known->second);
            return true;
        }
        if (arcs.empty()) {
            arcs = referenced(module, *token, depth);
            return !arcs.empty();
        }
    }
    diagnostics_.error({modules_[module].source, token->offset},
                       "expected a component of an object identifier");
    return false;
}

} // namespace schemac
