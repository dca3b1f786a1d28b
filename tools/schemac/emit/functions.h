// The members of a type's family, one emitter each. Declarations go to the header, definitions to a
// source.
#pragma once

#include "schemac/emit/writer.h"
#include "schemac/model.h"

namespace schemac::emit {

/// Record, function declarations and control class, in this order.
void emit_record(Writer& header, const model::Family& family);
void emit_declarations(Writer& header, const model::Family& family);
void emit_control_class(Writer& header, const model::Family& family);

void emit_record_operations(Writer& source, const model::Family& family);
void emit_encode(Writer& source, const model::Family& family);
void emit_decode(Writer& source, const model::Family& family);
void emit_copy(Writer& source, const model::Family& family);
void emit_free(Writer& source, const model::Family& family);

/// Nothing for a family without an open value bound to a set. They stand in front of the encoder
/// and the decoder of the family.
void emit_encode_typed(Writer& source, const model::Family& family);
void emit_decode_typed(Writer& source, const model::Family& family);

void emit_class(Writer& header, const model::ObjectClass& object_class);
void emit_object(Writer& header, Writer& source, const model::Object& object);
void emit_set(Writer& header, Writer& source, const model::ObjectSet& set);

/// Whether the record is a type of its own, and not another name for one.
bool has_own_record(const model::Family& family);
/// Whether the control class is a class of its own.
bool has_own_control(const model::Family& family);

} // namespace schemac::emit
