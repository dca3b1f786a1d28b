// What the traits of all value classes stand on: the codec templates, the traits of primitive types
// and of lists, and the conversions between texts and records.
#pragma once

#include "asn1/code_class.h"
#include "asn1/codec.h"
#include "asn1/ctxt_handle.h"
#include "asn1/find_by_oid.h"
#include "asn1/generalized_time.h"
#include "asn1/object_identifier.h"
#include "asn1/octet_string.h"
#include "asn1/primitive_traits.h"
#include "asn1/seq_of_list_traits.h"
#include "asn1/text_width.h"
