// The whole run-time in one header, for generated code.
#pragma once

#include <chronoseal/asn1rt/big_integer.h>
#include <chronoseal/asn1rt/bit_string_control.h>
#include <chronoseal/asn1rt/bit_string_value.h>
#include <chronoseal/asn1rt/character_text.h>
#include <chronoseal/asn1rt/context.h>
#include <chronoseal/asn1rt/control.h>
#include <chronoseal/asn1rt/copy.h>
#include <chronoseal/asn1rt/counted_context.h>
#include <chronoseal/asn1rt/decode.h>
#include <chronoseal/asn1rt/decode_buffer.h>
#include <chronoseal/asn1rt/encode.h>
#include <chronoseal/asn1rt/encode_buffer.h>
#include <chronoseal/asn1rt/error.h>
#include <chronoseal/asn1rt/generalized_time_control.h>
#include <chronoseal/asn1rt/heap.h>
#include <chronoseal/asn1rt/limits.h>
#include <chronoseal/asn1rt/list.h>
#include <chronoseal/asn1rt/list_control.h>
#include <chronoseal/asn1rt/memory_buffer.h>
#include <chronoseal/asn1rt/message_buffer.h>
#include <chronoseal/asn1rt/nesting.h> // DecodeNesting, which every decoder of a constructed type holds
#include <chronoseal/asn1rt/object_identifier.h>
#include <chronoseal/asn1rt/pdu.h>
#include <chronoseal/asn1rt/rtl_exception.h>
#include <chronoseal/asn1rt/status.h>
#include <chronoseal/asn1rt/stream.h>
#include <chronoseal/asn1rt/tag.h>
#include <chronoseal/asn1rt/time_control.h>
#include <chronoseal/asn1rt/time_value.h>
#include <chronoseal/asn1rt/utc_time_control.h>
#include <chronoseal/asn1rt/value_record.h>
