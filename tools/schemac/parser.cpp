// Modules, imports and assignments; types are read by TypeParser.
#include "schemac/parser.h"

#include <algorithm>
#include <map>

#include "schemac/token_reader.h"
#include "schemac/type_parser.h"

namespace schemac {
namespace {

using syntax::Assignment;

class ModuleParser {
public:
    ModuleParser(const Source& source, Diagnostics& diagnostics, TokenList list)
        : source_(source), diagnostics_(diagnostics), annotations_(std::move(list.annotations)) {
        module_.source = &source;
        module_.tokens = std::move(list.tokens);
    }

    syntax::Module run() {
        TokenReader reader(source_, module_.tokens, {0, module_.tokens.size()});
        TypeParser types(reader, [this](std::size_t offset) { return own(offset); });
        reader_ = &reader;
        types_ = &types;
        if (guarded([&] { header(); })) {
            assignments();
        }
        distribute_annotations();
        return std::move(module_);
    }

private:
    template <class Step>
    bool guarded(Step step) {
        try {
            step();
            return true;
        } catch (const SyntaxError& error) {
            diagnostics_.error({&source_, error.offset}, error.text);
            module_.damaged = true;
            return false;
        }
    }

    void header() {
        module_.place = reader_->place();
        module_.name = reader_->expect(TokenKind::upper, "a module's name");
        if (reader_->is("{")) {
            reader_->skip_group();
        }
        reader_->expect("DEFINITIONS");
        if (reader_->take_if("IMPLICIT")) {
            module_.tag_default = syntax::TagMode::implicit;
        } else {
            reader_->take_if("EXPLICIT");
        }
        reader_->take_if("TAGS");
        reader_->expect("::=");
        reader_->expect("BEGIN");
        imports();
    }

    void imports() {
        if (!reader_->take_if("IMPORTS")) {
            return;
        }
        while (!reader_->take_if(";")) {
            const std::size_t first = module_.imports.size();
            do {
                if (!reader_->is(TokenKind::upper) && !reader_->is(TokenKind::lower)) {
                    reader_->fail("expected a name to import" + reader_->found());
                }
                const Place place = reader_->place();
                module_.imports.push_back({std::string(reader_->take().text), {}, place});
                if (reader_->is("{")) {
                    reader_->skip_group();
                }
            } while (reader_->take_if(","));
            reader_->expect("FROM");
            const std::string from = reader_->expect(TokenKind::upper, "a module's name");
            if (reader_->is("{")) {
                reader_->skip_group();
            }
            for (std::size_t i = first; i < module_.imports.size(); ++i) {
                module_.imports[i].module = from;
            }
        }
    }

    void assignments() {
        while (!reader_->take_if("END")) {
            if (reader_->at_end()) {
                diagnostics_.error(reader_->place(), "module without END");
                return;
            }
            const std::size_t begin = reader_->index();
            if (!guarded([&] { assignment(); })) {
                skip_to_next_assignment(begin);
            }
        }
        if (!reader_->at_end()) {
            diagnostics_.error(reader_->place(), "text behind END");
        }
    }

    // Definitions begin in column 1; that is where reading can go on after an error. END is no part
    // of a definition, wherever it stands.
    void skip_to_next_assignment(std::size_t begin) {
        if (reader_->is("::=") && reader_->index() > begin + 1) {
            reader_->step_back(); // the name in front was taken for a part of what is damaged
        } else if (reader_->index() == begin) {
            reader_->take();
        }
        bool first = true;
        while (!reader_->at_end()) {
            const bool starts = (reader_->is(TokenKind::upper) || reader_->is(TokenKind::lower)) &&
                                source_.position(reader_->peek().offset).column == 1;
            if (reader_->is("END") || (starts && !first)) {
                return;
            }
            if (starts && reader_->is("::=", 1) && reader_->index() > begin) {
                return;
            }
            first = false;
            reader_->take();
        }
    }

    void assignment() {
        Assignment result;
        result.place = reader_->place();
        own(result.place.offset);
        if (reader_->is(TokenKind::lower)) {
            result.kind = Assignment::Kind::value;
            result.name = reader_->take().text;
            governed(result);
        } else {
            if (is_keyword(reader_->peek().text)) {
                reader_->fail("expected a definition, found the word " +
                              std::string(reader_->peek().text) + " of the notation");
            }
            result.name = reader_->expect(TokenKind::upper, "a definition");
            if (reader_->is("{")) {
                reader_->fail("parameterized definitions are not supported");
            }
            if (!reader_->is("::=")) {
                result.kind = Assignment::Kind::set;
                governed(result);
            } else {
                reader_->take();
                if (reader_->is("CLASS")) {
                    result.kind = Assignment::Kind::class_;
                    result.definition = class_definition();
                } else {
                    result.type = types_->type();
                }
            }
        }
        module_.assignments.push_back(std::move(result));
    }

    void governed(Assignment& result) {
        result.type = types_->type();
        reader_->expect("::=");
        result.body.begin = reader_->index();
        if (reader_->is("{")) {
            reader_->skip_group();
        } else {
            reader_->take_if("-");
            if (reader_->is("::=", 1) || reader_->is(TokenKind::symbol) || reader_->at_end()) {
                reader_->fail("expected a value" + reader_->found());
            }
            reader_->take();
        }
        result.body.end = reader_->index();
    }

    syntax::Class class_definition() {
        syntax::Class result;
        reader_->expect("CLASS");
        reader_->expect("{");
        do {
            result.fields.push_back(class_field());
        } while (reader_->take_if(","));
        reader_->expect("}");
        reader_->expect("WITH");
        reader_->expect("SYNTAX");
        reader_->expect("{");
        result.syntax = syntax_items("}", 0);
        return result;
    }

    syntax::ClassField class_field() {
        syntax::ClassField field;
        reader_->expect("&");
        field.place = reader_->place();
        field.is_type = reader_->is(TokenKind::upper);
        if (!field.is_type && !reader_->is(TokenKind::lower)) {
            reader_->fail("expected a class field" + reader_->found());
        }
        field.name = reader_->take().text;
        own(field.place.offset);
        if (field.is_type) {
            reader_->take_if("OPTIONAL");
        } else {
            field.type = types_->type();
            reader_->take_if("UNIQUE");
        }
        return field;
    }

    std::vector<syntax::SyntaxItem> syntax_items(std::string_view close, int depth) {
        std::vector<syntax::SyntaxItem> result;
        if (depth > 8) {
            reader_->fail("syntax is nested too deep");
        }
        while (!reader_->take_if(close)) {
            syntax::SyntaxItem item;
            if (reader_->take_if("[")) {
                item.kind = syntax::SyntaxItem::Kind::group;
                item.items = syntax_items("]", depth + 1);
            } else if (reader_->take_if("&")) {
                item.kind = syntax::SyntaxItem::Kind::field;
                item.text = reader_->take().text;
            } else if (reader_->is(TokenKind::upper) || reader_->is(",")) {
                item.text = reader_->take().text;
            } else {
                reader_->fail("expected a word or field of the syntax" + reader_->found());
            }
            result.push_back(std::move(item));
        }
        return result;
    }

    // Which definition begins last on each line: that one gets the line's annotations.
    syntax::Annotations own(std::size_t name_offset) {
        owner_of_line_[source_.position(name_offset).line] = name_offset;
        return {};
    }

    void distribute_annotations() {
        std::map<std::size_t, syntax::Annotations> by_owner;
        for (Annotation& annotation : annotations_) {
            const auto owner = owner_of_line_.find(annotation.line);
            if (owner == owner_of_line_.end()) {
                diagnostics_.error(annotation.place,
                                   "no definition begins on the line of this annotation");
            } else {
                by_owner[owner->second].push_back(annotation);
            }
        }
        for (Assignment& assignment : module_.assignments) {
            give(by_owner, assignment.place, assignment.annotations);
            if (assignment.type) {
                give_components(by_owner, *assignment.type);
            }
        }
    }

    static void give(std::map<std::size_t, syntax::Annotations>& by_owner, const Place& place,
                     syntax::Annotations& target) {
        const auto found = by_owner.find(place.offset);
        if (found != by_owner.end()) {
            target = found->second;
        }
    }

    // The tree is shared as const once it is handed out; until then this parser is its only owner.
    static void give_components(std::map<std::size_t, syntax::Annotations>& by_owner,
                                const syntax::Type& type) {
        auto& components = const_cast<syntax::Type&>(type).components;
        for (syntax::Component& component : components) {
            give(by_owner, component.place, component.annotations);
            give_components(by_owner, *component.type);
        }
        if (type.element) {
            give_components(by_owner, *type.element);
        }
    }

    const Source& source_;
    Diagnostics& diagnostics_;
    std::vector<Annotation> annotations_;
    std::map<std::uint32_t, std::size_t> owner_of_line_;
    syntax::Module module_;
    TokenReader* reader_ = nullptr;
    TypeParser* types_ = nullptr;
};

class ObjectParser {
public:
    ObjectParser(const syntax::Module& module, syntax::TokenRange body,
                 const syntax::Class& object_class)
        : reader_(*module.source, module.tokens, body),
          types_(reader_, [](std::size_t) { return syntax::Annotations(); }), class_(object_class) {
    }

    std::vector<ObjectSetting> run() {
        reader_.expect("{");
        items(class_.syntax);
        reader_.expect("}");
        return std::move(result_);
    }

private:
    void items(const std::vector<syntax::SyntaxItem>& list) {
        for (const syntax::SyntaxItem& item : list) {
            switch (item.kind) {
            case syntax::SyntaxItem::Kind::word:
                reader_.expect(item.text);
                break;
            case syntax::SyntaxItem::Kind::field:
                setting(item.text);
                break;
            case syntax::SyntaxItem::Kind::group:
                if (group_begins(item.items)) {
                    items(item.items);
                }
                break;
            }
        }
    }

    bool group_begins(const std::vector<syntax::SyntaxItem>& list) const {
        if (list.empty()) {
            return false;
        }
        std::size_t ahead = 0;
        for (const syntax::SyntaxItem& item : list) {
            if (item.kind != syntax::SyntaxItem::Kind::word) {
                break;
            }
            if (!reader_.is(item.text, ahead++)) {
                return false;
            }
        }
        return ahead > 0 || !reader_.is("}");
    }

    void setting(const std::string& name) {
        const auto field = std::find_if(class_.fields.begin(), class_.fields.end(),
                                        [&](const auto& f) { return f.name == name; });
        if (field == class_.fields.end()) {
            reader_.fail("the class has no field &" + name);
        }
        ObjectSetting result;
        result.field = name;
        if (field->is_type) {
            result.type = types_.type();
        } else {
            result.value.begin = reader_.index();
            if (reader_.is("{")) {
                reader_.skip_group();
            } else if (reader_.is("}") || reader_.at_end()) {
                reader_.fail("expected a value" + reader_.found());
            } else {
                reader_.take();
            }
            result.value.end = reader_.index();
        }
        result_.push_back(std::move(result));
    }

    TokenReader reader_;
    TypeParser types_;
    const syntax::Class& class_;
    std::vector<ObjectSetting> result_;
};

} // namespace

syntax::Module parse_module(const Source& source, Diagnostics& diagnostics) {
    return ModuleParser(source, diagnostics, scan(source, diagnostics)).run();
}

std::vector<ObjectSetting> parse_object(const syntax::Module& module, syntax::TokenRange body,
                                        const syntax::Class& object_class,
                                        Diagnostics& diagnostics) {
    try {
        return ObjectParser(module, body, object_class).run();
    } catch (const SyntaxError& error) {
        diagnostics.error({module.source, error.offset}, error.text);
        return {};
    }
}

} // namespace schemac
