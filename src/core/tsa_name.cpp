// The reading of an authority's name.
#include <chronoseal/core/tsa_name.h>

#include <cstring>

#include <chronoseal/asn1/general_name_traits.h>
#include <chronoseal/asn1/name.h>
#include <chronoseal/asn1/name_traits.h>
#include <chronoseal/asn1/traits.h>
#include <chronoseal/base/atl_exception.h>

namespace Halcyon::PKI::TSP {

namespace {

using Traits = ASN1::ASN1T_GeneralName_traits;

constexpr unsigned int kDirectoryName = 5;

// Whether the record's DER is these very bytes. The record's open values lie in the buffer then: it
// has to live as long as they do.
bool encodes_to(Traits::ASN1_T& record, const CBlob& bytes, ASN1BEREncodeBuffer& buffer) {
    const int length = Traits::encode(buffer, record);
    return length > 0 && static_cast<unsigned long>(length) == bytes.cbData() &&
           std::memcmp(buffer.getMsgPtr(), bytes.pbData(), bytes.cbData()) == 0;
}

} // namespace

TsaName::TsaName(const CBlob& encoded) {
    ASN1::with_result_codes([&] {
        ASN1BERDecodeBuffer buffer(encoded.pbData(), ASN1::message_length(encoded));
        ASN1BEREncodeBuffer encoding;
        Traits::ASN1_T record{};
        if (Traits::decode(buffer, record) < 0) {
            ASN1::fail_codec();
        }
        if (record.t == kDirectoryName && encodes_to(record, encoded, encoding)) {
            ASN1::CName name;
            try {
                ASN1::ASN1T_Name_traits::get(*record.u.directoryName, name);
                directory_ =
                    Directory{encoded, std::wstring(L"directoryName: ") + name.toString().c_str()};
                return;
            } catch (const ATL::CAtlException&) {
                // A value that makes no text fails when somebody asks for the text.
            }
        }
        Traits::get(record, name_);
    });
}

unsigned int TsaName::get_type() const noexcept {
    return directory_ ? kDirectoryName : name_.get_type();
}

CBlob TsaName::encode() const {
    return directory_ ? directory_->encoded : name_.encode();
}

std::wstring TsaName::toString() const {
    return directory_ ? directory_->text : std::wstring(name_.toString().c_str());
}

} // namespace Halcyon::PKI::TSP
