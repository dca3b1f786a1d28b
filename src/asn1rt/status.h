// The status numbers of the run-time. A function answers 0 or a length when it succeeded and one of
// these negative numbers when it didn't. The numbers are part of the interface and never change.
#pragma once

inline constexpr int rtStatusOk = 0;
inline constexpr int rtStatusBufferOverflow = -1; // fixed buffer or output array too small
inline constexpr int rtStatusEndOfBuffer = -2;    // message ends inside a tag, length or value
inline constexpr int rtStatusTagNotFound = -3; // another tag at the cursor: optional element absent
inline constexpr int rtStatusInvalidObjectId = -4; // OID can't be encoded, or more than 128 arcs
inline constexpr int rtStatusInvalidLength = -5;   // bad length field, or missing end-of-contents
inline constexpr int rtStatusInvalidEnum = -6;     // value outside the enumeration
inline constexpr int rtStatusDuplicateSetElement = -7; // element of a SET seen twice
inline constexpr int rtStatusMissingElement = -8;      // mandatory element absent
inline constexpr int rtStatusElementNotInSet = -9;     // element unknown to a SET
inline constexpr int rtStatusTooManyElements = -10;    // more elements than the SEQUENCE defines
inline constexpr int rtStatusInvalidChoice = -11; // selector or tag is no alternative of the CHOICE
inline constexpr int rtStatusNoMemory = -12;      // allocation failed or refused (see limits.h)
inline constexpr int rtStatusValueTooLong = -17;  // decoded string doesn't fit a static array
inline constexpr int rtStatusInvalidArgument =
    -18; // null pointer, malformed number, damaged open type
inline constexpr int rtStatusInvalidTag =
    -21; // tag number above 29 bits, foreign piece of a string
inline constexpr int rtStatusConstraintViolation = -23; // outside a size or range of the schema
inline constexpr int rtStatusBitRange = -24;            // start of a bit range behind its end
inline constexpr int rtStatusInvalidUTF8 = -26;         // malformed UTF-8
inline constexpr int rtStatusListChanged = -27;         // list changed behind an iterator
inline constexpr int rtStatusNoCurrentElement = -28;    // iterator has not returned an element yet
inline constexpr int rtStatusBitIndex = -29;            // bit index outside the string
inline constexpr int rtStatusNullArgument =
    -30; // null slot or operand, unusable radix, closed stream
inline constexpr int rtStatusInvalidTime = -31;     // time field or text out of range
inline constexpr int rtStatusNotInitialised = -32;  // context not alive, stream that can't write
inline constexpr int rtStatusIntegerOverflow = -33; // INTEGER too long for its target
inline constexpr int rtStatusNotSupported = -99;    // the class doesn't offer this operation
