// Puts the families of a module together to files.
#include "schemac/emit/generate.h"

#include <set>

#include "schemac/emit/functions.h"
#include "schemac/emit/values.h"
#include "schemac/emit/writer.h"

namespace schemac {
namespace {

using emit::cat;
using emit::Writer;
using model::Family;
using model::Module;

void banner(Writer& writer, const Module& module, const std::string& what) {
    writer.line(cat("// ", what, " of module ", module.name, "; generated from ", module.stem,
                    ".asn1 by schemac."));
}

void include(Writer& writer, const std::string& header) {
    writer.line(cat("#include <chronoseal/asn1data/", header, ".h>"));
}

void open_namespace(Writer& writer) {
    writer.line("namespace asn1data {");
    writer.line();
}

void close_namespace(Writer& writer) {
    writer.line("} // namespace asn1data");
}

void forward_declarations(Writer& header, const Module& module) {
    std::set<const Family*> done;
    for (const Family* family : module.forward) {
        header.line(cat("struct ", emit::record_name(*family), ";"));
        done.insert(family);
    }
    for (const Family* family : module.families) {
        if (emit::has_own_control(*family)) {
            header.line(cat("class ", emit::control_name(*family), ";"));
        }
        if (family->kind != Family::Kind::choice) {
            continue;
        }
        for (const model::Field& field : family->fields) {
            const Family* of = field.use.family;
            if (of != nullptr && of->module == &module && emit::has_own_record(*of) &&
                done.insert(of).second) {
                header.line(cat("struct ", emit::record_name(*of), ";"));
            }
        }
    }
    header.line();
}

void values(Writer& header, const Module& module) {
    for (const model::NumberValue& number : module.numbers) {
        header.line(cat("inline constexpr std::int64_t ", number.name, " = ",
                        std::to_string(number.value), ";"));
    }
    for (const model::OidValue& oid : module.oids) {
        std::string arcs;
        for (const std::uint32_t arc : oid.arcs) {
            arcs += cat(arcs.empty() ? "" : ", ", std::to_string(arc));
        }
        header.line(cat("inline constexpr OidConstant ", oid.name, "{", arcs, "};"));
    }
    if (!module.numbers.empty() || !module.oids.empty()) {
        header.line();
    }
}

GeneratedFile header_file(const Module& module) {
    Writer header;
    banner(header, module, "Types");
    header.line("#pragma once");
    header.line();
    header.line("#include <cstdint>");
    header.line();
    include(header, "control_class");
    include(header, "object_support");
    for (const Module* other : module.header_includes) {
        include(header, other->stem);
    }
    header.line();
    open_namespace(header);
    forward_declarations(header, module);
    values(header, module);
    for (const Family* family : module.families) {
        emit::emit_record(header, *family);
        header.line();
        emit::emit_declarations(header, *family);
        header.line();
        emit::emit_control_class(header, *family);
        header.line();
    }
    for (const model::ObjectClass* object_class : module.classes) {
        emit::emit_class(header, *object_class);
    }
    Writer unused;
    for (const model::Object* object : module.objects) {
        emit::emit_object(header, unused, *object);
    }
    for (const model::ObjectSet* set : module.sets) {
        emit::emit_set(header, unused, *set);
    }
    close_namespace(header);
    return {cat(module.stem, ".h"), header.text()};
}

void source_head(Writer& source, const Module& module, const std::string& what,
                 const std::vector<std::string>& system, bool all_includes) {
    banner(source, module, what);
    include(source, module.stem);
    source.line();
    for (const std::string& name : system) {
        source.line(cat("#include <", name, ">"));
    }
    if (!system.empty()) {
        source.line();
    }
    include(source, "record_support");
    if (all_includes) {
        for (const Module* other : module.source_includes) {
            include(source, other->stem);
        }
    }
    source.line();
    open_namespace(source);
}

GeneratedFile source_file(const Module& module, const std::string& tail, const Writer& source) {
    return {cat(module.stem, tail, ".cpp"), source.text()};
}

GeneratedFile records_file(const Module& module) {
    Writer source;
    source_head(source, module, "Records, objects and sets", {}, true);
    for (const Family* family : module.families) {
        emit::emit_record_operations(source, *family);
    }
    Writer unused;
    for (const model::Object* object : module.objects) {
        emit::emit_object(unused, source, *object);
    }
    for (const model::ObjectSet* set : module.sets) {
        emit::emit_set(unused, source, *set);
    }
    close_namespace(source);
    return source_file(module, "", source);
}

GeneratedFile encode_file(const Module& module) {
    Writer source;
    source_head(source, module, "Encoders", {}, true);
    for (const Family* family : module.families) {
        emit::emit_encode_typed(source, *family);
        emit::emit_encode(source, *family);
    }
    close_namespace(source);
    return source_file(module, "_encode", source);
}

GeneratedFile decode_file(const Module& module) {
    Writer source;
    source_head(source, module, "Decoders", {}, true);
    for (const Family* family : module.families) {
        emit::emit_decode_typed(source, *family);
        emit::emit_decode(source, *family);
    }
    close_namespace(source);
    return source_file(module, "_decode", source);
}

GeneratedFile copy_file(const Module& module) {
    Writer source;
    source_head(source, module, "Copy and free functions", {"cstring"}, true);
    for (const Family* family : module.families) {
        emit::emit_copy(source, *family);
        emit::emit_free(source, *family);
    }
    close_namespace(source);
    return source_file(module, "_copy", source);
}

} // namespace

std::vector<GeneratedFile> generate(const model::Schema& schema) {
    std::vector<GeneratedFile> files;
    for (const Module& module : schema.modules) {
        files.push_back(header_file(module));
        files.push_back(records_file(module));
        files.push_back(encode_file(module));
        files.push_back(decode_file(module));
        files.push_back(copy_file(module));
    }
    return files;
}

} // namespace schemac
