#include <chronoseal/asn1/object_identifier.h>

#include <array>
#include <charconv>
#include <limits>

#include <chronoseal/asn1/failure.h>

namespace Halcyon::ASN1 {

namespace {

constexpr std::size_t kArcSize = std::numeric_limits<std::uint32_t>::digits10 + 2; // with its point

// The dotted text of at most 128 arcs, on the stack.
class DottedText {
public:
    explicit DottedText(const ASN1OBJID& oid) {
        for (std::uint32_t i = 0; i < oid.numids; ++i) {
            if (i != 0) {
                *end_++ = '.';
            }
            end_ = std::to_chars(end_, text_.data() + text_.size(), oid.subid[i]).ptr;
        }
        *end_ = '\0';
    }
    DottedText(const DottedText&) = delete;
    DottedText& operator=(const DottedText&) = delete;

    const char* c_str() const noexcept { return text_.data(); }
    std::size_t size() const noexcept { return static_cast<std::size_t>(end_ - text_.data()); }

private:
    std::array<char, maxObjectIdArcs * kArcSize + 1> text_;
    char* end_ = text_.data();
};

} // namespace

ASN1OBJID toASN1OBJID(const char* text) {
    ASN1OBJID oid{};
    ASN1TObjId_traits::set(nullptr, oid, text);
    return oid;
}

CStringProxy toOID(const ASN1OBJID& oid) {
    if (oid.numids > maxObjectIdArcs) {
        fail_argument();
    }
    return CStringProxy(DottedText(oid).c_str());
}

bool str2oid(const char* text, ASN1OBJID* oid) {
    return rtStrToOid(text, oid) == 0;
}

int oid2str(CBlob& text, const ASN1OBJID* oid) {
    if (!oid || oid->numids > maxObjectIdArcs) {
        return 0;
    }
    const DottedText dotted(*oid);
    text.assign(reinterpret_cast<const unsigned char*>(dotted.c_str()), dotted.size() + 1);
    return 1;
}

void ASN1TObjId_traits::set(ASN1CTXT*, ASN1_T& record, const char* value) {
    if (str2oid(value, &record)) {
        fail_argument();
    }
}

void ASN1TObjId_traits::get(const ASN1_T& record, CStringProxy& value) {
    value = toOID(record);
}

void ASN1TObjId_traits::copy(ASN1CTXT*, const ASN1_T& from, ASN1_T& to) {
    to = from;
}

int ASN1TObjId_traits::encode(ASN1BEREncodeBuffer& buffer, ASN1_T& record) {
    buffer.init();
    return xe_objid(buffer.getCtxtPtr(), &record, 1);
}

int ASN1TObjId_traits::decode(ASN1BERDecodeBuffer& buffer, ASN1_T& record) {
    try {
        buffer.init();
        return xd_objid(buffer.getCtxtPtr(), &record, 1, 0);
    } catch (const ASN1MessageBuffer::RTLError& error) {
        return error.getStatus();
    }
}

} // namespace Halcyon::ASN1
