// Information object classes, objects and sets. What they do stands in asn1data/object_support.h;
// here are their names.
#include <algorithm>

#include "schemac/emit/functions.h"
#include "schemac/emit/values.h"

namespace schemac::emit {

using model::Object;
using model::ObjectClass;
using model::ObjectSet;

namespace {

constexpr std::size_t kOneLine = 96; // behind the indentation

struct Operation {
    std::string result; ///< with its blank or star
    std::string name;
    std::string arguments;
    std::string idle;   ///< of an object without a type
    std::string active; ///< `Value` is the object's OpenValueType
};

// In the order of their slots; the destructor stands behind the third.
std::vector<Operation> operations(const std::string& suffix) {
    const std::string object = "ASN1CTXT* ctx, Asn1TObject& object";
    return {
        {"void* ", cat("constructASN1T", suffix), "ASN1CTXT* ctx", "return nullptr;",
         "return Value::constructRecord(ctx);"},
        {"ASN1CType* ", cat("constructASN1C", suffix), "ASN1MessageBufferIF& buffer, void* value",
         "return nullptr;", "return Value::constructControl(buffer, value);"},
        {"void ", cat("destructASN1C", suffix), "ASN1CType* control", "",
         "destroyControl(control);"},
        {"int ", cat("encodeBER", suffix), object, "return 0;",
         "return Value::encode(ctx, object);"},
        {"int ", cat("decodeBER", suffix), object, "return 0;",
         "return Value::decode(ctx, object);"},
        {"void ", cat("copy", suffix), "ASN1CTXT* ctx, Asn1TObject& source, Asn1TObject& target",
         "", "Value::copy(ctx, source, target);"},
        {"void ", cat("free", suffix), object, "", "Value::free(ctx, object);"},
    };
}

std::string unnamed(const std::string& arguments) {
    std::string result;
    for (std::size_t begin = 0; begin < arguments.size();) {
        const std::size_t end = std::min(arguments.find(", ", begin), arguments.size());
        result += arguments.substr(begin, arguments.rfind(' ', end - 1) - begin);
        result += end < arguments.size() ? ", " : "";
        begin = end + 2;
    }
    return result;
}

std::string braced(const std::string& statement) {
    return statement.empty() ? "{}" : cat("{ ", statement, " }");
}

std::string arcs(const std::vector<std::uint32_t>& id) {
    std::string result;
    for (const std::uint32_t arc : id) {
        result += cat(result.empty() ? "" : ", ", std::to_string(arc));
    }
    return result;
}

} // namespace

void emit_class(Writer& header, const ObjectClass& object_class) {
    const std::string& name = object_class.name;
    header.line("// The operations of the base do nothing and answer 0: those of an object without "
                "a type.");
    header.open(cat("class ", name));
    header.label("public:");
    if (object_class.presence_byte) {
        header.line("unsigned char m = 0xFF;");
    }
    if (object_class.has_id) {
        header.line("ASN1TObjId id;");
    }
    std::size_t slot = 0;
    for (const Operation& operation : operations(object_class.suffix)) {
        if (slot++ == 3) {
            header.line(cat("virtual ~", name, "() = default;"));
        }
        header.line(cat("virtual ", operation.result, operation.name, "(",
                        unnamed(operation.arguments), ") ", braced(operation.idle)));
    }
    header.line(cat(name, "(const ", name, "&) = delete;"));
    header.line(cat(name, "& operator=(const ", name, "&) = delete;"));
    header.line();
    header.line("// An object with a type, whose operations `Value` holds.");
    header.line("template <class Value>");
    header.line("class Row;");
    header.line();
    header.label("protected:");
    header.line(cat(name, "() = default;"));
    header.close(";");
    header.line();
    header.line("template <class Value>");
    header.open(cat("class ", name, "::Row : public ", name));
    header.label("public:");
    for (const Operation& operation : operations(object_class.suffix)) {
        const std::string head =
            cat(operation.result, operation.name, "(", operation.arguments, ") override");
        if (head.size() + operation.active.size() + 5 <= kOneLine) {
            header.line(cat(head, " ", braced(operation.active)));
            continue;
        }
        header.open(head);
        header.line(operation.active);
        header.close();
    }
    header.close(";");
    header.line();
}

void emit_object(Writer& header, Writer& source, const Object& object) {
    const std::string& class_name = object.object_class->name;
    if (object.type == nullptr) {
        open_class(header, object.name, class_name);
    } else {
        const model::Family& type = *object.type;
        const std::string free_function =
            type.owns_memory ? cat("asn1Free_", type.name) : std::string("nothingToFree");
        open_class(header, object.name,
                   cat(class_name, "::Row<OpenValueType<", record_name(type), ", ",
                       control_name(type), ", asn1E_", type.name, ", asn1D_", type.name,
                       ", asn1Copy_", type.name, ", ", free_function, ">>"));
    }
    header.label("public:");
    header.line(cat(object.name, "();"));
    header.close(";");
    header.line();
    source.line(cat(object.name, "::", object.name,
                    object.id.empty() ? "() = default;"
                                      : cat("() { assign(id, {", arcs(object.id), "}); }")));
    source.line();
}

void emit_set(Writer& header, Writer& source, const ObjectSet& set) {
    const std::string count = std::to_string(set.rows.size());
    open_class(header, set.name,
               cat("ObjectSet<", set.name, ", ", set.object_class->name, ", ", count, ">"));
    header.line("friend ObjectSet;");
    header.line(cat(set.name, "();"));
    header.close(";");
    header.line();

    std::string rows;
    for (const Object* row : set.rows) {
        rows += cat(rows.empty() ? "" : ", ", "new ", row->name);
    }
    source.line(cat(set.name, "::", set.name, "() : ObjectSet({", rows, "}) {}"));
    source.line();
}

} // namespace schemac::emit
