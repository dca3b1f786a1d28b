// The reading of an authority's name.
#include <chronoseal/core/tsa_name.h>

#include <cstring>
#include <string_view>

#include <chronoseal/asn1/general_name_traits.h>
#include <chronoseal/asn1/name.h>
#include <chronoseal/asn1/name_traits.h>
#include <chronoseal/asn1/traits.h>
#include <chronoseal/base/atl_exception.h>
#include <chronoseal/core/element_reader.h>

namespace Halcyon::PKI::TSP {

namespace {

using Traits = ASN1::ASN1T_GeneralName_traits;

constexpr unsigned int kDirectoryName = 5;

constexpr unsigned char kDirectoryNameByte = 0xA4;
constexpr unsigned char kSetByte = 0x31;
constexpr unsigned char kUtf8StringByte = 0x0C;
constexpr unsigned char kPrintableStringByte = 0x13;
constexpr std::size_t kMostOfPlainValue = 1024; // far below what the records refuse

// The contents of the element at the front, which is cut off; nothing if it hasn't this tag, or a
// length that isn't DER's.
std::optional<Element> take(Element& rest, unsigned char tag_byte) {
    if (rest.size() < 2 || rest[0] != tag_byte) {
        return std::nullopt;
    }
    std::size_t header = 2;
    std::size_t length = rest[1];
    if (length == 0x81 && rest.size() > 2 && rest[2] >= 0x80) {
        header = 3;
        length = rest[2];
    } else if (length == 0x82 && rest.size() > 3 && rest[2] != 0) {
        header = 4;
        length = static_cast<std::size_t>(rest[2]) << 8 | rest[3];
    } else if (length >= 0x80) {
        return std::nullopt;
    }
    if (length > rest.size() - header) {
        return std::nullopt;
    }
    const Element contents = rest.subspan(header, length);
    rest = rest.subspan(header + length);
    return contents;
}

// Attribute types below 2.5.4 whose values are a DirectoryString, or but a PrintableString.
struct PlainType {
    unsigned char arc;
    bool printable_only;
    std::wstring_view keyword;
};
constexpr PlainType kPlainTypes[] = {{3, false, L"CN"}, {6, true, L"C"},   {7, false, L"L"},
                                     {8, false, L"ST"}, {10, false, L"O"}, {11, false, L"OU"}};

const PlainType* plain_type(Element identifier) {
    if (identifier.size() == 3 && identifier[0] == 0x55 && identifier[1] == 4) {
        for (const auto& type : kPlainTypes) {
            if (type.arc == identifier[2]) {
                return &type;
            }
        }
    }
    return nullptr;
}

// Appends "KEYWORD=value" of SEQUENCE { type, value }. False for what isn't plain.
bool append_attribute(Element attribute, std::wstring& text) {
    const auto identifier = take(attribute, kIdentifierByte);
    const auto* const type = identifier ? plain_type(*identifier) : nullptr;
    if (!type) {
        return false;
    }
    auto value = take(attribute, kPrintableStringByte);
    if (!value && !type->printable_only) {
        value = take(attribute, kUtf8StringByte);
    }
    if (!value || value->empty() || value->size() > kMostOfPlainValue || !attribute.empty()) {
        return false;
    }
    text += type->keyword;
    text += L'=';
    const std::size_t begin = text.size();
    text.resize(begin + value->size());
    bool plain = true;
    for (std::size_t i = 0; i < value->size(); ++i) {
        const unsigned char byte = (*value)[i];
        plain = plain && byte >= 0x20 && byte <= 0x7E;
        text[begin + i] = static_cast<wchar_t>(byte);
    }
    return plain;
}

// The text of a directoryName in DER that holds but printable ASCII in attributes that everybody
// uses, one a level. That is nearly every one, and costs a twentieth of what the records do.
// Nothing for any other name, good or bad.
std::optional<std::wstring> plain_text(Element name) {
    const auto explicit_tag = take(name, kDirectoryNameByte);
    Element inner = explicit_tag.value_or(Element());
    auto levels = take(inner, kSequenceByte);
    if (!levels || levels->empty() || !inner.empty() || !name.empty()) {
        return std::nullopt;
    }
    std::wstring text = L"directoryName: ";
    text.reserve(text.size() + levels->size());
    for (bool first = true; !levels->empty(); first = false) {
        auto level = take(*levels, kSetByte);
        const auto attribute = level ? take(*level, kSequenceByte) : std::nullopt;
        if (!attribute || !level->empty()) {
            return std::nullopt;
        }
        if (!first) {
            text += L',';
        }
        if (!append_attribute(*attribute, text)) {
            return std::nullopt;
        }
    }
    return text;
}

// Whether the record's DER is these very bytes. The record's open values lie in the buffer then: it
// has to live as long as they do.
bool encodes_to(Traits::ASN1_T& record, const CBlob& bytes, ASN1BEREncodeBuffer& buffer) {
    const int length = Traits::encode(buffer, record);
    return length > 0 && static_cast<unsigned long>(length) == bytes.cbData() &&
           std::memcmp(buffer.getMsgPtr(), bytes.pbData(), bytes.cbData()) == 0;
}

} // namespace

bool is_directory_name(Element name) {
    auto inner = take(name, kDirectoryNameByte);
    auto levels = inner ? take(*inner, kSequenceByte) : std::nullopt;
    if (!levels || !inner->empty() || !name.empty()) {
        return false;
    }
    while (!levels->empty()) {
        auto level = take(*levels, kSetByte);
        if (!level || level->empty()) {
            return false;
        }
        while (!level->empty()) {
            auto attribute = take(*level, kSequenceByte);
            if (!attribute || !take(*attribute, kIdentifierByte) || attribute->size() < 2 ||
                !take(*attribute, (*attribute)[0]) || !attribute->empty()) {
                return false;
            }
        }
    }
    return true;
}

TsaName::TsaName(const CBlob& encoded) {
    if (auto text = plain_text({encoded.pbData(), encoded.cbData()})) {
        directory_ = Directory{encoded, *std::move(text)};
        return;
    }
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
