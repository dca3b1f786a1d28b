// Reader of signed data: one walk over the message by the run-time's readers, without copies but
// for the content.
#include "core/signed_message.h"

#include <cstring>
#include <limits>

#include "asn1/codec.h"
#include "asn1/failure.h"
#include "asn1rt/runtime.h"

namespace Halcyon::PKI::TSP {

namespace {

constexpr std::uint32_t sequenceTag = 0x20000010;
constexpr std::uint32_t setTag = 0x20000011;
constexpr std::uint32_t contextTag0 = 0xA0000000;
constexpr unsigned char sequenceByte = 0x30;
constexpr unsigned char context0Byte = 0xA0;
constexpr unsigned char context1Byte = 0xA1;
constexpr unsigned char indefiniteSequence[] = {0x30, 0x80};
constexpr unsigned char endOfContents[] = {0, 0};

constexpr std::uint32_t signedDataArcs[] = {1, 2, 840, 113549, 1, 7, 2};

class Reader {
public:
    // At the outermost element of the bytes, which have to stay.
    explicit Reader(SignedMessage::Element message) {
        if (!context_.init()) {
            ASN1::fail_memory();
        }
        if (message.empty() || message.size() > std::numeric_limits<int>::max()) {
            ASN1::fail_codec();
        }
        rtCtxtSetFlag(ctxt(), ctxFlagNoCopy);
        check(xd_setp(ctxt(), message.data(), static_cast<int>(message.size()), nullptr, nullptr));
    }

    ElementLocation enter(std::uint32_t tag) {
        int length = 0;
        check(xd_match(ctxt(), tag, &length, xdAdvance));
        if ((ctxt()->flags & ctxFlagConstructed) == 0) {
            ASN1::fail_codec();
        }
        return rtContentLocation(ctxt(), length);
    }

    bool ended(const ElementLocation& element) { return rtContentEnded(ctxt(), &element); }

    // The element has to be read to its very end.
    void leave(const ElementLocation& element) {
        if (element.length == rtIndefiniteLength) {
            check(xd_matchEoc(ctxt()));
        } else if (ctxt()->bufIndex != element.start + static_cast<std::uint32_t>(element.length)) {
            ASN1::fail_codec();
        }
    }

    bool at(unsigned char tagByte) { return xd_peekIs(ctxt(), tagByte); }
    void skip() { check(xd_NextElement(ctxt())); }

    SignedMessage::Element element() {
        const unsigned char* data = nullptr;
        std::uint32_t size = 0;
        check(xd_OpenType(ctxt(), &data, &size));
        if (size == 0) {
            ASN1::fail_codec();
        }
        return {data, size};
    }

    bool isSignedData() {
        ASN1OBJID oid;
        check(xd_objid(ctxt(), &oid, 1, 0));
        return oid.numids == std::size(signedDataArcs) &&
               std::memcmp(oid.subid, signedDataArcs, sizeof(signedDataArcs)) == 0;
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
            ASN1::fail_codec();
        }
    }

    ASN1::ctxt_handle context_;
};

// EncapsulatedContentInfo ::= SEQUENCE { eContentType OBJECT IDENTIFIER, eContent [0] EXPLICIT
// OCTET STRING OPTIONAL }
CBlob readContent(Reader& reader) {
    const auto info = reader.enter(sequenceTag);
    reader.skip();
    const auto wrapper = reader.enter(contextTag0);
    auto content = reader.octets();
    reader.leave(wrapper);
    reader.leave(info);
    return content;
}

void readCertificates(Reader& reader, SignedMessage& parts) {
    parts.hasCertificates = true;
    const auto set = reader.enter(contextTag0);
    while (!reader.ended(set)) {
        const bool isCertificate = reader.at(sequenceByte);
        const auto element = reader.element();
        if (isCertificate) {
            parts.certificates.push_back(element);
        }
    }
    reader.leave(set);
}

// SignedData ::= SEQUENCE { version, digestAlgorithms, encapContentInfo, certificates [0] OPTIONAL,
// crls [1] OPTIONAL, signerInfos }
SignedMessage readSignedData(Reader& reader) {
    SignedMessage parts;
    reader.enter(sequenceTag);
    reader.skip();
    reader.skip();
    parts.content = readContent(reader);
    if (reader.at(context0Byte)) {
        readCertificates(reader, parts);
    }
    if (reader.at(context1Byte)) {
        reader.skip();
    }
    const auto signers = reader.enter(setTag);
    while (!reader.ended(signers)) {
        parts.signers.push_back(reader.element());
    }
    reader.leave(signers);
    if (parts.signers.empty()) {
        ASN1::fail_codec();
    }
    return parts;
}

} // namespace

// ContentInfo ::= SEQUENCE { contentType OBJECT IDENTIFIER, content [0] EXPLICIT ANY }
SignedMessage readSignedMessage(const CBlob& message) {
    return ASN1::with_result_codes([&] {
        Reader reader({message.pbData(), message.cbData()});
        reader.enter(sequenceTag);
        if (!reader.isSignedData()) {
            ASN1::fail_codec();
        }
        reader.enter(contextTag0);
        return readSignedData(reader);
    });
}

CBlob withoutUnsignedAttributes(SignedMessage::Element signer) {
    return ASN1::with_result_codes([&] {
        Reader reader(signer);
        const auto fields = reader.enter(sequenceTag);
        CBlob kept(indefiniteSequence, sizeof(indefiniteSequence));
        bool isUnsigned = false;
        while (!reader.ended(fields)) {
            if (isUnsigned) {
                ASN1::fail_codec(); // they are the last field
            }
            isUnsigned = reader.at(context1Byte);
            const auto field = reader.element();
            if (!isUnsigned) {
                kept += CBlob(field.data(), field.size());
            }
        }
        reader.leave(fields);
        kept += CBlob(endOfContents, sizeof(endOfContents));
        return kept;
    });
}

} // namespace Halcyon::PKI::TSP
