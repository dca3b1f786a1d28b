// CContentInfo: a CMS content with its type (RFC 5652, 3).
#pragma once

#include <chronoseal/asn1/encodable.h>
#include <chronoseal/base/blob.h>
#include <chronoseal/base/string_proxy.h>

namespace Halcyon::ASN1 {

struct ASN1T_ContentInfo_traits;

// The type is dotted text; the content is its DER without the [0] wrapper.
class CContentInfo : public Encodable<CContentInfo, ASN1T_ContentInfo_traits> {
public:
    CContentInfo() : contentType_("") {}
    CContentInfo(const char* contentType, const CBlob& content)
        : contentType_(contentType), content_(content) {}

    const char* get_contentType() const noexcept { return contentType_.c_str(); }
    const CBlob& get_content() const noexcept { return content_; }
    void put_contentType(const char* contentType) { contentType_ = CStringProxy(contentType); }
    void put_content(const CBlob& content) { content_ = content; }

    // The DER. Throws 0x80070057 for a type that is no identifier, and 0x80093101 for content that
    // doesn't fit a known type.
    using Encodable::encode;

private:
    CStringProxy contentType_;
    CBlob content_;
};

} // namespace Halcyon::ASN1
