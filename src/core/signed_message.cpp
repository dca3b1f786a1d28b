// Reader of signed data: one walk over the message, without copies but for the content.
#include <chronoseal/core/signed_message.h>

#include <algorithm>
#include <iterator>

#include <chronoseal/asn1/failure.h>
#include <chronoseal/core/limits.h>
#include <chronoseal/core/message_bounds.h>
#include <chronoseal/core/unsigned_fault.h>

namespace Halcyon::PKI::TSP {

namespace {

constexpr unsigned char kSignedDataType[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x07, 0x02};
constexpr unsigned char kTstInfoType[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D,
                                          0x01, 0x09, 0x10, 0x01, 0x04};
constexpr unsigned char kIndefiniteSequence[] = {0x30, 0x80};
constexpr char kCertificates[] = "certificates";
constexpr char kLists[] = "revocation lists";
constexpr unsigned char kEndOfContents[] = {0, 0};

// EncapsulatedContentInfo ::= SEQUENCE { eContentType OBJECT IDENTIFIER, eContent [0] EXPLICIT
// OCTET STRING OPTIONAL }
CBlob read_content(ElementReader& reader, bool& is_token) {
    const auto info = reader.enter(kSequenceTag);
    // A type that is none at all is left to the platform to refuse.
    const auto type = contents_of(reader.element(), kIdentifierByte);
    if (type && !has_whole_arcs(*type)) {
        ASN1::fail_codec();
    }
    is_token = type && std::equal(type->begin(), type->end(), std::begin(kTstInfoType),
                                  std::end(kTstInfoType));
    const auto wrapper = reader.enter(kContextTag0);
    auto content = reader.octets();
    reader.leave(wrapper);
    reader.leave(info);
    return content;
}

void read_certificates(ElementReader& reader, SignedMessage& parts) {
    parts.has_certificates = true;
    const auto set = reader.enter(kContextTag0);
    for (std::size_t count = 0; !reader.ended(set); ++count) {
        if (count == kMaxCertificates) {
            throw UnsignedFault(UnsignedFault::Kind::too_many, kCertificates);
        }
        const bool is_certificate = reader.at(kSequenceByte);
        const auto element = reader.element();
        if (is_certificate) {
            parts.certificates.push_back(element);
        }
    }
    reader.leave(set);
}

void skip_revocation_lists(ElementReader& reader) {
    const auto set = reader.enter(kContextTag0 + 1);
    for (std::size_t count = 0; !reader.ended(set); ++count) {
        if (count == kMaxRevocationLists) {
            throw UnsignedFault(UnsignedFault::Kind::too_many, kLists);
        }
        reader.element(); // which refuses what is none
    }
    reader.leave(set);
}

void read_signers(ElementReader& reader, SignedMessage& parts) {
    const auto signers = reader.enter(kSetTag);
    while (!reader.ended(signers)) {
        if (parts.signers.size() == kMaxSigners) {
            ASN1::fail_codec();
        }
        parts.signers.push_back(reader.element());
    }
    reader.leave(signers);
    if (parts.signers.empty()) {
        ASN1::fail_codec();
    }
}

// Reads what no signature of a token covers. Of another message a fault there is like all else.
template <class Read>
void read_uncovered(bool is_token, const char* part, Read read) {
    try {
        read();
    } catch (const UnsignedFault&) {
        if (is_token) {
            throw;
        }
        ASN1::fail_codec();
    } catch (const ATL::CAtlException& failure) {
        if (!is_token || failure.m_hr != hr(CRYPT_E_ASN1_INTERNAL)) {
            throw;
        }
        throw UnsignedFault(UnsignedFault::Kind::damaged, part);
    }
}

// SignedData ::= SEQUENCE { version, digestAlgorithms, encapContentInfo, certificates [0] OPTIONAL,
// crls [1] OPTIONAL, signerInfos }
SignedMessage read_signed_data(ElementReader& reader) {
    SignedMessage parts;
    reader.enter(kSequenceTag);
    reader.skip();
    reader.skip();
    bool is_token = false;
    parts.content = read_content(reader, is_token);
    if (reader.at(kContextByte0)) {
        read_uncovered(is_token, kCertificates, [&] { read_certificates(reader, parts); });
    }
    if (reader.at(kContextByte0 + 1)) {
        read_uncovered(is_token, kLists, [&] { skip_revocation_lists(reader); });
    }
    read_signers(reader, parts);
    return parts;
}

} // namespace

// ContentInfo ::= SEQUENCE { contentType OBJECT IDENTIFIER, content [0] EXPLICIT ANY }
SignedMessage read_signed_message(const CBlob& message) {
    return ASN1::with_result_codes([&] {
        ElementReader reader({message.pbData(), message.cbData()});
        reader.enter(kSequenceTag);
        const auto type = reader.identifier();
        if (!std::equal(type.begin(), type.end(), std::begin(kSignedDataType),
                        std::end(kSignedDataType))) {
            ASN1::fail_codec();
        }
        reader.enter(kContextTag0);
        return read_signed_data(reader);
    });
}

CBlob without_unsigned_attributes(Element signer) {
    return ASN1::with_result_codes([&] {
        ElementReader reader(signer);
        const auto fields = reader.enter(kSequenceTag);
        Element kept;
        bool is_unsigned = false;
        while (!reader.ended(fields)) {
            if (is_unsigned) {
                // They are the last field.
                throw UnsignedFault(UnsignedFault::Kind::damaged, "unsigned attributes");
            }
            is_unsigned = reader.at(kContextByte0 + 1);
            const auto field = reader.element();
            if (!is_unsigned) {
                kept = {kept.empty() ? field.data() : kept.data(), kept.size() + field.size()};
            }
        }
        reader.leave(fields);
        if (!is_unsigned) {
            return CBlob(signer.data(), signer.size());
        }
        CBlob bare(kIndefiniteSequence, sizeof(kIndefiniteSequence));
        bare += CBlob(kept.data(), kept.size());
        bare += CBlob(kEndOfContents, sizeof(kEndOfContents));
        return bare;
    });
}

} // namespace Halcyon::PKI::TSP
