// ElementReader: a walk over the elements of a message by the run-time's readers, so that it sees
// what the decoders will see. It owns a context, and no bytes: those have to stay. Throws
// CAtlException 0x80093101 for what can't be read, and 0x80093106 without memory.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include <chronoseal/asn1/codec.h>
#include <chronoseal/asn1rt/runtime.h>
#include <chronoseal/base/blob.h>

namespace Halcyon::PKI::TSP {

using Element = std::span<const unsigned char>;

inline constexpr std::uint32_t kSequenceTag = 0x20000010;
inline constexpr std::uint32_t kSetTag = 0x20000011;
inline constexpr std::uint32_t kContextTag0 = 0xA0000000; // the number is added to it

inline constexpr unsigned char kBooleanByte = 0x01;
inline constexpr unsigned char kIntegerByte = 0x02;
inline constexpr unsigned char kIdentifierByte = 0x06;
inline constexpr unsigned char kGeneralizedTimeByte = 0x18;
inline constexpr unsigned char kSequenceByte = 0x30;
inline constexpr unsigned char kContextByte0 = 0xA0; // the number is added to it

class ElementReader {
public:
    // At the outermost element of the bytes.
    explicit ElementReader(Element message);

    // Into a constructed element; the tag has to be this one.
    ElementLocation enter(std::uint32_t tag);
    bool ended(const ElementLocation& element) { return rtContentEnded(ctxt(), &element); }
    // The element has to be read to its very end.
    void leave(const ElementLocation& element);

    // Without regard to the constructed bit.
    bool at(unsigned char tag_byte) { return xd_peekIs(ctxt(), tag_byte); }
    void skip() { check(xd_NextElement(ctxt())); }
    void skip_if(unsigned char tag_byte);
    // The whole element, tag and length included.
    Element element();
    // An OBJECT IDENTIFIER's contents, which have to have whole arcs.
    Element identifier() { return identifier(kIdentifierByte); }
    Element identifier(unsigned char tag_byte);
    // The octets of an OCTET STRING, joined where they come in pieces.
    CBlob octets();

private:
    ASN1CTXT* ctxt() { return context_.get(); }
    static void check(int status);

    ASN1::ctxt_handle context_;
};

// Whether the contents of an OBJECT IDENTIFIER end with an arc, and each arc is below 2^32. Of
// others the decoders would make another identifier.
bool has_whole_arcs(Element contents);

// The contents of a whole primitive element with this tag byte; nothing for another one.
std::optional<Element> contents_of(Element whole, unsigned char tag_byte);

} // namespace Halcyon::PKI::TSP
