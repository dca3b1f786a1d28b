// Readers that find, skip, count and measure elements without a look at their contents. All of them
// go through the message once and without recursion.
#include <chronoseal/asn1rt/decode.h>
#include <chronoseal/asn1rt/reader.h>

namespace {

using asn1rt::skip;

constexpr std::uint32_t kSameButForm = ~rtTagConstructed;

// Behind the primitive element whose header was read last, or into a constructed one.
int step(ASN1CTXT* ctxt, std::uint32_t tag, int length) {
    if ((tag & rtTagConstructed) != 0 || length <= 0) {
        return rtStatusOk;
    }
    return skip(ctxt, static_cast<std::uint32_t>(length)) ? rtStatusOk : rtStatusEndOfBuffer;
}

// The header that xd_match asks for, with the cursor behind it.
int find(ASN1CTXT* ctxt, std::uint32_t wanted, int* length, bool seek) {
    std::uint32_t tag;
    int status = xd_tag_len(ctxt, &tag, length, xdAdvance);
    while (status == rtStatusOk && ((tag ^ wanted) & kSameButForm) != 0) {
        if (!seek) {
            return rtStatusTagNotFound;
        }
        status = step(ctxt, tag, *length);
        if (status == rtStatusOk) {
            status = xd_tag_len(ctxt, &tag, length, xdAdvance);
        }
    }
    return status;
}

// In a search the end of the message is what "not found" looks like.
int as_absence(int status) {
    return status == rtStatusEndOfBuffer ? rtStatusTagNotFound : status;
}

} // namespace

int xd_match(ASN1CTXT* ctxt, std::uint32_t tag, int* length, int options) {
    BufferState start;
    xu_SaveBufferState(ctxt, &start);
    int read = 0;
    int status = rtStatusOk;
    if ((options & xdStepOver) != 0) {
        std::uint32_t current;
        status = xd_tag_len(ctxt, &current, &read, xdAdvance);
        if (status == rtStatusOk) {
            status = step(ctxt, current, read);
        }
        if (status != rtStatusOk) {
            xu_RestoreBufferState(ctxt, &start);
            return as_absence(status);
        }
        xu_SaveBufferState(ctxt, &start);
    }
    status = find(ctxt, tag, &read, (options & xdSeek) != 0);
    if (status != rtStatusOk) {
        xu_RestoreBufferState(ctxt, &start);
        return as_absence(status);
    }
    if (length != nullptr) {
        *length = read;
    }
    if ((options & xdAdvance) == 0) {
        ctxt->bufIndex = ctxt->savedIndex;
        ctxt->flags = ctxt->savedFlags;
    }
    return rtStatusOk;
}

int xd_NextElement(ASN1CTXT* ctxt) {
    std::uint32_t tag;
    int length;
    const int status = xd_tag_len(ctxt, &tag, &length, xdAdvance);
    if (status != rtStatusOk) {
        return status;
    }
    if (length == rtIndefiniteLength) {
        return xd_MovePastEOC(ctxt);
    }
    return skip(ctxt, static_cast<std::uint32_t>(length)) ? rtStatusOk : rtStatusEndOfBuffer;
}

int xd_MovePastEOC(ASN1CTXT* ctxt) {
    std::uint32_t depth = 1;
    while (depth != 0) {
        std::uint32_t tag;
        int length;
        const int status = xd_tag_len(ctxt, &tag, &length, xdAdvance);
        if (status != rtStatusOk) {
            return status;
        }
        if (length == rtIndefiniteLength) {
            ++depth;
        } else if (length > 0) {
            if (!skip(ctxt, static_cast<std::uint32_t>(length))) {
                return rtStatusEndOfBuffer;
            }
        } else if (tag == 0) {
            --depth;
        }
    }
    return rtStatusOk;
}

int xd_count(ASN1CTXT* ctxt, int length, std::uint32_t* count) {
    BufferState start;
    xu_SaveBufferState(ctxt, &start);
    *count = 0;
    const ElementLocation contents = rtContentLocation(ctxt, length);
    while (!rtContentEnded(ctxt, &contents)) {
        const int status = xd_NextElement(ctxt);
        if (status != rtStatusOk) {
            return status;
        }
        ++*count;
    }
    xu_RestoreBufferState(ctxt, &start);
    return rtStatusOk;
}

int asn1rt::indefinite_size(const unsigned char* data, std::uint32_t size) {
    ASN1CTXT element{}; // reading headers needs no heap
    element.bufData = const_cast<unsigned char*>(data);
    element.bufSize = size;
    std::uint32_t tag;
    int length;
    int status = xd_tag_len(&element, &tag, &length, xdAdvance);
    if (status == rtStatusOk && length != rtIndefiniteLength) {
        status = rtStatusInvalidLength;
    }
    if (status == rtStatusOk) {
        status = xd_MovePastEOC(&element);
    }
    return status == rtStatusOk ? static_cast<int>(element.bufIndex) : status;
}

int xd_indeflen_ex(const unsigned char* data, int maxLength) {
    if (maxLength < 5) {
        return 0;
    }
    if (data == nullptr) {
        return rtStatusInvalidArgument;
    }
    return asn1rt::indefinite_size(data, static_cast<std::uint32_t>(maxLength));
}

// A piece of indefinite length is entered, and its end-of-contents ends the whole string: so the
// first end-of-contents does, at whatever level, and no level needs to be kept.
int xd_consStrIndefLenAndSize(ASN1CTXT* ctxt, std::uint32_t pieceTag, int* contents_size,
                              int* totalLength) {
    BufferState start;
    xu_SaveBufferState(ctxt, &start);
    std::uint32_t sum = 0;
    for (;;) {
        const std::uint32_t piece = ctxt->bufIndex;
        std::uint32_t tag;
        int length;
        const int status = xd_tag_len(ctxt, &tag, &length, xdAdvance);
        if (status != rtStatusOk) {
            return status;
        }
        if (tag != 0 && tag != pieceTag) {
            return rtStatusInvalidTag;
        }
        if (length > 0) {
            if (!skip(ctxt, static_cast<std::uint32_t>(length))) {
                return rtStatusEndOfBuffer;
            }
            sum += static_cast<std::uint32_t>(length);
        } else if (tag == 0 && length == 0) {
            *contents_size = static_cast<int>(sum);
            *totalLength = static_cast<int>(piece - start.index);
            xu_RestoreBufferState(ctxt, &start);
            return rtStatusOk;
        }
    }
}
