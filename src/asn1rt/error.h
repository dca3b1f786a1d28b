// The status that a context keeps: the first failure of an operation, until it is reset.
#pragma once

#include <cstdint>

#include <chronoseal/visibility.h>

struct CHRONOSEAL_API ASN1ErrorRecord {
    std::int32_t status; // 0: nothing has gone wrong
};

extern "C" {

// Latches `status` if nothing is latched yet. The result is `status` in any case, so that
// `return rtErrSetData(...)` answers what was just reported while the record keeps the first.
CHRONOSEAL_API int rtErrSetData(ASN1ErrorRecord* errInfo, int status);

// Forgets the latched status; 0.
CHRONOSEAL_API int rtErrReset(ASN1ErrorRecord* errInfo);

// Overwrites the destination's status, whatever it was, and answers it.
CHRONOSEAL_API int rtErrCopyData(const ASN1ErrorRecord* source, ASN1ErrorRecord* destination);

// Always an empty text: the run-time formats no messages.
const CHRONOSEAL_API char* rtErrGetText();

// One line with the status to standard output; the result is printf's.
CHRONOSEAL_API int rtErrPrint(const ASN1ErrorRecord* errInfo);

// What a failure was about, for call sites that know. The run-time doesn't keep it; always 1.
CHRONOSEAL_API int rtErrAddIntParm(ASN1ErrorRecord* errInfo, int value);
CHRONOSEAL_API int rtErrAddStrParm(ASN1ErrorRecord* errInfo, const char* text);

} // extern "C"
