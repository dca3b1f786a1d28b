// The walk over elements, and what it holds against single ones.
#include <chronoseal/core/element_reader.h>

#include <limits>

#include <chronoseal/asn1/failure.h>

namespace Halcyon::PKI::TSP {

namespace {

constexpr unsigned char kLongLength = 0x80;

} // namespace

ElementReader::ElementReader(Element message) {
    if (!context_.init()) {
        ASN1::fail_memory();
    }
    if (message.empty() || message.size() > std::numeric_limits<int>::max()) {
        ASN1::fail_codec();
    }
    rtCtxtSetFlag(ctxt(), ctxFlagNoCopy);
    check(xd_setp(ctxt(), message.data(), static_cast<int>(message.size()), nullptr, nullptr));
}

ElementLocation ElementReader::enter(std::uint32_t tag) {
    int length = 0;
    check(xd_match(ctxt(), tag, &length, xdAdvance));
    if ((ctxt()->flags & ctxFlagConstructed) == 0) {
        ASN1::fail_codec();
    }
    return rtContentLocation(ctxt(), length);
}

void ElementReader::leave(const ElementLocation& element) {
    if (element.length == rtIndefiniteLength) {
        check(xd_matchEoc(ctxt()));
    } else if (ctxt()->bufIndex != element.start + static_cast<std::uint32_t>(element.length)) {
        ASN1::fail_codec();
    }
}

void ElementReader::skip_if(unsigned char tag_byte) {
    if (at(tag_byte)) {
        skip();
    }
}

Element ElementReader::element() {
    const unsigned char* data = nullptr;
    std::uint32_t size = 0;
    check(xd_OpenType(ctxt(), &data, &size));
    if (size == 0) {
        ASN1::fail_codec();
    }
    return {data, size};
}

Element ElementReader::identifier(unsigned char tag_byte) {
    const auto arcs = contents_of(element(), tag_byte);
    if (!arcs || !has_whole_arcs(*arcs)) {
        ASN1::fail_codec();
    }
    return *arcs;
}

CBlob ElementReader::octets() {
    const unsigned char* data = nullptr;
    std::uint32_t size = 0;
    check(xd_octstr(ctxt(), &data, &size, 1, 0));
    return CBlob(data, size);
}

void ElementReader::check(int status) {
    if (status < 0) {
        ASN1::fail_codec();
    }
}

bool has_whole_arcs(Element contents) {
    constexpr std::uint64_t kMaxArc = std::numeric_limits<std::uint32_t>::max();
    std::uint64_t arc = 0;
    bool complete = true;
    for (const unsigned char byte : contents) {
        arc = arc << 7 | (byte & 0x7Fu);
        if (arc > kMaxArc) {
            return false;
        }
        complete = (byte & 0x80u) == 0;
        if (complete) {
            arc = 0;
        }
    }
    return complete;
}

std::optional<Element> contents_of(Element whole, unsigned char tag_byte) {
    if (whole.size() < 2 || whole[0] != tag_byte) {
        return std::nullopt;
    }
    const std::size_t header = whole[1] < kLongLength ? 2 : 2 + (whole[1] & 0x7Fu);
    if (header > whole.size()) {
        return std::nullopt;
    }
    return whole.subspan(header);
}

} // namespace Halcyon::PKI::TSP
