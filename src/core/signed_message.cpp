// Reader of signed data: one walk over the message by the run-time's readers, without copies but
// for the content.
#include "core/signed_message.h"

#include <cstring>
#include <limits>

#include "asn1/ctxt_handle.h"
#include "asn1/failure.h"
#include "asn1rt/runtime.h"

namespace Halcyon::PKI::TSP {

namespace {

constexpr std::uint32_t kSequenceTag = 0x20000010;
constexpr std::uint32_t kSetTag = 0x20000011;
constexpr std::uint32_t kContextTag0 = 0xA0000000;
constexpr unsigned char kSequenceByte = 0x30;
constexpr unsigned char kContext0Byte = 0xA0;
constexpr unsigned char kContext1Byte = 0xA1;
constexpr unsigned char kIndefiniteSequence[] = {0x30, 0x80};
constexpr unsigned char kEndOfContents[] = {0, 0};

constexpr std::uint32_t kSignedDataArcs[] = {1, 2, 840, 113549, 1, 7, 2};

class Reader {
public:
    // At the outermost element of the bytes, which have to stay.
    explicit Reader(SignedMessage::Element message) {
        if (!context_.init()) {
            ASN1::failMemory();
        }
        if (message.empty() || message.size() > std::numeric_limits<int>::max()) {
            ASN1::failCodec();
        }
        rtCtxtSetFlag(ctxt(), ctxFlagNoCopy);
        check(xd_setp(ctxt(), message.data(), static_cast<int>(message.size()), nullptr, nullptr));
    }

    ElementLocation enter(std::uint32_t tag) {
        int length = 0;
        check(xd_match(ctxt(), tag, &length, xdAdvance));
        if ((ctxt()->flags & ctxFlagConstructed) == 0) {
            ASN1::failCodec();
        }
        return rtContentLocation(ctxt(), length);
    }

    bool ended(const ElementLocation& element) { return rtContentEnded(ctxt(), &element); }

    // The element has to be read to its very end.
    void leave(const ElementLocation& element) {
        if (element.length == rtIndefiniteLength) {
            check(xd_matchEoc(ctxt()));
        } else if (ctxt()->bufIndex != element.start + static_cast<std::uint32_t>(element.length)) {
            ASN1::failCodec();
        }
    }

    bool at(unsigned char tagByte) { return xd_peekIs(ctxt(), tagByte); }
    void skip() { check(xd_NextElement(ctxt())); }

    SignedMessage::Element element() {
        const unsigned char* data = nullptr;
        std::uint32_t size = 0;
        check(xd_OpenType(ctxt(), &data, &size));
        if (size == 0) {
            ASN1::failCodec();
        }
        return {data, size};
    }

    bool is_signed_data() {
        ASN1OBJID oid;
        check(xd_objid(ctxt(), &oid, 1, 0));
        return oid.numids == std::size(kSignedDataArcs) &&
               std::memcmp(oid.subid, kSignedDataArcs, sizeof(kSignedDataArcs)) == 0;
    }

    CBlob octets() {
        const unsigned char* data = nullptr;
        std::uint32_t size = 0;
        check(xd_octstr(ctxt(), &data, &size, 1, 0));
        return CBlob(data, size);
    }

private:
    ASN1CTXT* ctxt() { return context_.get(); }

    static void check(int status) {
        if (status < 0) {
            ASN1::failCodec();
        }
    }

    ASN1::ctxt_handle context_;
};

// EncapsulatedContentInfo ::= SEQUENCE { eContentType OBJECT IDENTIFIER, eContent [0] EXPLICIT
// OCTET STRING OPTIONAL }
CBlob read_content(Reader& reader) {
    const auto info = reader.enter(kSequenceTag);
    reader.skip();
    const auto wrapper = reader.enter(kContextTag0);
    auto content = reader.octets();
    reader.leave(wrapper);
    reader.leave(info);
    return content;
}

void read_certificates(Reader& reader, SignedMessage& parts) {
    parts.has_certificates = true;
    const auto set = reader.enter(kContextTag0);
    while (!reader.ended(set)) {
        const bool is_certificate = reader.at(kSequenceByte);
        const auto element = reader.element();
        if (is_certificate) {
            parts.certificates.push_back(element);
        }
    }
    reader.leave(set);
}

// SignedData ::= SEQUENCE { version, digestAlgorithms, encapContentInfo, certificates [0] OPTIONAL,
// crls [1] OPTIONAL, signerInfos }
SignedMessage read_signed_data(Reader& reader) {
    SignedMessage parts;
    reader.enter(kSequenceTag);
    reader.skip();
    reader.skip();
    parts.content = read_content(reader);
    if (reader.at(kContext0Byte)) {
        read_certificates(reader, parts);
    }
    if (reader.at(kContext1Byte)) {
        reader.skip();
    }
    const auto signers = reader.enter(kSetTag);
    while (!reader.ended(signers)) {
        parts.signers.push_back(reader.element());
    }
    reader.leave(signers);
    if (parts.signers.empty()) {
        ASN1::failCodec();
    }
    return parts;
}

} // namespace

// ContentInfo ::= SEQUENCE { contentType OBJECT IDENTIFIER, content [0] EXPLICIT ANY }
SignedMessage read_signed_message(const CBlob& message) {
    return ASN1::withResultCodes([&] {
        Reader reader({message.pbData(), message.cbData()});
        reader.enter(kSequenceTag);
        if (!reader.is_signed_data()) {
            ASN1::failCodec();
        }
        reader.enter(kContextTag0);
        return read_signed_data(reader);
    });
}

CBlob without_unsigned_attributes(SignedMessage::Element signer) {
    return ASN1::withResultCodes([&] {
        Reader reader(signer);
        const auto fields = reader.enter(kSequenceTag);
        CBlob kept(kIndefiniteSequence, sizeof(kIndefiniteSequence));
        bool is_unsigned = false;
        while (!reader.ended(fields)) {
            if (is_unsigned) {
                ASN1::failCodec(); // they are the last field
            }
            is_unsigned = reader.at(kContext1Byte);
            const auto field = reader.element();
            if (!is_unsigned) {
                kept += CBlob(field.data(), field.size());
            }
        }
        reader.leave(fields);
        kept += CBlob(kEndOfContents, sizeof(kEndOfContents));
        return kept;
    });
}

} // namespace Halcyon::PKI::TSP
