// What the traits of all value classes stand on: the codec templates, the traits of primitive types
// and of lists, and the conversions between texts and records.
#pragma once

#include <chronoseal/asn1/codec.h>
#include <chronoseal/asn1/object_identifier.h>
#include <chronoseal/asn1/primitive_traits.h>
#include <chronoseal/asn1/record_traits.h>
#include <chronoseal/asn1/text_width.h>
#include <chronoseal/asn1/time_choice_traits.h>
