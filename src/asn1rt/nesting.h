// The bound on how deep decoders call each other, and on what one decode allocates. Each generated
// decoder of a constructed type holds a DecodeNesting while it works. The outermost one opens the
// type heap's allocation budget (see limits.h), and closes it when it goes.
#pragma once

#include <chronoseal/asn1rt/context.h>
#include <chronoseal/asn1rt/limits.h>

extern "C" {

// Opens and closes the budget; called for the outermost level only.
CHRONOSEAL_API void rtBeginDecode(ASN1CTXT* ctxt);
CHRONOSEAL_API void rtEndDecode(ASN1CTXT* ctxt);

} // extern "C"

class DecodeNesting {
public:
    explicit DecodeNesting(ASN1CTXT* ctxt) : ctxt_(ctxt) {
        if (ctxt->nestingDepth >= rtMaxNestingDepth) {
            ctxt_ = nullptr;
            return;
        }
        if (ctxt->nestingDepth++ == 0) {
            rtBeginDecode(ctxt);
        }
    }
    ~DecodeNesting() {
        if (ctxt_ != nullptr && --ctxt_->nestingDepth == 0) {
            rtEndDecode(ctxt_);
        }
    }
    DecodeNesting(const DecodeNesting&) = delete;
    DecodeNesting& operator=(const DecodeNesting&) = delete;

    // True when the message nests too deep: the decoder answers rtStatusNoMemory and reads nothing.
    bool refused() const { return ctxt_ == nullptr; }

private:
    ASN1CTXT* ctxt_;
};
