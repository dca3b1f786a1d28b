// Information object classes, objects and sets.
#include "schemac/emit/functions.h"
#include "schemac/emit/values.h"

namespace schemac::emit {

using model::Object;
using model::ObjectClass;
using model::ObjectSet;

namespace {

// The operations of a class in the order of their slots; the destructor is the fourth.
struct Operations {
    explicit Operations(const std::string& suffix)
        : construct_record(cat("constructASN1T", suffix)),
          construct_control(cat("constructASN1C", suffix)),
          destruct_control(cat("destructASN1C", suffix)), encode(cat("encodeBER", suffix)),
          decode(cat("decodeBER", suffix)), copy(cat("copy", suffix)), free(cat("free", suffix)) {}
    std::string construct_record, construct_control, destruct_control, encode, decode, copy, free;
};

std::string arcs(const std::vector<std::uint32_t>& id) {
    std::string result;
    for (const std::uint32_t arc : id) {
        result += cat(result.empty() ? "" : ", ", std::to_string(arc));
    }
    return result;
}

} // namespace

void emit_class(Writer& header, Writer& source, const ObjectClass& object_class) {
    const Operations names(object_class.suffix);
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
    header.line(cat("virtual void* ", names.construct_record, "(ASN1CTXT* ctx);"));
    header.line(cat("virtual ASN1CType* ", names.construct_control,
                    "(ASN1MessageBufferIF& buffer, void* value);"));
    header.line(cat("virtual void ", names.destruct_control, "(ASN1CType* control);"));
    header.line(cat("virtual ~", name, "();"));
    header.line(cat("virtual int ", names.encode, "(ASN1CTXT* ctx, Asn1TObject& object);"));
    header.line(cat("virtual int ", names.decode, "(ASN1CTXT* ctx, Asn1TObject& object);"));
    header.line(cat("virtual void ", names.copy,
                    "(ASN1CTXT* ctx, const Asn1TObject& source, Asn1TObject& target);"));
    header.line(cat("virtual void ", names.free, "(ASN1CTXT* ctx, Asn1TObject& object);"));
    header.line(cat(name, "(const ", name, "&) = delete;"));
    header.line(cat(name, "& operator=(const ", name, "&) = delete;"));
    header.line();
    header.label("protected:");
    header.line(cat(name, "();"));
    header.close(";");
    header.line();

    const std::string scope = cat(name, "::");
    source.line(cat(scope, name, "() = default;"));
    source.line(cat("void* ", scope, names.construct_record, "(ASN1CTXT*) { return nullptr; }"));
    source.line(cat("ASN1CType* ", scope, names.construct_control,
                    "(ASN1MessageBufferIF&, void*) { return nullptr; }"));
    source.line(cat("void ", scope, names.destruct_control, "(ASN1CType*) {}"));
    source.line(cat(scope, "~", name, "() = default;"));
    source.line(cat("int ", scope, names.encode, "(ASN1CTXT*, Asn1TObject&) { return 0; }"));
    source.line(cat("int ", scope, names.decode, "(ASN1CTXT*, Asn1TObject&) { return 0; }"));
    source.line(
        cat("void ", scope, names.copy, "(ASN1CTXT*, const Asn1TObject&, Asn1TObject&) {}"));
    source.line(cat("void ", scope, names.free, "(ASN1CTXT*, Asn1TObject&) {}"));
    source.line();
}

namespace {

void declare_operations(Writer& header, const Operations& names) {
    header.line(cat("void* ", names.construct_record, "(ASN1CTXT* ctx) override;"));
    header.line(cat("ASN1CType* ", names.construct_control,
                    "(ASN1MessageBufferIF& buffer, void* value) override;"));
    header.line(cat("void ", names.destruct_control, "(ASN1CType* control) override;"));
    header.line(cat("int ", names.encode, "(ASN1CTXT* ctx, Asn1TObject& object) override;"));
    header.line(cat("int ", names.decode, "(ASN1CTXT* ctx, Asn1TObject& object) override;"));
    header.line(cat("void ", names.copy,
                    "(ASN1CTXT* ctx, const Asn1TObject& source, Asn1TObject& target) override;"));
    header.line(cat("void ", names.free, "(ASN1CTXT* ctx, Asn1TObject& object) override;"));
}

void define_construction(Writer& source, const Object& object, const Operations& names) {
    const std::string scope = cat(object.name, "::");
    const std::string record = record_name(*object.type);
    source.line(cat("void* ", scope, names.construct_record, "(ASN1CTXT* ctx) { return required<",
                    record, ">(ctx); }"));
    source.open(cat("ASN1CType* ", scope, names.construct_control,
                    "(ASN1MessageBufferIF& buffer, void* value)"));
    source.line(cat("auto& record = *static_cast<", record, "*>(value);"));
    source.line(cat("void* place = requiredBlock(buffer.getCtxtPtr(), sizeof(",
                    control_name(*object.type), "));"));
    source.line(cat("return new (place) ", control_name(*object.type), "(buffer, record);"));
    source.close();
    source.open(cat("void ", scope, names.destruct_control, "(ASN1CType* control)"));
    source.line("destroyControl(control);");
    source.close();
}

void define_coding(Writer& source, const Object& object, const Operations& names) {
    const std::string scope = cat(object.name, "::");
    const std::string record = record_name(*object.type);
    const std::string cast = cat("static_cast<", record, "*>(");
    source.open(cat("int ", scope, names.encode, "(ASN1CTXT* ctx, Asn1TObject& object)"));
    source.open("if (object.decoded == nullptr)");
    source.line("return failed(ctx, rtStatusInvalidArgument);");
    source.close();
    source.line(
        cat("return asn1E_", object.type->name, "(ctx, ", cast, "object.decoded), ownTag);"));
    source.close();
    source.open(cat("int ", scope, names.decode, "(ASN1CTXT* ctx, Asn1TObject& object)"));
    source.line(cat("auto* record = required<", record, ">(ctx);"));
    source.line("object.decoded = record;");
    source.line(cat("return asn1D_", object.type->name, "(ctx, record, ownTag, 0);"));
    source.close();
    source.open(cat("void ", scope, names.copy,
                    "(ASN1CTXT* ctx, const Asn1TObject& source, Asn1TObject& target)"));
    source.line("target.decoded = nullptr;");
    source.open("if (source.decoded != nullptr)");
    source.line(cat("auto* record = required<", record, ">(ctx);"));
    source.line(cat("asn1Copy_", object.type->name, "(ctx, ", cast, "source.decoded), record);"));
    source.line("target.decoded = record;");
    source.close();
    source.close();
    source.open(cat("void ", scope, names.free, "(ASN1CTXT* ctx, Asn1TObject& object)"));
    if (object.type->owns_memory) {
        source.open("if (object.decoded != nullptr)");
        source.line(cat("asn1Free_", object.type->name, "(ctx, ", cast, "object.decoded));"));
        source.close();
    }
    source.line("release(ctx, object.decoded);");
    source.close();
}

} // namespace

void emit_object(Writer& header, Writer& source, const Object& object) {
    const ObjectClass& object_class = *object.object_class;
    const Operations names(object_class.suffix);
    header.open(cat("class ", object.name, " : public ", object_class.name));
    header.label("public:");
    header.line(cat(object.name, "();"));
    if (object.type != nullptr) {
        declare_operations(header, names);
    }
    header.close(";");
    header.line();

    if (object.id.empty()) {
        source.line(cat(object.name, "::", object.name, "() = default;"));
    } else {
        source.line(
            cat(object.name, "::", object.name, "() { assign(id, {", arcs(object.id), "}); }"));
    }
    if (object.type != nullptr) {
        define_construction(source, object, names);
        define_coding(source, object, names);
    }
    source.line();
}

void emit_set(Writer& header, Writer& source, const ObjectSet& set) {
    const std::string& class_name = set.object_class->name;
    const std::string count = std::to_string(set.rows.size());
    header.open(cat("class ", set.name));
    header.label("public:");
    header.line("// Made at first use, from whichever thread; lives until the process ends.");
    header.line(cat("static ", set.name, "* instance(ASN1CTXT* ctx);"));
    header.line("// The first row with this identifier, or null.");
    header.line(cat(class_name, "* lookupObject(const ASN1OBJID& id) const;"));
    header.line();
    header.label("private:");
    header.line(cat(set.name, "();"));
    header.line("static void create();");
    header.line(cat("static ", set.name, "* mpInstance;"));
    if (!set.rows.empty()) {
        header.line(cat(class_name, "* mObjects[", count, "];"));
        header.line(cat("ObjectIndex<", count, "> mIndex;"));
    }
    header.line(cat("[[maybe_unused]] std::uint32_t mCount = ", count, ";"));
    header.close(";");
    header.line();

    const std::string scope = cat(set.name, "::");
    source.line(cat(set.name, "* ", scope, "mpInstance = nullptr;"));
    source.line();
    std::string rows;
    for (const Object* row : set.rows) {
        rows += cat(rows.empty() ? "" : ", ", "new ", row->name);
    }
    if (set.rows.empty()) {
        source.line(cat(scope, set.name, "() = default;"));
    } else {
        source.line(cat(scope, set.name, "() : mObjects{", rows, "} {"));
        source.line("    mIndex.fill(mObjects);");
        source.line("}");
    }
    source.line();
    source.line(cat("void ", scope, "create() { mpInstance = new ", set.name, "; }"));
    source.line();
    source.open(cat(set.name, "* ", scope, "instance(ASN1CTXT*)"));
    source.line("static pthread_once_t once = PTHREAD_ONCE_INIT;");
    source.line("pthread_once(&once, create);");
    source.line("return mpInstance;");
    source.close();
    source.line();
    if (set.rows.empty()) {
        source.line(cat(class_name, "* ", scope,
                        "lookupObject(const ASN1OBJID&) const { return nullptr; }"));
    } else {
        source.open(cat(class_name, "* ", scope, "lookupObject(const ASN1OBJID& id) const"));
        source.line("const int row = mIndex.find(id);");
        source.line("return row < 0 ? nullptr : mObjects[row];");
        source.close();
    }
    source.line();
}

} // namespace schemac::emit
